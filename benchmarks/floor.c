// The least that a client can do, as the measure for the program: write a frame, poll, read until the reply's
// CR, or until the 512 bytes of a memory image. usage: floor DEVICE COUNT < COMMANDS; one command text a
// line, gone through again until COUNT exchanges are made (0: once). Prints the median of an exchange in us,
// processor time of one in us, all of them in us.
#include <fcntl.h>
#include <poll.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <termios.h>
#include <time.h>
#include <unistd.h>

enum { mostCommands = 1024, longest = 32, imageSize = 512 };

static double Now(clockid_t clock) {
    struct timespec at;
    clock_gettime(clock, &at);
    return (double)at.tv_sec * 1e6 + (double)at.tv_nsec / 1e3;
}

static int Compare(const void* a, const void* b) {
    const double x = *(const double*)a, y = *(const double*)b;
    return (x > y) - (x < y);
}

int main(int argc, char** argv) {
    static char frames[mostCommands][longest];
    int commands = 0;
    char line[longest - 2], reply[imageSize];
    while (commands < mostCommands && scanf("%29s", line) == 1) sprintf(frames[commands++], "\x02%s\r", line);
    const int fd = argc == 3 ? open(argv[1], O_RDWR | O_NOCTTY) : -1;
    if (fd < 0 || commands == 0) return fprintf(stderr, "usage: floor DEVICE COUNT < COMMANDS\n"), 2;
    const int count = atoi(argv[2]) > 0 ? atoi(argv[2]) : commands;
    struct termios settings;
    tcgetattr(fd, &settings);
    cfmakeraw(&settings);
    tcsetattr(fd, TCSANOW, &settings);

    double* took = calloc((size_t)count, sizeof *took);
    const double begin = Now(CLOCK_MONOTONIC), cpu = Now(CLOCK_PROCESS_CPUTIME_ID);
    for (int i = 0; i < count; ++i) {
        const char* frame = frames[i % commands];
        const double start = Now(CLOCK_MONOTONIC);
        if (write(fd, frame, strlen(frame)) < 0) return perror("floor"), 1;
        const int isImage = frame[1] == 'Y';
        for (size_t have = 0; isImage ? have < imageSize : have == 0 || reply[have - 1] != '\r';) {
            struct pollfd wait = {fd, POLLIN, 0};
            if (poll(&wait, 1, 1000) <= 0) return fprintf(stderr, "floor: no answer\n"), 1;
            const ssize_t got = read(fd, reply + have, sizeof reply - have);
            if (got <= 0) return perror("floor"), 1;
            have += (size_t)got;
        }
        took[i] = Now(CLOCK_MONOTONIC) - start;
    }
    const double used = Now(CLOCK_PROCESS_CPUTIME_ID) - cpu, all = Now(CLOCK_MONOTONIC) - begin;
    qsort(took, (size_t)count, sizeof *took, Compare);
    printf("%.2f %.2f %.0f\n", took[count / 2], used / count, all);
    return 0;
}

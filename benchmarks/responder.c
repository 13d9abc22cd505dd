// The other end of the line in the benchmarks: a reader (or a Modbus device) that answers at once, so that
// what is measured is the client. With --pace each byte, either way, takes its time on a line of that speed.
// usage: responder [--modbus] [--image FILE] [--pace BAUD]
// Prints the path of its terminal and serves it until its standard input ends.
#define _GNU_SOURCE
#include <fcntl.h>
#include <poll.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/prctl.h>
#include <termios.h>
#include <time.h>
#include <unistd.h>

enum { imageSize = 512, bitsPerByte = 10 };

static unsigned char image[imageSize];
static long long byteTime;  // ns that one byte takes on the line; 0: none
static long long lineFree;  // when the last byte that was put on the line has passed

static long long Now(void) {
    struct timespec at;
    clock_gettime(CLOCK_MONOTONIC, &at);
    return (long long)at.tv_sec * 1000000000 + at.tv_nsec;
}

static void SleepUntil(long long when) {
    const struct timespec at = {when / 1000000000, when % 1000000000};
    while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &at, NULL) != 0) {
    }
}

// The bytes came at `arrival`; on a real line they would have needed their time to come.
static void Heard(size_t count, long long arrival) {
    if (lineFree < arrival) lineFree = arrival;
    lineFree += byteTime * (long long)count;
}

static void Send(int fd, const unsigned char* bytes, size_t count) {
    const size_t piece = byteTime ? 1 : count;
    for (size_t at = 0; at < count; at += piece) {
        if (byteTime) SleepUntil(lineFree += byteTime);
        if (write(fd, bytes + at, piece) < 0) exit(1);
    }
}

static size_t WithChecksum(char* to, const char* text) {
    unsigned sum = 0;
    for (const char* at = text; *at; ++at) sum += (unsigned char)*at;
    return (size_t)sprintf(to, "\x02%s%02X\r", text, sum & 0xFF);
}

// Answers one frame, given without its STX and CR.
static void Answer(int fd, const char* command) {
    char text[8], reply[64];
    size_t length = 0;
    switch (command[0]) {
        case 'B':
            sprintf(text, "A%02X", image[strtoul(command + 1, NULL, 16) % imageSize]);
            length = WithChecksum(reply, text);
            break;
        case 'D': length = (size_t)sprintf(reply, "\x02%s\r", "AZarn74,00"); break;
        case 'V': length = (size_t)sprintf(reply, "\x02%s\r", "AV1.02R007,FWQ-K4436"); break;
        case 'Y': Send(fd, image, imageSize); return;
        default: fprintf(stderr, "responder: a frame that no benchmark sends: %s\n", command); exit(1);
    }
    Send(fd, (const unsigned char*)reply, length);
}

static void ServeReader(int fd, const char* bytes, size_t count) {
    static char frame[64];
    static size_t length;
    for (size_t i = 0; i < count; ++i) {
        if (bytes[i] == '\x02') {
            length = 0;
        } else if (bytes[i] == '\r') {
            frame[length] = 0;
            Answer(fd, frame);
        } else if (length + 1 < sizeof frame) {
            frame[length++] = bytes[i];
        }
    }
}

// Reading one register of device 1: a request of 8 bytes, and the answer that it holds 42.
static void ServeModbus(int fd, size_t count) {
    static const unsigned char reply[] = {0x01, 0x03, 0x02, 0x00, 0x2A, 0x39, 0x9B};
    static size_t have;
    for (have += count; have >= 8; have -= 8) Send(fd, reply, sizeof reply);
}

int main(int argc, char** argv) {
    int modbus = 0;
    memset(image, 0xFF, sizeof image);
    for (int i = 1; i < argc; ++i) {
        if (strcmp(argv[i], "--modbus") == 0) {
            modbus = 1;
        } else if (strcmp(argv[i], "--image") == 0 && i + 1 < argc) {
            FILE* file = fopen(argv[++i], "rb");
            if (!file || fread(image, 1, imageSize, file) != imageSize) return perror(argv[i]), 1;
            fclose(file);
        } else if (strcmp(argv[i], "--pace") == 0 && i + 1 < argc) {
            byteTime = 1000000000LL * bitsPerByte / atoi(argv[++i]);
        } else {
            return fprintf(stderr, "usage: responder [--modbus] [--image FILE] [--pace BAUD]\n"), 2;
        }
    }
    prctl(PR_SET_TIMERSLACK, 1);
    const int fd = posix_openpt(O_RDWR | O_NOCTTY);
    if (fd < 0 || grantpt(fd) != 0 || unlockpt(fd) != 0) return perror("responder"), 1;
    // Held open, so that a client that closes its end does not hang the line up.
    const int other = open(ptsname(fd), O_RDWR | O_NOCTTY);
    struct termios settings;
    tcgetattr(other, &settings);
    cfmakeraw(&settings);
    tcsetattr(other, TCSANOW, &settings);
    printf("%s\n", ptsname(fd));
    fflush(stdout);

    char bytes[256];
    struct pollfd wait[2] = {{fd, POLLIN, 0}, {STDIN_FILENO, POLLIN, 0}};
    while (poll(wait, 2, -1) > 0 && !wait[1].revents) {
        const ssize_t got = read(fd, bytes, sizeof bytes);
        if (got <= 0) break;
        Heard((size_t)got, Now());
        if (modbus) {
            ServeModbus(fd, (size_t)got);
        } else {
            ServeReader(fd, bytes, (size_t)got);
        }
    }
    return 0;
}

// libmodbus reading one register over and over: the same kind of exchange as the program's, for comparison.
// usage: modbus DEVICE COUNT; prints the median of an exchange and its processor time, in us.
#include <modbus/modbus.h>
#include <stdio.h>
#include <stdlib.h>
#include <time.h>

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
    const int count = argc == 3 ? atoi(argv[2]) : 0;
    if (count < 1) return fprintf(stderr, "usage: modbus DEVICE COUNT\n"), 2;
    modbus_t* line = modbus_new_rtu(argv[1], 19200, 'N', 8, 1);
    if (!line || modbus_set_slave(line, 1) != 0 || modbus_connect(line) != 0) return perror("modbus"), 1;
    double* took = calloc((size_t)count, sizeof *took);
    const double cpu = Now(CLOCK_PROCESS_CPUTIME_ID);
    for (int i = 0; i < count; ++i) {
        uint16_t value = 0;
        const double start = Now(CLOCK_MONOTONIC);
        if (modbus_read_registers(line, 0, 1, &value) != 1 || value != 42) return perror("modbus"), 1;
        took[i] = Now(CLOCK_MONOTONIC) - start;
    }
    const double used = Now(CLOCK_PROCESS_CPUTIME_ID) - cpu;
    qsort(took, (size_t)count, sizeof *took, Compare);
    printf("%.2f %.2f\n", took[count / 2], used / count);
    modbus_close(line);
    modbus_free(line);
    return 0;
}

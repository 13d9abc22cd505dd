#pragma once

#include <fcntl.h>
#include <unistd.h>

/// Opens what the caller has closed of the three standard streams, so that nothing opened later takes the
/// place of one: a reader would be sent what is meant for a person. Writing into the replacement fails.
inline void FillStandardStreams() {
    int fd = 0;
    do {
        fd = open("/dev/null", O_RDONLY);
    } while (fd >= 0 && fd <= STDERR_FILENO);
    if (fd > STDERR_FILENO) close(fd);
}

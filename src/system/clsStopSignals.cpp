#include "system/clsStopSignals.h"

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <utility>

namespace {

// What a signal handler reaches; it may use nothing else.
volatile sig_atomic_t stops = 0;
std::array<int, 2> wakePipe{-1, -1};

constexpr std::array<int, 4> signals{SIGINT, SIGTERM, SIGHUP, SIGPIPE};
std::array<struct sigaction, signals.size()> former;

extern "C" void HandleStop(int) {
    if (stops != 0) _exit(clsStopSignals::exitStatus);
    stops = 1;
    const int error = errno;
    const char byte = 0;
    if (write(wakePipe[1], &byte, 1) < 0) _exit(clsStopSignals::exitStatus);
    errno = error;
}

}  // namespace

clsStopSignals::clsStopSignals(clsIHost& host, std::function<void()> stop) {
    stops = 0;
    if (pipe2(wakePipe.data(), O_CLOEXEC | O_NONBLOCK) != 0) return;
    m_watch = host.WatchDescriptor(wakePipe[0], [run = std::move(stop)] {
        char byte = 0;
        if (read(wakePipe[0], &byte, 1) == 1) run();
    });
    for (std::size_t i = 0; i < signals.size(); ++i) {
        struct sigaction action {};
        action.sa_handler = signals[i] == SIGPIPE ? SIG_IGN : HandleStop;
        action.sa_flags = SA_RESTART;
        sigaction(signals[i], &action, &former[i]);
        // Whoever starts a program so that it outlives the terminal has said so here.
        const bool ignored = former[i].sa_handler == SIG_IGN;
        if (signals[i] == SIGHUP && ignored) sigaction(signals[i], &former[i], nullptr);
    }
}

clsStopSignals::~clsStopSignals() {
    if (wakePipe[0] < 0) return;
    for (std::size_t i = 0; i < signals.size(); ++i) sigaction(signals[i], &former[i], nullptr);
    m_watch.Disconnect();
    for (int& end : wakePipe) close(std::exchange(end, -1));
}

// zarn74ctl: the command-line twin of the window.

#include <poll.h>
#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "base/RunProgram.h"
#include "cli/clsCli.h"
#include "cli/clsITextOutput.h"
#include "cli/clsQtCliPlatform.h"
#include "system/StandardStreams.h"

namespace {

/// Standard output or standard error.
class clsDescriptorOutput final : public clsITextOutput {
  public:
    explicit clsDescriptorOutput(int fd) : m_fd(fd) {
        const char* noColor = std::getenv("NO_COLOR");
        m_terminal = isatty(fd) == 1;
        m_colored = m_terminal && (noColor == nullptr || noColor[0] == '\0');
    }
    void Write(std::string_view bytes) override {
        while (m_state == State::Open && !bytes.empty()) {
            const ssize_t written = write(m_fd, bytes.data(), bytes.size());
            if (written < 0 && errno == EINTR) continue;
            if (written < 0 && errno == EAGAIN) {  // somebody else made it non-blocking, and it is full
                pollfd room{m_fd, POLLOUT, 0};
                poll(&room, 1, /*timeout=*/-1);
                continue;
            }
            if (written <= 0) {
                m_state = errno == EPIPE ? State::Closed : State::Failed;
                return;
            }
            bytes.remove_prefix(static_cast<std::size_t>(written));
        }
    }
    [[nodiscard]] State CurrentState() const override { return m_state; }
    [[nodiscard]] bool Terminal() const override { return m_terminal; }
    [[nodiscard]] bool Colored() const override { return m_colored; }

  private:
    int m_fd;
    bool m_terminal = false;
    bool m_colored = false;
    State m_state = State::Open;
};

}  // namespace

int main(int argc, char** argv) {
    FillStandardStreams();
    signal(SIGPIPE, SIG_IGN);
    // Qt's own loop serves a line with less work than the one that it borrows.
    setenv("QT_NO_GLIB", "1", /*overwrite=*/1);
    return RunProgram("zarn74ctl", [&] {
        const std::vector<std::string> arguments(argv + 1, argv + argc);
        clsDescriptorOutput out(STDOUT_FILENO);
        clsDescriptorOutput err(STDERR_FILENO);
        clsCli* running = nullptr;
        clsQtCliPlatform platform(
            argc, argv, [&running] { running->Stop(); }, [&running] { running->OutputClosed(); });
        clsCli cli(platform, out, err);
        running = &cli;
        return cli.Run(arguments);
    });
}

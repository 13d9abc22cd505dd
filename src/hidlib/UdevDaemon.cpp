#include "hidlib/UdevDaemon.h"

#include <fstream>
#include <sstream>

namespace UdevDaemon {

bool Answers() { return SomebodyListens("/run/udev/control"); }

// Only the superuser may ask by connecting.
bool SomebodyListens(const std::string& socketFile) {
    constexpr unsigned long listening = 0x10000;
    std::ifstream sockets("/proc/net/unix");
    for (std::string line; std::getline(sockets, line);) {
        std::istringstream words(line);
        std::string number, references, protocol, type, state, inode, file;
        unsigned long flags = 0;
        words >> number >> references >> protocol >> std::hex >> flags >> type >> state >> inode >> file;
        if (file == socketFile && (flags & listening) != 0) return true;
    }
    return false;
}

}  // namespace UdevDaemon

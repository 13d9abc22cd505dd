#include "system/ProgramRun.h"

#include <unistd.h>

#include <fstream>
#include <iterator>
#include <sstream>

namespace {

std::string BootNow() {
    std::ifstream file("/proc/sys/kernel/random/boot_id");
    std::string boot;
    std::getline(file, boot);
    return boot;
}

// 0 when there is no such process. The program's name, in parentheses, may hold anything.
std::int64_t StartOf(std::int64_t process) {
    constexpr int fieldsBefore = 19;  // behind the name
    std::ifstream file("/proc/" + std::to_string(process) + "/stat");
    const std::string text{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    std::istringstream fields(text.substr(text.rfind(')') + 1));
    std::string skipped;
    for (int i = 0; i < fieldsBefore; ++i) fields >> skipped;
    std::int64_t started = 0;
    fields >> started;
    return started;
}

}  // namespace

ProgramRun ProgramRun::Current() { return {BootNow(), getpid(), StartOf(getpid())}; }

bool ProgramRun::Alive() const { return Boot == BootNow() && Started == StartOf(Process); }

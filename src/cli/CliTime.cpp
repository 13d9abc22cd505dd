#include "cli/CliTime.h"

#include <array>
#include <ctime>

namespace {

constexpr std::int64_t second = 1000;  // ms

struct Form {
    const char* Format;
    int Seconds;  // 0: a day, which is not always as long
};
constexpr std::array<Form, 5> forms{{{"%Y-%m-%d", 0},
                                     {"%Y-%m-%dT%H:%M", 60},
                                     {"%Y-%m-%d %H:%M", 60},
                                     {"%Y-%m-%dT%H:%M:%S", 1},
                                     {"%Y-%m-%d %H:%M:%S", 1}}};

std::string Text(const char* format, const std::tm& time) {
    std::array<char, 64> text{};
    return {text.data(), std::strftime(text.data(), text.size(), format, &time)};
}

std::time_t WholeSeconds(std::int64_t time) { return static_cast<std::time_t>(time / second); }

}  // namespace

namespace CliTime {

std::optional<TimeSpan> SpanOf(const std::string& text) {
    for (const Form& form : forms) {
        std::tm time{};
        const char* const end = strptime(text.c_str(), form.Format, &time);
        if (end == nullptr || *end != '\0') continue;
        time.tm_isdst = -1;
        std::tm next = time;
        const int day = time.tm_mday;
        const std::time_t begin = mktime(&time);
        if (begin == std::time_t(-1) || time.tm_mday != day) return std::nullopt;
        ++next.tm_mday;
        const std::time_t behind = form.Seconds == 0 ? mktime(&next) : begin + form.Seconds;
        return TimeSpan{begin * second, behind * second};
    }
    return std::nullopt;
}

std::string Local(std::int64_t time) {
    const std::time_t seconds = WholeSeconds(time);
    std::tm local{};
    localtime_r(&seconds, &local);
    return Text("%Y-%m-%d %H:%M:%S", local);
}

std::string Utc(std::int64_t time) {
    const std::time_t seconds = WholeSeconds(time);
    std::tm utc{};
    gmtime_r(&seconds, &utc);
    return Text("%Y-%m-%dT%H:%M:%S.", utc) + std::to_string(1000 + time % second).substr(1) + "Z";
}

}  // namespace CliTime

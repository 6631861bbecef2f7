// Dates, as people and servers write them.
#include "dates.h"

#include <ctime>

#include <sys/stat.h>

#include "terminal.h"

namespace TnxTool
{

namespace
{

constexpr const char *FORMS[] = {
    "%a, %d %b %Y %H:%M:%S",
    "%A, %d-%b-%y %H:%M:%S",
    "%a %b %d %H:%M:%S %Y",
    "%d %b %Y %H:%M:%S",
    "%d %b %Y",
    "%b %d %Y",
    "%Y-%m-%dT%H:%M:%S",
    "%Y-%m-%d %H:%M:%S",
    "%Y-%m-%d",
    "%Y%m%d %H:%M:%S",
    "%Y%m%d",
};

// What may stand behind a form: nothing, or a zone. Gives its seconds east of Greenwich.
std::optional<long> ReadZone(const char *text)
{
    while (*text == ' ') {
        ++text;
    }
    const std::string_view zone = text;
    if (zone.empty() || zone == "GMT" || zone == "UTC" || zone == "Z") {
        return 0;
    }
    std::tm time{};
    const char *end = strptime(text, "%z", &time);
    return end != nullptr && *end == '\0' ? std::optional(time.tm_gmtoff) : std::nullopt;
}

} // namespace

std::optional<WallTime> ParseDate(std::string text)
{
    for (const char *form : FORMS) {
        std::tm time{};
        const char *end = strptime(text.c_str(), form, &time);
        const auto zone = end == nullptr ? std::nullopt : ReadZone(end);
        if (zone) {
            return std::chrono::system_clock::from_time_t(timegm(&time) - *zone);
        }
    }
    return std::nullopt;
}

Text TimeCondition(const std::string &value)
{
    const bool opposite = value.starts_with('-');
    const std::string text = opposite ? value.substr(1) : value;
    struct stat file {
    };
    std::time_t seconds = 0;
    if (const auto date = ParseDate(text)) {
        seconds = std::chrono::system_clock::to_time_t(*date);
    } else if (stat(text.c_str(), &file) == 0) {
        seconds = file.st_mtime;
    } else {
        Complain("warning: '" + text + "' is neither a date nor a file; -z is left out");
        return std::nullopt;
    }
    std::tm time{};
    char field[64];
    std::strftime(field, sizeof(field), "%a, %d %b %Y %H:%M:%S GMT", gmtime_r(&seconds, &time));
    return std::string(opposite ? "If-Unmodified-Since: " : "If-Modified-Since: ") + field;
}

} // namespace TnxTool

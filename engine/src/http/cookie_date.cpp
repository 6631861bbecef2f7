// Reads the date formats of cookies: any order, any separators (RFC 6265 section 5.1.1).
#include "set_cookie.h"

#include <array>
#include <chrono>

#include "base/text.h"

namespace OHOS::Pelloria::Tnx
{
namespace
{

constexpr bool IsDelimiter(char c)
{
    const auto byte = static_cast<unsigned char>(c);
    return byte == 0x09 || (byte >= 0x20 && byte <= 0x2F) || (byte >= 0x3B && byte <= 0x40) ||
           (byte >= 0x5B && byte <= 0x60) || (byte >= 0x7B && byte <= 0x7E);
}

// `least` to `most` digits at the front of `text`, which are taken from it; a digit more is one
// too many.
std::optional<int> TakeNumber(std::string_view &text, size_t least, size_t most)
{
    size_t count = 0;
    int number = 0;
    while (count < text.size() && count <= most && IsDigit(text[count])) {
        number = number * 10 + (text[count] - '0');
        ++count;
    }
    if (count < least || count > most) {
        return std::nullopt;
    }
    text.remove_prefix(count);
    return number;
}

struct Date {
    std::optional<std::array<int, 3>> time;
    std::optional<int> day;
    std::optional<int> month;
    std::optional<int> year;
};

std::optional<std::array<int, 3>> ReadTime(std::string_view token)
{
    std::array<int, 3> time{};
    for (size_t i = 0; i < time.size(); ++i) {
        const std::optional<int> field = TakeNumber(token, 1, 2);
        if (!field || (i < 2 && !token.starts_with(':'))) {
            return std::nullopt;
        }
        token.remove_prefix(i < 2 ? 1 : 0);
        time[i] = *field;
    }
    return time;
}

std::optional<int> ReadMonth(std::string_view token)
{
    constexpr std::array<std::string_view, 12> MONTHS = {"jan", "feb", "mar", "apr", "may", "jun",
                                                         "jul", "aug", "sep", "oct", "nov", "dec"};
    for (size_t i = 0; i < MONTHS.size(); ++i) {
        if (EqualsIgnoringCase(token.substr(0, 3), MONTHS[i])) {
            return static_cast<int>(i) + 1;
        }
    }
    return std::nullopt;
}

// A token goes to the first part of the date that it fits and that is still open.
void ReadToken(std::string_view token, Date &date)
{
    if (!date.time && (date.time = ReadTime(token))) {
        return;
    }
    if (std::string_view text = token; !date.day && (date.day = TakeNumber(text, 1, 2))) {
        return;
    }
    if (!date.month && (date.month = ReadMonth(token))) {
        return;
    }
    if (std::string_view text = token; !date.year) {
        date.year = TakeNumber(text, 2, 4);
    }
}

constexpr int FullYear(int year)
{
    if (year >= 70 && year <= 99) {
        return year + 1900;
    }
    return year <= 69 ? year + 2000 : year;
}

} // namespace

std::optional<int64_t> ParseCookieDate(std::string_view text)
{
    Date date;
    while (!text.empty()) {
        size_t length = 0;
        while (length < text.size() && !IsDelimiter(text[length])) {
            ++length;
        }
        if (length > 0) {
            ReadToken(text.substr(0, length), date);
        }
        text.remove_prefix(std::min(length + 1, text.size()));
    }
    if (!date.time || !date.day || !date.month || !date.year) {
        return std::nullopt;
    }
    const auto [hour, minute, second] = *date.time;
    const int year = FullYear(*date.year);
    using namespace std::chrono;
    const year_month_day day{std::chrono::year(year), month(static_cast<unsigned>(*date.month)),
                             std::chrono::day(static_cast<unsigned>(*date.day))};
    if (!day.ok() || year < 1601 || hour > 23 || minute > 59 || second > 59) {
        return std::nullopt;
    }
    return duration_cast<seconds>(sys_days(day).time_since_epoch()).count() + hour * 3600 +
           minute * 60 + second;
}

} // namespace OHOS::Pelloria::Tnx

// Reads cookies as user agents do: forgiving, and the same for everybody.
#include "set_cookie.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <string>
#include <utility>

#include "base/text.h"

namespace OHOS::Pelloria::Tnx
{
namespace
{

constexpr int64_t EXPIRED = 1;
constexpr size_t MOST_OF_ATTRIBUTE = 1024; // bytes; a longer one is as good as not there

// The text up to the next semicolon, which is taken from `rest` with it.
std::string_view TakePart(std::string_view &rest)
{
    const size_t end = std::min(rest.find(';'), rest.size());
    const std::string_view part = rest.substr(0, end);
    rest.remove_prefix(std::min(end + 1, rest.size()));
    return part;
}

std::pair<std::string_view, std::string_view> SplitAtEquals(std::string_view part)
{
    const size_t equals = part.find('=');
    if (equals == std::string_view::npos) {
        return {Trim(part), {}};
    }
    return {Trim(part.substr(0, equals)), Trim(part.substr(equals + 1))};
}

// A delta too large to count is as good as for ever.
std::optional<int64_t> ParseMaxAge(std::string_view text)
{
    const bool negative = text.starts_with('-');
    const std::string_view digits = text.substr(negative ? 1 : 0);
    if (text.empty() || !std::all_of(digits.begin(), digits.end(), IsDigit)) {
        return std::nullopt;
    }
    int64_t seconds = 0;
    const auto result = std::from_chars(digits.data(), digits.data() + digits.size(), seconds);
    if (result.ec == std::errc::result_out_of_range) {
        seconds = std::numeric_limits<int64_t>::max();
    }
    return negative ? -seconds : seconds;
}

int64_t ExpiryOfMaxAge(int64_t maxAge, int64_t now)
{
    if (maxAge <= 0) {
        return EXPIRED;
    }
    return maxAge > std::numeric_limits<int64_t>::max() - now ? std::numeric_limits<int64_t>::max()
                                                              : now + maxAge;
}

// An attribute that counts is the last one of its name.
void ApplyAttribute(ResponseCookie &cookie, const std::string &name, std::string_view value,
                    std::optional<int64_t> &expires)
{
    if (name == "expires") {
        cookie.expires = value;
        if (const std::optional<int64_t> date = ParseCookieDate(value)) {
            expires = date;
        }
    } else if (name == "max-age") {
        if (const std::optional<int64_t> seconds = ParseMaxAge(value)) {
            cookie.maxAge = seconds;
        }
    } else if (name == "domain") {
        if (!value.empty()) {
            cookie.domain = Lower(value.substr(value.front() == '.' ? 1 : 0));
        }
    } else if (name == "path") {
        cookie.path = value.starts_with('/') ? value : std::string_view();
    } else if (name == "secure") {
        cookie.secure = true;
    } else if (name == "httponly") {
        cookie.httpOnly = true;
    } else if (name == "samesite") {
        cookie.sameSite = value;
    }
}

} // namespace

std::optional<ResponseCookie> ParseSetCookie(std::string_view line, int64_t now)
{
    // The revision of RFC 6265 refuses these, for servers read them each in a way of its own.
    if (std::any_of(line.begin(), line.end(), [](char c) { return c != '\t' && IsControl(c); })) {
        return std::nullopt;
    }
    std::string_view rest = line;
    const std::string_view pair = TakePart(rest);
    const auto [name, value] = SplitAtEquals(pair);
    if (pair.find('=') == std::string_view::npos || name.empty()) {
        return std::nullopt;
    }
    ResponseCookie cookie;
    cookie.name = name;
    cookie.value = value;
    cookie.raw = line;
    std::optional<int64_t> expires;
    while (!rest.empty()) {
        const auto [attribute, attributeValue] = SplitAtEquals(TakePart(rest));
        if (!attribute.empty()) {
            const std::string lower = Lower(attribute);
            cookie.attributes[lower] = attributeValue;
            if (attributeValue.size() <= MOST_OF_ATTRIBUTE) {
                ApplyAttribute(cookie, lower, attributeValue, expires);
            }
        }
    }
    if (cookie.maxAge) {
        cookie.expiryTime = ExpiryOfMaxAge(*cookie.maxAge, now);
    } else if (expires) {
        cookie.expiryTime = *expires <= now ? EXPIRED : *expires;
    }
    return cookie;
}

} // namespace OHOS::Pelloria::Tnx

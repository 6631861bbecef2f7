// Reads and writes lines of cookies.
#include "cookie_file.h"

#include <algorithm>
#include <array>
#include <limits>
#include <optional>
#include <utility>

#include "base/text.h"

namespace OHOS::Pelloria::Tnx
{
namespace
{

constexpr std::string_view HEADING = "# Netscape HTTP Cookie File\n"
                                     "# A line \"# SameSite=\" belongs to the cookie below it.\n\n";
constexpr std::string_view HTTP_ONLY = "#HttpOnly_";
constexpr std::string_view SAME_SITE = "# SameSite=";

// Text up to the separator, which is taken from `rest` with it.
std::string_view Take(std::string_view &rest, char separator)
{
    const size_t end = std::min(rest.find(separator), rest.size());
    const std::string_view part = rest.substr(0, end);
    rest.remove_prefix(std::min(end + 1, rest.size()));
    return part;
}

// Some write nothing for a session cookie.
std::optional<int64_t> ParseExpiry(std::string_view text)
{
    constexpr uint64_t MOST = std::numeric_limits<int64_t>::max();
    const std::optional<uint64_t> seconds = text.empty() ? 0 : ParseNumber(text);
    return seconds && *seconds <= MOST ? std::optional(static_cast<int64_t>(*seconds))
                                       : std::nullopt;
}

std::optional<bool> ParseTruth(std::string_view text)
{
    const bool isTrue = EqualsIgnoringCase(text, "TRUE");
    return isTrue || EqualsIgnoringCase(text, "FALSE") ? std::optional(isTrue) : std::nullopt;
}

// Domain, whether hosts below it see the cookie, path, whether it is secure, expiry, name, value.
std::optional<KeptCookie> ParseLine(std::string_view line)
{
    KeptCookie cookie;
    cookie.httpOnly = line.starts_with(HTTP_ONLY);
    line.remove_prefix(cookie.httpOnly ? HTTP_ONLY.size() : 0);
    std::array<std::string_view, 6> fields;
    for (std::string_view &field : fields) {
        field = Take(line, '\t');
    }
    auto [domain, below, path, secure, expiry, name] = fields;
    domain.remove_prefix(domain.starts_with('.') ? 1 : 0);
    const std::optional<bool> isBelow = ParseTruth(below);
    const std::optional<bool> isSecure = ParseTruth(secure);
    const std::optional<int64_t> expiryTime = ParseExpiry(expiry);
    if (domain.empty() || domain.front() == '.' || !isBelow || !path.starts_with('/') ||
        !isSecure || !expiryTime || name.empty() || name.find_first_of("=;") != name.npos ||
        line.find(';') != line.npos) {
        return std::nullopt;
    }
    cookie.domain = Lower(domain);
    cookie.hostOnly = !*isBelow;
    cookie.path = path;
    cookie.secure = *isSecure;
    cookie.expiryTime = *expiryTime;
    cookie.name = name;
    cookie.value = line;
    return cookie;
}

} // namespace

CookieFile ParseCookieFile(std::string_view text)
{
    CookieFile file;
    std::string_view sameSite;
    while (!text.empty()) {
        std::string_view line = Take(text, '\n');
        line.remove_suffix(line.ends_with('\r') ? 1 : 0);
        const std::string_view ofLineAbove = std::exchange(sameSite, {});
        if (line.starts_with(SAME_SITE)) {
            sameSite = line.substr(SAME_SITE.size());
        } else if (!line.empty() && (!line.starts_with('#') || line.starts_with(HTTP_ONLY))) {
            std::optional<KeptCookie> cookie = ParseLine(line);
            if (cookie) {
                cookie->sameSite = ofLineAbove;
                file.cookies.push_back(std::move(*cookie));
            } else {
                ++file.damaged;
            }
        }
    }
    return file;
}

std::string PrintCookieFile(const KeptCookies &cookies)
{
    const auto truth = [](bool is) { return is ? "\tTRUE\t" : "\tFALSE\t"; };
    std::string text(HEADING);
    for (const KeptCookie &cookie : cookies) {
        if (!cookie.sameSite.empty()) {
            text.append(SAME_SITE).append(cookie.sameSite).append("\n");
        }
        text.append(cookie.httpOnly ? HTTP_ONLY : "").append(cookie.hostOnly ? "" : ".");
        text.append(cookie.domain).append(truth(!cookie.hostOnly)).append(cookie.path);
        text.append(truth(cookie.secure)).append(std::to_string(cookie.expiryTime)).append("\t");
        text.append(cookie.name).append("\t").append(cookie.value).append("\n");
    }
    return text;
}

} // namespace OHOS::Pelloria::Tnx

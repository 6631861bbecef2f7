// Which values a limit or a setting of connections takes.
#include "objects/request_limits.h"

#include "objects/request_extension.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <string_view>
#include <utility>

#include <arpa/inet.h>
#include <net/if.h>
#include <sys/un.h>

namespace OHOS::Pelloria::TnxC
{
namespace
{

bool IsTlsVersion(int64_t value)
{
    return value == TNX_TLS_1_2 || value == TNX_TLS_1_3;
}

// Takes the values that the others are to go with.
bool IsLimit(const RequestLimits &limits, uint32_t which, int64_t value)
{
    if (value == 0) {
        return true;
    }
    const int64_t highest = limits.values[TNX_LIMIT_TLS_HIGHEST];
    switch (which) {
    case TNX_LIMIT_REDIRECTS:
        return value > 0 || value == TNX_NO_REDIRECTS;
    case TNX_LIMIT_ADDRESS_FAMILY:
        return value == 4 || value == 6;
    case TNX_LIMIT_TLS_LOWEST:
        return IsTlsVersion(value) && (highest == 0 || value <= highest);
    case TNX_LIMIT_TLS_HIGHEST:
        return IsTlsVersion(value) && value >= limits.values[TNX_LIMIT_TLS_LOWEST];
    default:
        return value > 0;
    }
}

bool IsAddress(int family, const std::string &text)
{
    in6_addr buffer;
    return inet_pton(family, text.c_str(), &buffer) == 1;
}

bool IsPlain(std::string_view text)
{
    return std::none_of(text.begin(), text.end(),
                        [](char c) { return (c >= 0 && c <= ' ') || c == 127; });
}

bool IsInterface(const std::string &text)
{
    return IsAddress(AF_INET, text) || IsAddress(AF_INET6, text) ||
           (text.size() < IFNAMSIZ && IsPlain(text) && text.find('/') == std::string::npos);
}

// What a list of ciphers is made of, in OpenSSL's spelling.
bool IsCipherList(std::string_view text)
{
    return std::all_of(text.begin(), text.end(), [](char c) { return c >= ' ' && c < 127; });
}

// A name, and the colon behind it.
bool TakeHost(std::string_view &rest, std::string &host)
{
    const size_t bracket = rest.starts_with('[') ? 1 : 0;
    const size_t end = rest.find(bracket == 1 ? "]:" : ":");
    if (end == std::string_view::npos) {
        return false;
    }
    host = rest.substr(bracket, end - bracket);
    rest.remove_prefix(end + bracket + 1);
    return bracket == 1 ? IsAddress(AF_INET6, host)
                        : IsPlain(host) && host.find_first_of("[]/@") == std::string::npos;
}

// All of the text, which may be empty.
bool ReadPort(std::string_view text, uint16_t &port)
{
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), port);
    return text.empty() || (error == std::errc() && end == text.data() + text.size() && port != 0);
}

bool ReadRule(std::string_view text, ConnectRule &rule)
{
    if (!TakeHost(text, rule.host)) {
        return false;
    }
    const size_t colon = text.find(':');
    if (colon == std::string_view::npos || !ReadPort(text.substr(0, colon), rule.port)) {
        return false;
    }
    text.remove_prefix(colon + 1);
    return TakeHost(text, rule.otherHost) && ReadPort(text, rule.otherPort);
}

// Nothing where one of the rules is none.
std::optional<std::vector<ConnectRule>> ReadRules(std::string_view text)
{
    std::vector<ConnectRule> rules;
    for (;;) {
        const size_t comma = text.find(',');
        if (!ReadRule(text.substr(0, comma), rules.emplace_back())) {
            return std::nullopt;
        }
        if (comma == std::string_view::npos) {
            return rules;
        }
        text.remove_prefix(comma + 1);
    }
}

bool IsConnectionText(uint32_t which, const std::string &text)
{
    switch (which) {
    case TNX_CONNECTION_UNIX_SOCKET:
        return text.size() < sizeof(sockaddr_un::sun_path);
    case TNX_CONNECTION_INTERFACE:
        return IsInterface(text);
    case TNX_CONNECTION_TO:
        return true; // read rule by rule
    default:
        return IsCipherList(text);
    }
}

// What can fail comes first.
uint32_t SetConnection(RequestLimits &limits, uint32_t which, const char *value)
{
    std::string text = value == nullptr ? "" : value;
    if (value != nullptr && (text.empty() || !IsConnectionText(which, text))) {
        return TNX_ERR_PARAMETER;
    }
    if (which == TNX_CONNECTION_TO) {
        std::optional<std::vector<ConnectRule>> rules(std::in_place);
        if (value != nullptr && !(rules = ReadRules(text))) {
            return TNX_ERR_PARAMETER;
        }
        limits.connectTo = std::move(*rules);
    }
    limits.texts[which] = std::move(text);
    return TNX_OK;
}

} // namespace

bool RequestLimits::Any() const
{
    return std::any_of(values.begin(), values.end(), [](int64_t value) { return value != 0; }) ||
           std::any_of(texts.begin(), texts.end(), [](const auto &text) { return !text.empty(); });
}

} // namespace OHOS::Pelloria::TnxC

using namespace OHOS::Pelloria::TnxC;

uint32_t OVX_Tnx_SetRequestLimit(Tnx_Request *request, uint32_t which, int64_t value) noexcept
{
    if (which >= TNX_REQUEST_LIMITS) {
        return TNX_ERR_PARAMETER;
    }
    return ChangeExtras(request, [&](RequestExtras &extras) -> uint32_t {
        if (!IsLimit(extras.limits, which, value)) {
            return TNX_ERR_PARAMETER;
        }
        extras.limits.values[which] = value;
        return TNX_OK;
    });
}

uint32_t OVX_Tnx_SetRequestConnection(Tnx_Request *request, uint32_t which,
                                      const char *value) noexcept
{
    if (which >= TNX_CONNECTION_SETTINGS) {
        return TNX_ERR_PARAMETER;
    }
    return ChangeExtras(
        request, [&](RequestExtras &extras) { return SetConnection(extras.limits, which, value); });
}

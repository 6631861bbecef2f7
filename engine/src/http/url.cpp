// URLs through libcurl's own parser, so that both read the same.
#include "url.h"

#include <charconv>
#include <optional>
#include <utility>

#include "base/secrets.h"
#include "base/text.h"
#include "curl/handles.h"
#include "curl/quirks.h"
#include "host_name.h"

namespace OHOS::Pelloria::Tnx
{
namespace
{

// Which part of a URL libcurl has found wrong.
const char *ProblemOf(CURLUcode code)
{
    switch (code) {
    case CURLUE_BAD_SCHEME:
        return "it does not begin with http:// or https://";
    case CURLUE_BAD_SLASHES:
        return "two slashes must follow its scheme";
    case CURLUE_BAD_USER:
    case CURLUE_BAD_PASSWORD:
    case CURLUE_BAD_LOGIN:
        return "its user name or password has a character that must be encoded";
    case CURLUE_NO_HOST:
        return "it has no host";
    case CURLUE_BAD_HOSTNAME:
        return "its host has a character that no name has";
    case CURLUE_BAD_IPV6:
        return "its IPv6 address is none";
    case CURLUE_BAD_PORT_NUMBER:
        return "its port is no number from 0 to 65535";
    case CURLUE_BAD_PATH:
        return "its path has a character that must be encoded";
    case CURLUE_BAD_QUERY:
        return "its query has a character that must be encoded";
    case CURLUE_BAD_FRAGMENT:
        return "its fragment has a character that must be encoded";
    default:
        return curl_url_strerror(code);
    }
}

// Goes on with the name in ASCII.
CURLcode ParseInternational(CURLU *handle, const std::string &name, const std::string &text,
                            Url &url)
{
    const std::optional<std::string> ascii = AsciiName(name);
    CURLcode code = CURLE_URL_MALFORMAT;
    if (ascii && SetUrlPart(handle, CURLUPART_HOST, *ascii, 0) == CURLUE_OK) {
        code = ParseUrl(GetUrlPart(handle, CURLUPART_URL), url);
    }
    // What some letters stand for, a slash for instance, would end the name.
    if (code != CURLE_OK || url.host != *ascii) {
        url.problem = "its host is no valid name";
        return CURLE_URL_MALFORMAT;
    }
    url.asciiText = std::exchange(url.text, text);
    url.givenName = name;
    return CURLE_OK;
}

} // namespace

CURLcode ParseUrl(const std::string &text, Url &url)
{
    if (text.find('@') != std::string::npos) {
        SecretSeen();
    }
    UrlHandle handle = MakeUrl();
    const bool cut = text.find('\0') != std::string::npos;
    const CURLUcode code =
        cut ? CURLUE_MALFORMED_INPUT
            : SetUrlPart(handle.get(), CURLUPART_URL, text, CURLU_NON_SUPPORT_SCHEME);
    if (code != CURLUE_OK) {
        url.problem = cut ? "it has a NUL" : ProblemOf(UrlProblem(text, code));
        return CURLE_URL_MALFORMAT;
    }
    url.text = text;
    url.scheme = Lower(GetUrlPart(handle.get(), CURLUPART_SCHEME));
    if (url.scheme != "http" && url.scheme != "https") {
        url.problem = "its scheme is neither http nor https";
        return CURLE_UNSUPPORTED_PROTOCOL;
    }
    const std::string host = GetUrlPart(handle.get(), CURLUPART_HOST);
    if (!IsAscii(host)) {
        return ParseInternational(handle.get(), host, text, url);
    }
    url.host = Lower(host);
    if (url.host.empty()) {
        url.problem = "it has no host";
        return CURLE_URL_MALFORMAT;
    }
    if (url.host.front() == '[') {
        url.host = url.host.substr(1, url.host.size() - 2);
    }
    url.hostIsAddress = IsAddress(url.host);
    url.hasCredential = !GetUrlPart(handle.get(), CURLUPART_USER).empty() ||
                        !GetUrlPart(handle.get(), CURLUPART_PASSWORD).empty();
    url.path = GetUrlPart(handle.get(), CURLUPART_PATH);
    const std::string port = GetUrlPart(handle.get(), CURLUPART_PORT);
    url.port = url.Secure() ? 443 : 80;
    url.ownPort = !port.empty();
    std::from_chars(port.data(), port.data() + port.size(), url.port);
    url.origin = url.scheme + "://" + url.host + ":" + std::to_string(url.port);
    url.handle = std::move(handle);
    return CURLE_OK;
}

std::string ResolveUrl(const std::string &base, const std::string &reference)
{
    // libcurl takes a reference within the document for a name beside it.
    const bool within = reference.empty() || reference.front() == '#';
    const std::string target = (within ? base.substr(0, base.find('#')) : "") + reference;
    const UrlHandle handle = MakeUrl();
    constexpr unsigned ANY_SCHEME = CURLU_NON_SUPPORT_SCHEME | CURLU_URLENCODE;
    if (SetUrlPart(handle.get(), CURLUPART_URL, base, 0) != CURLUE_OK ||
        SetUrlPart(handle.get(), CURLUPART_URL, target, ANY_SCHEME) != CURLUE_OK) {
        return reference;
    }
    return GetUrlPart(handle.get(), CURLUPART_URL);
}

} // namespace OHOS::Pelloria::Tnx

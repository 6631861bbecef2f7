// URLs through libcurl's own parser, so that both read the same.
#include "url.h"

#include <charconv>
#include <memory>

#include "curl_multi.h"
#include "text.h"

namespace OHOS::Pelloria::Tnx
{
namespace
{

struct CurlFree {
    void operator()(char *text) const noexcept { curl_free(text); }
};

std::string GetPart(CURLU *url, CURLUPart part, unsigned flags = 0)
{
    char *text = nullptr;
    const CURLUcode code = curl_url_get(url, part, &text, flags);
    const std::unique_ptr<char, CurlFree> owned(text); // left behind when a name is no valid IDN
    return code == CURLUE_OK ? text : std::string();
}

} // namespace

CURLcode ParseUrl(const std::string &text, Url &url)
{
    const UrlHandle handle(curl_url());
    if (handle == nullptr) {
        return CURLE_OUT_OF_MEMORY;
    }
    if (text.find('\0') != std::string::npos ||
        curl_url_set(handle.get(), CURLUPART_URL, text.c_str(), CURLU_NON_SUPPORT_SCHEME) !=
            CURLUE_OK) {
        return CURLE_URL_MALFORMAT;
    }
    url.text = text;
    url.scheme = Lower(GetPart(handle.get(), CURLUPART_SCHEME));
    if (url.scheme != "http" && url.scheme != "https") {
        return CURLE_UNSUPPORTED_PROTOCOL;
    }
    url.host = Lower(GetPart(handle.get(), CURLUPART_HOST, CURLU_PUNYCODE));
    if (url.host.empty()) {
        return CURLE_URL_MALFORMAT;
    }
    if (url.host.front() == '[') {
        url.host = url.host.substr(1, url.host.size() - 2);
    }
    url.path = GetPart(handle.get(), CURLUPART_PATH);
    const std::string port = GetPart(handle.get(), CURLUPART_PORT, CURLU_DEFAULT_PORT);
    std::from_chars(port.data(), port.data() + port.size(), url.port);
    return CURLE_OK;
}

std::string ResolveUrl(const std::string &base, const std::string &reference)
{
    const UrlHandle handle(curl_url());
    if (handle == nullptr ||
        curl_url_set(handle.get(), CURLUPART_URL, base.c_str(), 0) != CURLUE_OK ||
        curl_url_set(handle.get(), CURLUPART_URL, reference.c_str(),
                     CURLU_NON_SUPPORT_SCHEME | CURLU_URLENCODE) != CURLUE_OK) {
        return reference;
    }
    return GetPart(handle.get(), CURLUPART_URL);
}

} // namespace OHOS::Pelloria::Tnx

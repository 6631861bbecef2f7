// URLs through libcurl's own parser, so that both read the same.
#include "url.h"

#include <charconv>
#include <memory>
#include <new>

#include "curl_handles.h"
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
    const std::unique_ptr<char, CurlFree> owned(text);
    // A name that is no valid IDN has the same code, and leaves a text behind.
    if (code == CURLUE_OUT_OF_MEMORY && text == nullptr) {
        throw std::bad_alloc();
    }
    return code == CURLUE_OK ? text : std::string();
}

// False: it is no URL.
bool Set(CURLU *url, const std::string &text, unsigned flags)
{
    const CURLUcode code = curl_url_set(url, CURLUPART_URL, text.c_str(), flags);
    if (code == CURLUE_OUT_OF_MEMORY) {
        throw std::bad_alloc();
    }
    return code == CURLUE_OK;
}

} // namespace

CURLcode ParseUrl(const std::string &text, Url &url)
{
    const UrlHandle handle = MakeUrl();
    if (text.find('\0') != std::string::npos ||
        !Set(handle.get(), text, CURLU_NON_SUPPORT_SCHEME)) {
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
    const std::string port = GetPart(handle.get(), CURLUPART_PORT);
    url.port = url.Secure() ? 443 : 80;
    url.ownPort = !port.empty();
    std::from_chars(port.data(), port.data() + port.size(), url.port);
    return CURLE_OK;
}

std::string ResolveUrl(const std::string &base, const std::string &reference)
{
    const UrlHandle handle = MakeUrl();
    if (!Set(handle.get(), base, 0) ||
        !Set(handle.get(), reference, CURLU_NON_SUPPORT_SCHEME | CURLU_URLENCODE)) {
        return reference;
    }
    return GetPart(handle.get(), CURLUPART_URL);
}

} // namespace OHOS::Pelloria::Tnx

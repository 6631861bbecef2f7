// Owners of what libcurl makes, and the calls on it that fail for want of memory only: these throw
// bad_alloc.
#ifndef TNX_ENGINE_CURL_HANDLES_H
#define TNX_ENGINE_CURL_HANDLES_H

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <curl/curl.h>

namespace OHOS::Pelloria::Tnx
{

struct CurlCleanup {
    void operator()(CURL *easy) const noexcept { curl_easy_cleanup(easy); }
    void operator()(CURLU *url) const noexcept { curl_url_cleanup(url); }
    void operator()(curl_slist *list) const noexcept { curl_slist_free_all(list); }
    void operator()(curl_mime *mime) const noexcept { curl_mime_free(mime); }
    void operator()(char *text) const noexcept { curl_free(text); }
};

using EasyHandle = std::unique_ptr<CURL, CurlCleanup>;
using UrlHandle = std::unique_ptr<CURLU, CurlCleanup>;
using StringList = std::unique_ptr<curl_slist, CurlCleanup>;
using MimeHandle = std::unique_ptr<curl_mime, CurlCleanup>;
using CurlText = std::unique_ptr<char, CurlCleanup>;

EasyHandle MakeEasy();
UrlHandle MakeUrl();

// A part that is not there is empty.
std::string GetUrlPart(CURLU *url, CURLUPart part);
CURLUcode SetUrlPart(CURLU *url, CURLUPart part, const std::string &text, unsigned flags);

void AppendTo(StringList &list, const std::string &line);

// What CURLOPT_RESOLVE takes, for a time.
std::string ResolveLine(const std::string &host, uint16_t port,
                        const std::vector<std::string> &addresses);

// An option whose text libcurl copies.
void SetText(CURL *easy, CURLoption option, const char *text);

void AddHandle(CURLM *multi, CURL *easy);

} // namespace OHOS::Pelloria::Tnx

#endif

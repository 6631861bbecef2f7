// One check of libcurl's result each.
#include "handles.h"

#include <new>

namespace OHOS::Pelloria::Tnx
{
namespace
{

void Need(bool made)
{
    if (!made) {
        throw std::bad_alloc();
    }
}

} // namespace

EasyHandle MakeEasy()
{
    EasyHandle easy(curl_easy_init());
    Need(easy != nullptr);
    return easy;
}

UrlHandle MakeUrl()
{
    UrlHandle url(curl_url());
    Need(url != nullptr);
    return url;
}

std::string GetUrlPart(CURLU *url, CURLUPart part)
{
    char *text = nullptr;
    const CURLUcode code = curl_url_get(url, part, &text, 0);
    const CurlText owned(text);
    Need(code != CURLUE_OUT_OF_MEMORY);
    return code == CURLUE_OK ? text : std::string();
}

CURLUcode SetUrlPart(CURLU *url, CURLUPart part, const std::string &text, unsigned flags)
{
    const CURLUcode code = curl_url_set(url, part, text.c_str(), flags);
    Need(code != CURLUE_OUT_OF_MEMORY);
    return code;
}

void AppendTo(StringList &list, const std::string &line)
{
    curl_slist *const longer = curl_slist_append(list.get(), line.c_str());
    Need(longer != nullptr);
    list.release();
    list.reset(longer);
}

std::string ResolveLine(const std::string &host, uint16_t port,
                        const std::vector<std::string> &addresses)
{
    std::string line = "+" + host + ":" + std::to_string(port) + ":";
    for (const std::string &address : addresses) {
        line += &address == &addresses.front() ? "" : ",";
        line += address.find(':') != std::string::npos ? "[" + address + "]" : address;
    }
    return line;
}

void SetText(CURL *easy, CURLoption option, const char *text)
{
    Need(curl_easy_setopt(easy, option, text) != CURLE_OUT_OF_MEMORY);
}

void AddHandle(CURLM *multi, CURL *easy)
{
    Need(curl_multi_add_handle(multi, easy) == CURLM_OK);
}

} // namespace OHOS::Pelloria::Tnx

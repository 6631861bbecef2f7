// Asks libcurl for what either version tells.
#include "quirks.h"

#include <algorithm>

namespace OHOS::Pelloria::Tnx
{
namespace
{

bool IsNewer()
{
    static const bool newer = curl_version_info(CURLVERSION_NOW)->version_num >= 0x080000;
    return newer;
}

} // namespace

bool WasConnected(CURL *easy)
{
    char *address = nullptr;
    curl_off_t connect = 0;
    curl_easy_getinfo(easy, CURLINFO_PRIMARY_IP, &address);
    curl_easy_getinfo(easy, CURLINFO_CONNECT_TIME_T, &connect);
    return connect > 0 || (address != nullptr && *address != '\0');
}

bool LacksHttp2(CURL *easy, CURLcode code, bool secure, bool refused)
{
    long version = CURL_HTTP_VERSION_NONE;
    curl_easy_getinfo(easy, CURLINFO_HTTP_VERSION, &version);
    if (version != CURL_HTTP_VERSION_NONE) {
        return version != CURL_HTTP_VERSION_2_0;
    }
    return secure ? code == CURLE_SSL_CONNECT_ERROR && refused
                  : code == (IsNewer() ? CURLE_HTTP2 : CURLE_GOT_NOTHING);
}

bool LeftHttp2(CURLcode code)
{
    return !IsNewer() && code == CURLE_HTTP2;
}

bool MetLongHeaderLine(CURL *easy, CURLcode code, bool memoryRanOut)
{
    constexpr int TOO_LARGE = 100;
    curl_off_t firstByte = 0;
    curl_easy_getinfo(easy, CURLINFO_STARTTRANSFER_TIME_T, &firstByte);
    return code == static_cast<CURLcode>(TOO_LARGE) ||
           (code == CURLE_OUT_OF_MEMORY && !memoryRanOut && firstByte > 0);
}

std::vector<std::string> LoopbackAddresses()
{
    return {"127.0.0.1", "::1"};
}

bool ServesOnce()
{
    static const bool old = curl_version_info(CURLVERSION_NOW)->version_num < 0x080100;
    return old;
}

CURLUcode UrlProblem(const std::string &url, CURLUcode code)
{
    const auto bad = std::find_if(url.begin(), url.end(),
                                  [](char c) { return (c >= 0 && c <= ' ') || c == 127; });
    if (code != CURLUE_MALFORMED_INPUT || (bad == url.end() && !url.empty())) {
        return code;
    }
    const std::string before(url.begin(), bad);
    const size_t scheme = before.find("://");
    if (scheme == std::string::npos) {
        return CURLUE_BAD_SCHEME;
    }
    if (before.find('#') != std::string::npos) {
        return CURLUE_BAD_FRAGMENT;
    }
    if (before.find('?') != std::string::npos) {
        return CURLUE_BAD_QUERY;
    }
    if (before.find('/', scheme + 3) != std::string::npos) {
        return CURLUE_BAD_PATH;
    }
    const size_t end = url.find_first_of("/?#", before.size());
    return url.substr(0, end).find('@', before.size()) != std::string::npos ? CURLUE_BAD_LOGIN
                                                                            : CURLUE_BAD_HOSTNAME;
}

} // namespace OHOS::Pelloria::Tnx

// Where libcurl 7.88 and 8.14 differ in what they tell: each difference once, and evened out where
// it can be. One cannot: the newer hands out a kept connection that NTLM has authenticated without
// looking whether it has died within the last second, so that a body which must not be sent twice
// may be lost on it.
#ifndef TNX_ENGINE_CURL_VERSIONS_H
#define TNX_ENGINE_CURL_VERSIONS_H

#include <string>
#include <vector>

#include <curl/curl.h>

namespace OHOS::Pelloria::Tnx
{

// Whether a peer was connected to. The older tells its address from then on, the newer only when
// TLS stands too, but then when it was.
inline bool WasConnected(CURL *easy)
{
    char *address = nullptr;
    curl_off_t connect = 0;
    curl_easy_getinfo(easy, CURLINFO_PRIMARY_IP, &address);
    curl_easy_getinfo(easy, CURLINFO_CONNECT_TIME_T, &connect);
    return connect > 0 || (address != nullptr && *address != '\0');
}

// Whether a hop that was to speak HTTP/2 from the start failed because the server does not. Within
// TLS the older lets the server choose another version, the newer offers no other and is refused
// with an alert; in clear text the older finds the reply empty, the newer finds it damaged.
inline bool LacksHttp2(CURL *easy, CURLcode code, bool secure, bool refused)
{
    long version = CURL_HTTP_VERSION_NONE;
    curl_easy_getinfo(easy, CURLINFO_HTTP_VERSION, &version);
    if (version == CURL_HTTP_VERSION_2_0) {
        return false;
    }
    return code == CURLE_HTTP2 || (secure && code == CURLE_SSL_CONNECT_ERROR && refused) ||
           (!secure && code == CURLE_GOT_NOTHING);
}

// Whether a header line was longer than libcurl takes, which is 100 KiB. The older says that memory
// ran out, the newer has a code for it, which the older lacks.
inline bool MetLongHeaderLine(CURL *easy, CURLcode code, bool memoryRanOut)
{
    constexpr int TOO_LARGE = 100;
    curl_off_t firstByte = 0;
    curl_easy_getinfo(easy, CURLINFO_STARTTRANSFER_TIME_T, &firstByte);
    return code == static_cast<CURLcode>(TOO_LARGE) ||
           (code == CURLE_OUT_OF_MEMORY && !memoryRanOut && firstByte > 0);
}

// Of the addresses that local names have for libcurl, the older tries that of IPv4 first, the newer
// that of IPv6; a SOCKS proxy is told the first one only.
inline std::vector<std::string> LoopbackAddresses()
{
    return {"127.0.0.1", "::1"};
}

} // namespace OHOS::Pelloria::Tnx

#endif

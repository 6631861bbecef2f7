// What the engine stands on, and its words for failures.
#include "tnx_native/version.h"

#include <ares.h>
#include <curl/curl.h>

#include "tnx_native/session.h"

namespace OHOS::Pelloria::Tnx
{

std::string LibraryVersions()
{
    const curl_version_info_data *const info = curl_version_info(CURLVERSION_NOW);
    std::string versions = std::string("libcurl/") + info->version;
    if (info->ssl_version != nullptr) {
        versions += std::string(" ") + info->ssl_version;
    }
    if (info->nghttp2_version != nullptr) {
        versions += std::string(" nghttp2/") + info->nghttp2_version;
    }
    if (info->quic_version != nullptr) {
        versions += std::string(" ") + info->quic_version;
    }
    return versions + " c-ares/" + ares_version(nullptr);
}

const char *TransferErrorText(uint32_t code) noexcept
{
    const uint32_t number = code - ERR_TRANSFER_BASE;
    return curl_easy_strerror(number < CURL_LAST ? static_cast<CURLcode>(number) : CURL_LAST);
}

} // namespace OHOS::Pelloria::Tnx

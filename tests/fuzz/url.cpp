// Fuzzes the taking apart of URLs: one that is accepted has a host, a port and a path.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "http/url.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    OHOS::Pelloria::Tnx::Url url;
    const std::string text(reinterpret_cast<const char *>(data), size);
    if (OHOS::Pelloria::Tnx::ParseUrl(text, url) == CURLE_OK) {
        const bool http = url.scheme == "http" || url.scheme == "https";
        if (!http || url.host.empty() || url.path.empty() || url.path[0] != '/') {
            std::abort();
        }
    }
    return 0;
}

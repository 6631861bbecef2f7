// Fuzzes the reading of Set-Cookie: what comes out must be what a client may send back.
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "http/set_cookie.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const std::string_view line(reinterpret_cast<const char *>(data), size);
    const auto cookie = OHOS::Pelloria::Tnx::ParseSetCookie(line, 1'700'000'000);
    if (cookie) {
        const bool cut = cookie->name.find(';') != std::string::npos ||
                         cookie->value.find(';') != std::string::npos;
        if (cut || cookie->raw != line || cookie->expiryTime < 0) {
            std::abort();
        }
    }
    OHOS::Pelloria::Tnx::ParseCookieDate(line);
    return 0;
}

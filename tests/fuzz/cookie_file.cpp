// Fuzzes the reading of a file of cookies: what is kept of it is read again as it was.
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "http/cookie_file.h"
#include "http/cookie_store.h"

using namespace OHOS::Pelloria::Tnx;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    constexpr int64_t NOW = 1'700'000'000;
    CookieStore store;
    for (const KeptCookie &cookie :
         ParseCookieFile({reinterpret_cast<const char *>(data), size}).cookies) {
        store.Add(cookie, NOW);
    }
    const KeptCookies kept = store.All(NOW);
    const CookieFile again = ParseCookieFile(PrintCookieFile(kept));
    if (again.cookies != kept || again.damaged != 0) {
        std::abort();
    }
    return 0;
}

// Cookie jars as records, and the sessions that use them.
#include "tnx_c_ext/cookie_jar.h"

#include "common/guard.h"
#include "session/tnx_http_session.h"
#include "tnx_native/cookie_jar.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

#include <strings.h>

struct Tnx_CookieJar {
    const std::shared_ptr<OHOS::Pelloria::Tnx::CookieJar> cookies; // shared with sessions
    const std::string path;                                        // empty: none
    size_t damaged = 0;                                            // lines of the file
};

namespace OHOS::Pelloria::TnxC
{
namespace
{

Tnx_CookieJar *CreateJar(const std::string &path, uint32_t *errCode)
{
    std::unique_ptr<Tnx_CookieJar> jar(new Tnx_CookieJar{std::make_shared<Tnx::CookieJar>(), path});
    const int error = path.empty() ? 0 : jar->cookies->Load(path, jar->damaged);
    if (error != 0 && error != ENOENT) {
        TNX_LOGE("failed to read the file of cookies: %{public}s",
                 std::generic_category().message(error).c_str());
        *errCode = TNX_ERR_READ;
        return nullptr;
    }
    if (jar->damaged > 0) {
        TNX_LOGE("damaged lines of the file of cookies, which are left out: %{public}s",
                 std::to_string(jar->damaged).c_str());
    }
    return jar.release();
}

uint32_t SaveJar(const Tnx_CookieJar &jar, const std::string &path)
{
    const int error = jar.cookies->Save(path);
    if (error != 0) {
        TNX_LOGE("failed to write the file of cookies: %{public}s",
                 std::generic_category().message(error).c_str());
    }
    return error == 0 ? TNX_OK : TNX_ERR_WRITE;
}

// The records and, behind them, their texts in one block. Null when memory runs out.
Tnx_JarCookie *PackCookies(const Tnx::KeptCookies &cookies) noexcept
{
    const size_t records = std::max<size_t>(cookies.size(), 1) * sizeof(Tnx_JarCookie);
    size_t size = records;
    for (const Tnx::KeptCookie &cookie : cookies) {
        size += cookie.name.size() + cookie.value.size() + cookie.domain.size() +
                cookie.path.size() + cookie.sameSite.size() + 5;
    }
    auto *const block = static_cast<char *>(std::malloc(size));
    if (block == nullptr) {
        return nullptr;
    }
    char *room = block + records;
    const auto copy = [&room](const std::string &text) -> const char * {
        return std::exchange(room, std::copy_n(text.c_str(), text.size() + 1, room));
    };
    auto *const list = reinterpret_cast<Tnx_JarCookie *>(block);
    Tnx_JarCookie *record = list;
    for (const Tnx::KeptCookie &cookie : cookies) {
        *record++ = {copy(cookie.name), copy(cookie.value),    copy(cookie.domain),
                     copy(cookie.path), copy(cookie.sameSite), cookie.expiryTime,
                     cookie.hostOnly,   cookie.secure,         cookie.httpOnly};
    }
    return list;
}

Tnx_JarCookie *ListCookies(Tnx::CookieJar &jar, const char *url, size_t &count)
{
    const std::optional<Tnx::KeptCookies> cookies =
        url == nullptr ? std::optional(jar.All()) : jar.For(std::string(url));
    Tnx_JarCookie *list = cookies ? PackCookies(*cookies) : nullptr;
    count = list == nullptr ? 0 : cookies->size();
    return list;
}

// The field's value, where its name may stand in front: no cookie has a colon there.
std::string_view ValueOf(std::string_view setCookie)
{
    constexpr std::string_view NAME = "set-cookie:";
    const bool named = setCookie.size() >= NAME.size() &&
                       strncasecmp(setCookie.data(), NAME.data(), NAME.size()) == 0;
    return setCookie.substr(named ? NAME.size() : 0);
}

} // namespace
} // namespace OHOS::Pelloria::TnxC

using namespace OHOS::Pelloria;
using namespace OHOS::Pelloria::TnxC;

Tnx_CookieJar *OVX_Tnx_CreateCookieJar(const char *path, uint32_t *errCode) noexcept
{
    if (errCode == nullptr) {
        return nullptr;
    }
    if (path != nullptr && *path == '\0') {
        *errCode = TNX_ERR_PARAMETER;
        return nullptr;
    }
    *errCode = TNX_OK;
    return Guarded(errCode, [&] { return CreateJar(path == nullptr ? "" : path, errCode); });
}

void OVX_Tnx_DestroyCookieJar(Tnx_CookieJar *jar) noexcept
{
    delete jar;
}

uint32_t OVX_Tnx_UseCookieJar(Tnx_Session *session, Tnx_CookieJar *jar) noexcept
{
    if (session == nullptr || session->ops == nullptr) {
        return TNX_ERR_SESSION_CLOSED;
    }
    Tnx_HttpSession *http = TnxHttpSessionOf(session);
    if (session->ops->create != TnxHttpCreateSession || http == nullptr) {
        return TNX_ERR_PARAMETER;
    }
    std::shared_ptr<Tnx::CookieJar> cookies = jar == nullptr ? nullptr : jar->cookies;
    const MutexLock lock(http->requestMutex);
    http->hasCookieJar = cookies != nullptr;
    http->cookieJar.swap(cookies);
    return TNX_OK;
}

uint32_t OVX_Tnx_SaveCookieJar(Tnx_CookieJar *jar, const char *path) noexcept
{
    if (jar == nullptr || (path == nullptr ? jar->path.empty() : *path == '\0')) {
        return TNX_ERR_PARAMETER;
    }
    return Guarded([&] { return SaveJar(*jar, path == nullptr ? jar->path : path); });
}

uint32_t OVX_Tnx_GetDamagedCookieLines(const Tnx_CookieJar *jar) noexcept
{
    return jar == nullptr ? 0 : static_cast<uint32_t>(jar->damaged);
}

uint32_t OVX_Tnx_SetJarCookie(Tnx_CookieJar *jar, const char *url, const char *setCookie) noexcept
{
    if (jar == nullptr || url == nullptr || setCookie == nullptr) {
        return TNX_ERR_PARAMETER;
    }
    return Guarded([&]() -> uint32_t {
        return jar->cookies->Store(ValueOf(setCookie), url) ? TNX_OK : TNX_ERR_PARAMETER;
    });
}

Tnx_JarCookie *OVX_Tnx_ListJarCookies(Tnx_CookieJar *jar, const char *url, size_t *count) noexcept
{
    if (jar == nullptr || count == nullptr) {
        return nullptr;
    }
    *count = 0;
    uint32_t code = TNX_OK;
    return Guarded(&code, [&] { return ListCookies(*jar->cookies, url, *count); });
}

void OVX_Tnx_DestroyJarCookies(Tnx_JarCookie *cookies) noexcept
{
    std::free(cookies);
}

uint32_t OVX_Tnx_ClearCookieJar(Tnx_CookieJar *jar) noexcept
{
    if (jar == nullptr) {
        return TNX_ERR_PARAMETER;
    }
    return Guarded([jar] { jar->cookies->Clear(); });
}

uint32_t OVX_Tnx_DropSessionCookies(Tnx_CookieJar *jar) noexcept
{
    if (jar == nullptr) {
        return TNX_ERR_PARAMETER;
    }
    return Guarded([jar] { jar->cookies->DropSessionCookies(); });
}

// Cookies and the rules for them (RFC 6265 section 5), in memory.
#ifndef TNX_ENGINE_COOKIE_STORE_H
#define TNX_ENGINE_COOKIE_STORE_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "tnx_native/cookie_jar.h"
#include "url.h"

namespace OHOS::Pelloria::Tnx
{

// The time now is told by the caller, in seconds since 1970. A cookie whose time is over is as good
// as none.
class CookieStore
{
public:
    // Bounds as browsers have them. Where one is exceeded the cookie that was not sent for longest
    // goes; within a domain one that is not secure goes first.
    static constexpr size_t MOST_BYTES = 4096; // of a name and its value
    static constexpr size_t MOST_OF_DOMAIN = 180;
    static constexpr size_t MOST = 3000;

    // Keeps what a response from `url` set. False where the rules of section 5.3 and of the
    // revision of RFC 6265 refuse it.
    bool Store(const ResponseCookie &cookie, const Url &url, int64_t now);

    // Keeps one that was kept elsewhere. False where it cannot have been.
    bool Add(KeptCookie cookie, int64_t now);

    // The cookies to send to `url`, in order (section 5.4).
    KeptCookies For(const Url &url, int64_t now);

    // All of them, the oldest first.
    KeptCookies All(int64_t now) const;

    void Clear();
    void DropSessionCookies();

private:
    struct Stored {
        KeptCookie cookie;
        uint64_t created; // numbers that grow
        uint64_t used;

        bool Over(int64_t now) const { return cookie.expiryTime != 0 && cookie.expiryTime <= now; }
    };
    using OfDomain = std::vector<Stored>;

    bool ShadowsSecure(const KeptCookie &cookie, int64_t now) const;
    void KeepBounds(OfDomain &cookies, int64_t now);
    void KeepBounds(int64_t now);
    template <class Goes> void EraseIf(const Goes &goes);

    std::map<std::string, OfDomain, std::less<>> domains_;
    size_t count_ = 0;
    uint64_t ticks_ = 0;
};

// Whether `host` is `domain` or below it (RFC 6265 section 5.1.3).
bool DomainMatches(const std::string &host, const std::string &domain);

// Whether a request for `path` falls under a cookie's path (RFC 6265 section 5.1.4).
bool PathMatches(const std::string &path, const std::string &cookiePath);

} // namespace OHOS::Pelloria::Tnx

#endif

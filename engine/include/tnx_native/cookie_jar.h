// Cookies that outlive the fetches they came with, and may be shared by sessions.
#ifndef TNX_NATIVE_COOKIE_JAR_H
#define TNX_NATIVE_COOKIE_JAR_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "export.h"
#include "headers.h"

namespace OHOS::Pelloria::Tnx
{

struct Url;

// A cookie as it is kept (RFC 6265 section 5.3).
struct KeptCookie {
    std::string name;
    std::string value;
    std::string domain; // without a dot in front
    std::string path;
    std::string sameSite = {}; // Strict, Lax or None, else empty
    int64_t expiryTime = 0;    // seconds since 1970; 0: a session cookie
    bool hostOnly = true;      // not for hosts below the domain
    bool secure = false;
    bool httpOnly = false;

    bool operator==(const KeptCookie &) const = default;
};

using KeptCookies = std::vector<KeptCookie>;

// Thread-safe.
class TNX_NATIVE_API CookieJar
{
public:
    CookieJar();
    ~CookieJar();
    CookieJar(const CookieJar &) = delete;
    CookieJar &operator=(const CookieJar &) = delete;

    // Keeps what a response from `url` set. False where the rules refuse it.
    bool Store(const ResponseCookie &cookie, const Url &url);

    // The cookies to send to `url`, in order (RFC 6265 section 5.4).
    KeptCookies For(const Url &url);

    // The same for texts. A URL or a Set-Cookie field that is none gives false, and nothing.
    bool Store(std::string_view setCookie, const std::string &url);
    std::optional<KeptCookies> For(const std::string &url);

    // All of them, the oldest first.
    KeptCookies All();

    // Adds the cookies of a file, in the format of libcurl's; or makes it, or replaces it whole,
    // for its owner only. Return an errno, 0 where all went well. A damaged line is counted and
    // left out.
    int Load(const std::string &path, size_t &damaged);
    int Save(const std::string &path);

    void Clear();
    void DropSessionCookies();

private:
    struct State;
    const std::unique_ptr<State> state_;
};

} // namespace OHOS::Pelloria::Tnx

#endif

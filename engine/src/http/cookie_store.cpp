// The storage model of RFC 6265 section 5.3, and what of it is sent (section 5.4).
#include "cookie_store.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <utility>

#include <libpsl.h>

#include "base/text.h"
#include "host_name.h"

namespace OHOS::Pelloria::Tnx
{
namespace
{

constexpr size_t MOST_OF_PATH = 1024;

// RFC 6265 section 5.1.4: the path up to, but not including, its last slash.
std::string DefaultPath(const std::string &path)
{
    const size_t slash = path.rfind('/');
    return slash == std::string::npos || slash == 0 ? "/" : path.substr(0, slash);
}

// Whether strangers have names below it, `org` and `co.uk` for instance; they would all get what is
// set for it.
bool IsPublicSuffix(std::string domain)
{
    if (domain.ends_with('.')) {
        domain.pop_back();
    }
    return psl_is_public_suffix(psl_builtin(), domain.c_str()) == 1;
}

// A name can promise how its cookie was set; one that breaks the promise is refused.
bool KeepsPromise(const std::string &name, bool secure, bool ofWholeHost)
{
    const std::string prefix = Lower(std::string_view(name).substr(0, 9));
    return prefix.starts_with("__host-") ? secure && ofWholeHost
                                         : secure || !prefix.starts_with("__secure-");
}

// Anything else is as good as nothing.
std::string SameSiteOf(std::string_view text)
{
    constexpr auto KNOWN = std::to_array<std::string_view>({"Strict", "Lax", "None"});
    const auto *known = std::find_if(KNOWN.begin(), KNOWN.end(), [text](std::string_view one) {
        return EqualsIgnoringCase(one, text);
    });
    return std::string(known == KNOWN.end() ? std::string_view() : *known);
}

// What holds for every cookie, wherever it comes from. In a file of cookies a tab would end any
// part but the value, which is the last one.
bool IsAcceptable(const KeptCookie &cookie)
{
    const bool fits = cookie.name.size() + cookie.value.size() <= CookieStore::MOST_BYTES &&
                      cookie.path.size() <= MOST_OF_PATH;
    const bool isText = !HasControl(cookie.name) && !HasControl(cookie.path) &&
                        !HasControl(cookie.domain) &&
                        std::all_of(cookie.value.begin(), cookie.value.end(),
                                    [](char c) { return c == '\t' || !IsControl(c); });
    return fits && isText && (cookie.hostOnly || !IsPublicSuffix(cookie.domain)) &&
           KeepsPromise(cookie.name, cookie.secure, cookie.hostOnly && cookie.path == "/");
}

// The domain that `domain` is in; empty where there is none.
std::string_view Parent(std::string_view domain)
{
    const size_t dot = domain.find('.');
    return dot == std::string_view::npos ? std::string_view() : domain.substr(dot + 1);
}

} // namespace

bool DomainMatches(const std::string &host, const std::string &domain)
{
    return host == domain || (host.size() > domain.size() && host.ends_with(domain) &&
                              host[host.size() - domain.size() - 1] == '.' && !IsAddress(host));
}

bool PathMatches(const std::string &path, const std::string &cookiePath)
{
    return path.starts_with(cookiePath) &&
           (path.size() == cookiePath.size() || cookiePath.ends_with('/') ||
            path[cookiePath.size()] == '/');
}

bool CookieStore::Store(const ResponseCookie &cookie, const Url &url, int64_t now)
{
    const bool secure = cookie.secure.value_or(false);
    const bool ofWholeHost = cookie.domain.empty() && cookie.path == "/"; // said, not by default
    if (!KeepsPromise(cookie.name, secure, ofWholeHost) || (secure && !url.Secure())) {
        return false;
    }
    const bool hostOnly =
        cookie.domain.empty() || (cookie.domain == url.host && IsPublicSuffix(cookie.domain));
    if (!hostOnly && !DomainMatches(url.host, cookie.domain)) {
        return false;
    }
    KeptCookie kept{.name = cookie.name,
                    .value = cookie.value,
                    .domain = hostOnly ? url.host : cookie.domain,
                    .path = cookie.path.empty() ? DefaultPath(url.path) : cookie.path,
                    .sameSite = cookie.sameSite,
                    .expiryTime = cookie.expiryTime,
                    .hostOnly = hostOnly,
                    .secure = secure,
                    .httpOnly = cookie.httpOnly.value_or(false)};
    return (url.Secure() || !ShadowsSecure(kept, now)) && Add(std::move(kept), now);
}

// Who listens on the network must not put a cookie of their own in the place of a secure one.
bool CookieStore::ShadowsSecure(const KeptCookie &cookie, int64_t now) const
{
    const auto isShadowed = [&cookie, now](const Stored &stored) {
        const auto &[name, value, domain, path, sameSite, expiry, hostOnly, secure, httpOnly] =
            stored.cookie;
        return secure && !stored.Over(now) && name == cookie.name &&
               PathMatches(cookie.path, path) &&
               (DomainMatches(domain, cookie.domain) || DomainMatches(cookie.domain, domain));
    };
    return std::any_of(domains_.begin(), domains_.end(), [&isShadowed](const auto &entry) {
        return std::any_of(entry.second.begin(), entry.second.end(), isShadowed);
    });
}

bool CookieStore::Add(KeptCookie cookie, int64_t now)
{
    if (!IsAcceptable(cookie)) {
        return false;
    }
    cookie.sameSite = SameSiteOf(cookie.sameSite);
    const auto domain = domains_.try_emplace(cookie.domain).first;
    OfDomain &cookies = domain->second;
    const auto same = std::find_if(cookies.begin(), cookies.end(), [&cookie](const Stored &other) {
        return other.cookie.name == cookie.name && other.cookie.path == cookie.path &&
               other.cookie.hostOnly == cookie.hostOnly;
    });
    ++ticks_;
    if (same == cookies.end()) {
        cookies.push_back({.cookie = std::move(cookie), .created = ticks_, .used = ticks_});
        ++count_;
    } else {
        same->cookie = std::move(cookie);
        same->used = ticks_;
    }
    KeepBounds(cookies, now); // and the cookie goes itself where it only ended another
    if (cookies.empty()) {
        domains_.erase(domain);
    }
    KeepBounds(now);
    return true;
}

void CookieStore::KeepBounds(OfDomain &cookies, int64_t now)
{
    count_ -= std::erase_if(cookies, [now](const Stored &stored) { return stored.Over(now); });
    if (cookies.size() > MOST_OF_DOMAIN) {
        cookies.erase(
            std::min_element(cookies.begin(), cookies.end(), [](const Stored &a, const Stored &b) {
                return std::pair(a.cookie.secure, a.used) < std::pair(b.cookie.secure, b.used);
            }));
        --count_;
    }
}

void CookieStore::KeepBounds(int64_t now)
{
    if (count_ > MOST) {
        EraseIf([now](const Stored &stored) { return stored.Over(now); });
    }
    if (count_ > MOST) {
        uint64_t oldest = ticks_;
        for (const auto &[domain, cookies] : domains_) {
            for (const Stored &stored : cookies) {
                oldest = std::min(oldest, stored.used);
            }
        }
        EraseIf([oldest](const Stored &stored) { return stored.used == oldest; });
    }
}

template <class Goes> void CookieStore::EraseIf(const Goes &goes)
{
    for (auto domain = domains_.begin(); domain != domains_.end();) {
        count_ -= std::erase_if(domain->second, goes);
        domain = domain->second.empty() ? domains_.erase(domain) : std::next(domain);
    }
}

KeptCookies CookieStore::For(const Url &url, int64_t now)
{
    std::vector<Stored *> matching;
    for (std::string_view domain = url.host; !domain.empty();
         domain = url.hostIsAddress ? std::string_view() : Parent(domain)) {
        const auto found = domains_.find(domain);
        if (found == domains_.end()) {
            continue;
        }
        for (Stored &stored : found->second) {
            const KeptCookie &cookie = stored.cookie;
            if ((!cookie.hostOnly || url.host == domain) && PathMatches(url.path, cookie.path) &&
                (!cookie.secure || url.Secure()) && !stored.Over(now)) {
                matching.push_back(&stored);
            }
        }
    }
    std::sort(matching.begin(), matching.end(), [](const Stored *a, const Stored *b) {
        const size_t length = a->cookie.path.size();
        const size_t other = b->cookie.path.size();
        return length != other ? length > other : a->created < b->created;
    });
    KeptCookies cookies;
    for (Stored *stored : matching) {
        stored->used = ++ticks_;
        cookies.push_back(stored->cookie);
    }
    return cookies;
}

KeptCookies CookieStore::All(int64_t now) const
{
    std::map<uint64_t, const KeptCookie *> ordered;
    for (const auto &[domain, cookies] : domains_) {
        for (const Stored &stored : cookies) {
            if (!stored.Over(now)) {
                ordered.emplace(stored.created, &stored.cookie);
            }
        }
    }
    KeptCookies all;
    for (const auto &[created, cookie] : ordered) {
        all.push_back(*cookie);
    }
    return all;
}

void CookieStore::Clear()
{
    domains_.clear();
    count_ = 0;
}

void CookieStore::DropSessionCookies()
{
    EraseIf([](const Stored &stored) { return stored.cookie.expiryTime == 0; });
}

} // namespace OHOS::Pelloria::Tnx

// A store of cookies behind a lock, and the time.
#include "tnx_native/cookie_jar.h"

#include <ctime>
#include <utility>

#include "base/files.h"
#include "common/mutex.h"
#include "cookie_file.h"
#include "cookie_store.h"
#include "set_cookie.h"

namespace OHOS::Pelloria::Tnx
{

namespace
{

constexpr size_t MOST_OF_FILE = 32 * 1024 * 1024; // more than a full jar takes

} // namespace

struct CookieJar::State {
    Mutex mutex;
    CookieStore cookies GUARDED_BY(mutex);
    Mutex saving; // that the file is left with what was saved last
};

CookieJar::CookieJar()
    : state_(std::make_unique<State>())
{
}

CookieJar::~CookieJar() = default;

bool CookieJar::Store(const ResponseCookie &cookie, const Url &url)
{
    const MutexLock lock(state_->mutex);
    return state_->cookies.Store(cookie, url, std::time(nullptr));
}

KeptCookies CookieJar::For(const Url &url)
{
    const MutexLock lock(state_->mutex);
    return state_->cookies.For(url, std::time(nullptr));
}

bool CookieJar::Store(std::string_view setCookie, const std::string &url)
{
    Url parsed;
    const auto cookie = ParseSetCookie(setCookie, std::time(nullptr));
    return cookie && ParseUrl(url, parsed) == CURLE_OK && Store(*cookie, parsed);
}

std::optional<KeptCookies> CookieJar::For(const std::string &url)
{
    Url parsed;
    return ParseUrl(url, parsed) == CURLE_OK ? std::optional(For(parsed)) : std::nullopt;
}

KeptCookies CookieJar::All()
{
    const MutexLock lock(state_->mutex);
    return state_->cookies.All(std::time(nullptr));
}

int CookieJar::Load(const std::string &path, size_t &damaged)
{
    std::string text;
    if (const int error = ReadWholeFile(path, MOST_OF_FILE, text); error != 0) {
        return error;
    }
    CookieFile file = ParseCookieFile(text);
    damaged = file.damaged;
    const MutexLock lock(state_->mutex);
    for (KeptCookie &cookie : file.cookies) {
        damaged += state_->cookies.Add(std::move(cookie), std::time(nullptr)) ? 0 : 1;
    }
    return 0;
}

int CookieJar::Save(const std::string &path)
{
    const MutexLock lock(state_->saving);
    return ReplaceFile(path, PrintCookieFile(All()));
}

void CookieJar::Clear()
{
    const MutexLock lock(state_->mutex);
    state_->cookies.Clear();
}

void CookieJar::DropSessionCookies()
{
    const MutexLock lock(state_->mutex);
    state_->cookies.DropSessionCookies();
}

} // namespace OHOS::Pelloria::Tnx

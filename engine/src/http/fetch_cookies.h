// The cookies of one fetch: what its hops set, for the later ones, in a jar. That is the jar of the
// session, or else one that goes with the fetch, made when there is something to put into it.
#ifndef TNX_ENGINE_FETCH_COOKIES_H
#define TNX_ENGINE_FETCH_COOKIES_H

#include <algorithm>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tnx_native/cookie_jar.h"

namespace OHOS::Pelloria::Tnx
{

class FetchCookies
{
public:
    explicit FetchCookies(std::shared_ptr<CookieJar> jar = {})
        : jar_(std::move(jar))
    {
    }

    // Keeps what a hop to `url` set, unless the rules refuse it.
    void Store(const ResponseCookie &cookie, const Url &url)
    {
        if (jar_ == nullptr) {
            jar_ = std::make_shared<CookieJar>();
        }
        if (jar_->Store(cookie, url)) {
            set_.push_back(cookie.name);
        }
    }

    // What a hop to `url` sends, in order.
    KeptCookies For(const Url &url) const
    {
        return jar_ == nullptr ? KeptCookies() : jar_->For(url);
    }

    // Whether a hop of this fetch has set a cookie of that name.
    bool SetOnTheWay(const std::string &name) const
    {
        return std::find(set_.begin(), set_.end(), name) != set_.end();
    }

private:
    std::shared_ptr<CookieJar> jar_;
    std::vector<std::string> set_; // names
};

} // namespace OHOS::Pelloria::Tnx

#endif

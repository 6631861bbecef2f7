// The proxy of a request and what is excluded from it.
#ifndef TNX_NATIVE_WEB_PROXY_H
#define TNX_NATIVE_WEB_PROXY_H

#include <cstdint>
#include <functional>
#include <string>
#include <variant>
#include <vector>

#include "security.h"

namespace OHOS::Pelloria::Tnx
{

// The values of WebProxy::mode.
enum ProxyMode : uint32_t { PROXY_ENVIRONMENT, PROXY_EXPLICIT, PROXY_NONE };

// The values of WebProxy::option.
enum ProxyOption : uint32_t { PROXY_FORWARD, PROXY_TUNNEL };

// What bypasses the proxy: a list of patterns, or a predicate over URLs.
class Exclusions
{
public:
    using UrlPredicate = std::function<bool(const std::string &url)>;

    void SetUrlVec(const std::vector<std::string> &urls) { rule_ = urls; }
    void SetExclusionFunction(const UrlPredicate &predicate) { rule_ = predicate; }
    const std::variant<std::vector<std::string>, UrlPredicate> &Get() const { return rule_; }

private:
    std::variant<std::vector<std::string>, UrlPredicate> rule_;
};

struct WebProxy {
    uint32_t mode = PROXY_ENVIRONMENT;
    std::string url;
    uint32_t option = PROXY_FORWARD;
    Exclusions exclusions;
    SecurityConfiguration security;
};

} // namespace OHOS::Pelloria::Tnx

#endif

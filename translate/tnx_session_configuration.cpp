// Default fields, session callbacks and connection limits of a session.
#include "translate/tnx_session_configuration.h"

#include "common/guard.h"
#include "translate/tnx_configuration.h"
#include "translate/tnx_http_request_fields.h"

#include <utility>

namespace OHOS::Pelloria::TnxC
{
namespace
{

std::function<void()> WrapCallback(void (*callback)(void))
{
    if (callback == nullptr) {
        return {};
    }
    return [callback]() noexcept { GuardedCall(callback); };
}

void TranslateLimits(Tnx::SessionConfiguration &out, const Tnx_SessionConfiguration &configuration)
{
    if (configuration.maxConnectionsPerHost > 0) {
        out.maxConnectionsPerHost = static_cast<uint64_t>(configuration.maxConnectionsPerHost);
    }
    if (configuration.maxTotalConnections > 0) {
        out.maxTotalConnections = static_cast<uint64_t>(configuration.maxTotalConnections);
    }
    if (configuration.optionalConnectionLimit > 0) {
        out.maxIdleConnections = static_cast<uint64_t>(configuration.optionalConnectionLimit);
    }
}

} // namespace

std::shared_ptr<Tnx::SessionConfiguration>
TnxToCppSessionConfiguration(const Tnx_SessionConfiguration *configuration)
{
    auto out = std::make_shared<Tnx::SessionConfiguration>();
    if (configuration == nullptr) {
        return out;
    }
    out->headers = TnxToCppHeaders(configuration->headers, nullptr);
    Tnx::RequestCookies cookies;
    TnxToCppRequestCookies(configuration->cookies, cookies);
    if (!cookies.empty()) {
        out->cookies = std::move(cookies);
    }
    out->onSessionCanceled = WrapCallback(configuration->onSessionCanceled);
    out->onSessionClosed = WrapCallback(configuration->onSessionClosed);
    TranslateLimits(*out, *configuration);
    TnxToCppConfiguration(out->configuration, configuration->requestConfiguration);
    return out;
}

} // namespace OHOS::Pelloria::TnxC

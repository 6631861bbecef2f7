// What came back for a request.
#ifndef TNX_NATIVE_RESPONSE_H
#define TNX_NATIVE_RESPONSE_H

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "connection_info.h"
#include "header_fields.h"
#include "headers.h"
#include "request.h"

namespace OHOS::Pelloria::Tnx
{

struct DebugInfo {
    uint32_t type; // a DebugKind
    std::string text;
    bool isCause = false; // of the failure that the response comes with
};

// When each phase was over, in microseconds since the request left the queue; 0 where it did not
// happen.
struct TimeInfo {
    int64_t nameLookup = 0;
    int64_t connect = 0;
    int64_t tls = 0;
    int64_t firstSend = 0;
    double firstReceive = 0;
    int64_t startedAt = 0; // microseconds since 1970; the C record has no room for it
    double total = 0;
    int64_t redirect = 0; // the hops that were followed, together
    int64_t queue = 0;    // the wait before time 0
};

// Filled by the engine before the completion runs and read-only from then on.
class Response
{
public:
    explicit Response(std::shared_ptr<Request> request)
        : request_(std::move(request))
    {
    }

    const std::shared_ptr<Request> &GetRequest() const { return request_; }
    const std::string &GetEffectiveUrl() const
    {
        return effectiveUrl_.empty() ? request_->GetUrl() : effectiveUrl_;
    }
    int32_t GetStatusCode() const { return statusCode_; }
    const HeaderFields &GetHeaders() const { return headers_; }
    const std::string &GetBody() const { return body_; }
    const std::vector<DebugInfo> &GetDebugInfo() const { return debugInfo_; }
    // Why the fetch failed, in words; null where it did not.
    const std::string *GetCause() const
    {
        const bool failed = !debugInfo_.empty() && debugInfo_.back().isCause;
        return failed ? &debugInfo_.back().text : nullptr;
    }
    const std::optional<TimeInfo> &GetTimeInfo() const { return timeInfo_; }
    // Null unless it is collected.
    const ConnectionInfo *GetConnectionInfo() const { return connectionInfo_.get(); }
    const ResponseCookies &GetCookie() const { return cookies_; }

    void SetEffectiveUrl(std::string url) { effectiveUrl_ = std::move(url); }
    void SetStatusCode(int32_t code) { statusCode_ = code; }
    void SetHeaders(HeaderFields headers) noexcept { headers_ = std::move(headers); }
    void SetTimeInfo(const TimeInfo &times) { timeInfo_ = times; }
    void SetConnectionInfo(std::unique_ptr<const ConnectionInfo> info)
    {
        connectionInfo_ = std::move(info);
    }
    std::string &MutableBody() { return body_; }
    std::vector<DebugInfo> &MutableDebugInfo() { return debugInfo_; }
    ResponseCookies &MutableCookies() { return cookies_; }

private:
    std::shared_ptr<Request> request_;
    std::string effectiveUrl_; // after a redirect
    int32_t statusCode_ = 0;
    HeaderFields headers_;
    std::string body_;
    std::vector<DebugInfo> debugInfo_;
    std::optional<TimeInfo> timeInfo_;
    std::unique_ptr<const ConnectionInfo> connectionInfo_;
    ResponseCookies cookies_;
};

} // namespace OHOS::Pelloria::Tnx

#endif

// A request, ready to be sent.
#ifndef TNX_NATIVE_REQUEST_H
#define TNX_NATIVE_REQUEST_H

#include <memory>
#include <string>
#include <utility>

#include "callback_gate.h"
#include "configuration.h"
#include "content.h"
#include "headers.h"
#include "retry_policy.h"
#include "trace_event.h"

namespace OHOS::Pelloria::Tnx
{

// Filled before it is fetched and read-only from then on, but for the canceled mark, which any
// thread may set.
class Request
{
public:
    Request(std::string id, std::string url)
        : id_(std::move(id))
        , url_(std::move(url))
    {
    }

    void SetTarget(std::string target) { target_ = std::move(target); }
    void SetMethod(std::string method) { method_ = std::move(method); }
    void SetHeaders(Headers headers) { headers_ = std::move(headers); }
    void SetRequestCookies(RequestCookies cookies) { cookies_ = std::move(cookies); }
    void SetContent(const std::shared_ptr<RequestContent> &content) { content_ = content; }
    void SetTransferRange(TransferRange range) { range_ = std::move(range); }
    void SetOnTrace(TraceCallback callback) { onTrace_ = std::move(callback); }
    void SetRetryPolicy(std::shared_ptr<const RetryPolicy> policy) { retry_ = std::move(policy); }
    Configuration &MutableConfiguration() { return *configuration_; }
    // No callback of the request starts once this has returned. There is no way back.
    void SetCanceled(bool canceled)
    {
        if (canceled) {
            gate_.Close();
        }
    }

    const std::string &GetId() const { return id_; }
    const std::string &GetUrl() const { return url_; }
    // What the request line has in place of the URL's path and query; empty: these.
    const std::string &GetTarget() const { return target_; }
    const std::string &GetMethod() const { return method_; }
    const Headers &GetHeaders() const { return headers_; }
    const RequestCookies &GetRequestCookies() const { return cookies_; }
    const std::shared_ptr<RequestContent> &GetContent() const { return content_; }
    const TransferRange &GetTransferRange() const { return range_; }
    const TraceCallback &OnTrace() const { return onTrace_; }          // may be empty
    const RetryPolicy *GetRetryPolicy() const { return retry_.get(); } // null: none
    const Configuration &GetConfiguration() const { return *configuration_; }
    bool IsCanceled() const { return gate_.Closed(); }
    CallbackGate &Gate() { return gate_; }

private:
    const std::string id_; // the application's; not read here
    const std::string url_;
    std::string target_;
    std::string method_ = "GET";
    Headers headers_;
    RequestCookies cookies_;
    std::shared_ptr<RequestContent> content_;
    TransferRange range_;
    TraceCallback onTrace_;
    std::shared_ptr<const RetryPolicy> retry_;
    // A block of its own: together they would be too large for malloc's fast paths.
    const std::unique_ptr<Configuration> configuration_ = std::make_unique<Configuration>();
    CallbackGate gate_;
};

} // namespace OHOS::Pelloria::Tnx

#endif

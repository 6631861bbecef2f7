// The engine's session: what the application's side holds of a SessionCore.
#ifndef TNX_ENGINE_CURL_SESSION_H
#define TNX_ENGINE_CURL_SESSION_H

#include <memory>
#include <string>
#include <utility>

#include "pool/session_core.h"
#include "refusing_session.h"
#include "tnx_native/session.h"

namespace OHOS::Pelloria::Tnx
{

class CurlSession final : public Session
{
public:
    CurlSession(std::shared_ptr<SessionConfiguration> configuration, TaskRunner runner);
    ~CurlSession() override;

    const std::string &GetId() const override { return id_; }
    bool SetTaskRunner(TaskRunner runner) override { return core_->SetRunner(std::move(runner)); }
    void Fetch(const std::shared_ptr<Request> &request, ResponseCallback completion) override;
    std::shared_ptr<Response> FetchSync(const std::shared_ptr<Request> &request,
                                        uint32_t *errorCode) override;
    void CancelRequest(const std::shared_ptr<Request> &request) override;
    void CancelAll() override;
    void Close() override;

private:
    // The session belongs to the parent of this process, where its threads are.
    bool Inherited() const { return generation_ != Runtime::Generation(); }

    const uint64_t generation_;
    const std::string id_;
    const std::shared_ptr<SessionCore> core_;
    RefusingSession orphan_; // refuses in a child that inherited the session
};

} // namespace OHOS::Pelloria::Tnx

#endif

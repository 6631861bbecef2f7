// Refusals, which need no network: of sessions that could not be set up, and of those that a forked
// child inherited.
#ifndef TNX_ENGINE_REFUSING_SESSION_H
#define TNX_ENGINE_REFUSING_SESSION_H

#include <cstdint>
#include <memory>
#include <string>

#include "event/activity.h"
#include "tnx_native/session.h"

namespace OHOS::Pelloria::Tnx
{

// A response that says why there is none.
std::shared_ptr<Response> MakeRefusal(const std::shared_ptr<Request> &request,
                                      const std::string &why);

// Refuses every fetch with the same code.
class RefusingSession final : public Session
{
public:
    // Without a configuration there is nobody to tell of a cancel or a close.
    RefusingSession(uint32_t code, std::string why,
                    std::shared_ptr<SessionConfiguration> configuration = {})
        : code_(code)
        , why_(std::move(why))
        , configuration_(std::move(configuration))
    {
    }

    const std::string &GetId() const override { return id_; }
    bool SetTaskRunner(TaskRunner runner) override;
    void Fetch(const std::shared_ptr<Request> &request, ResponseCallback completion) override;
    std::shared_ptr<Response> FetchSync(const std::shared_ptr<Request> &request,
                                        uint32_t *errorCode) override;
    void CancelRequest(const std::shared_ptr<Request> &request) override
    {
        request->SetCanceled(true);
    }
    void CancelAll() override;
    void Close() override;

private:
    TaskRunner Runner();

    const std::string id_ = "tnx-none";
    const uint32_t code_;
    const std::string why_;
    const std::shared_ptr<SessionConfiguration> configuration_;
    Mutex mutex_;
    bool fetched_ GUARDED_BY(mutex_) = false;
    TaskRunner runner_ GUARDED_BY(mutex_);
    const std::shared_ptr<Activity> activity_ = std::make_shared<Activity>();
};

} // namespace OHOS::Pelloria::Tnx

#endif

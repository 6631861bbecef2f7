// What the fetches of one session share.
#ifndef TNX_ENGINE_SESSION_CORE_H
#define TNX_ENGINE_SESSION_CORE_H

#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "admission.h"
#include "common/mutex.h"
#include "curl/handles.h"
#include "curl/multi.h"
#include "curl/sockets.h"
#include "curl/tls_session_share.h"
#include "event/activity.h"
#include "runtime.h"
#include "tnx_native/session.h"

namespace OHOS::Pelloria::Tnx
{

// A fetch on its way, as its session sees it.
class RunningFetch
{
public:
    virtual const std::shared_ptr<Request> &GetRequest() const = 0;

    // Has whoever drives it look at it again. From any thread.
    virtual void Wake() noexcept = 0;

protected:
    ~RunningFetch() = default;
};

// A multi handle of its own for each synchronous fetch that runs, kept for the next one with its
// connections: sharing connections across threads is not safe.
struct SyncHandles {
    Sockets sockets;
    CURLM *multi;
    EasyHandle easy;

    SyncHandles();
    ~SyncHandles();
    SyncHandles(const SyncHandles &) = delete;
    SyncHandles &operator=(const SyncHandles &) = delete;
};

class SessionCore
{
public:
    SessionCore(Runtime &runtime, std::shared_ptr<SessionConfiguration> configuration,
                TaskRunner runner);
    ~SessionCore();
    SessionCore(const SessionCore &) = delete;
    SessionCore &operator=(const SessionCore &) = delete;

    Runtime &GetRuntime() { return runtime_; }
    Activity &GetActivity() { return activity_; }
    Admission &GetAdmission() { return admission_; }
    CURLSH *Share() { return share_.Get(); }
    const SessionConfiguration &Configuration() const { return *configuration_; }
    const TaskRunner &Runner() const { return runner_; }

    // Fetches on their way, by their request.
    void Register(const std::shared_ptr<RunningFetch> &fetch);
    void Deregister(const RunningFetch &fetch);
    std::vector<std::shared_ptr<RunningFetch>> Find(const Request &request);
    std::vector<std::shared_ptr<RunningFetch>> All();

    // Handles that are given back are used again if they are sound: where memory ran out, libcurl
    // may not have reset them whole.

    // On the loop's thread, until ReleaseHandles.
    CurlMulti &Multi() { return *multi_; }
    EasyHandle TakeEasy();
    void GiveEasy(EasyHandle easy, bool sound) noexcept;
    void ReleaseHandles();

    // From any thread.
    std::unique_ptr<SyncHandles> TakeSync();
    void GiveSync(std::unique_ptr<SyncHandles> handles, bool sound) noexcept;

private:
    long MaxIdle() const;

    Runtime &runtime_;
    const std::shared_ptr<SessionConfiguration> configuration_;
    const TaskRunner runner_;
    TlsSessionShare share_; // outlives every handle below
    Activity activity_;
    Admission admission_;
    std::unique_ptr<CurlMulti> multi_;
    std::vector<EasyHandle> easies_;
    size_t easiesAlive_ = 0;

    Mutex mutex_;
    std::unordered_multimap<const Request *, std::shared_ptr<RunningFetch>>
        fetches_ GUARDED_BY(mutex_);
    std::vector<std::unique_ptr<SyncHandles>> syncs_ GUARDED_BY(mutex_);
    size_t syncsAlive_ GUARDED_BY(mutex_) = 0;
};

} // namespace OHOS::Pelloria::Tnx

#endif

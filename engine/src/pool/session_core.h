// What the transfers of one session share.
#ifndef TNX_ENGINE_SESSION_CORE_H
#define TNX_ENGINE_SESSION_CORE_H

#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "admission.h"
#include "common/mutex.h"
#include "curl/caller_multi.h"
#include "curl/loop_multi.h"
#include "curl/tls_session_share.h"
#include "event/activity.h"
#include "http/url_memory.h"
#include "runtime.h"
#include "tnx_native/session.h"
#include "wire/wire.h"

namespace OHOS::Pelloria::Tnx
{

// A transfer on its way, as its session sees it.
class RunningTransfer : public Candidate
{
public:
    virtual const std::shared_ptr<Request> &GetRequest() const = 0;

    // Has whoever drives it look at it again. From any thread.
    virtual void Wake() noexcept = 0;

protected:
    ~RunningTransfer() = default;
};

// A wire that its caller drives.
struct CallerWire {
    CallerWire(FloodWatch &watch, long maxIdleConnections, CURLSH *tlsSessions)
        : multi(watch, maxIdleConnections)
        , wire(multi, tlsSessions)
    {
    }

    CallerMulti multi;
    Wire wire;
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
    UrlMemory &Urls() { return urls_; }
    const SessionConfiguration &Configuration() const { return *configuration_; }

    // Of callbacks; empty where threads of the engine's own run them. Fixed by the first fetch.
    const TaskRunner &Runner() const { return runner_; }
    bool SetRunner(TaskRunner runner);

    // Transfers on their way, by their request.
    void Register(const std::shared_ptr<RunningTransfer> &transfer);
    void Deregister(const RunningTransfer &transfer);
    std::vector<std::shared_ptr<RunningTransfer>> Find(const Request &request);
    std::vector<std::shared_ptr<RunningTransfer>> All();

    // Wires that are returned serve again if they are sound: where memory ran out, libcurl may
    // not have set them back whole. Taking one throws bad_alloc.

    // Those of the loop, until ReleaseWires.
    std::unique_ptr<Wire> TakeWire() REQUIRES(ON_LOOP);
    void ReturnWire(std::unique_ptr<Wire> wire, bool sound) noexcept REQUIRES(ON_LOOP);
    void ReleaseWires() REQUIRES(ON_LOOP);

    // Those of callers.
    std::unique_ptr<CallerWire> TakeCallerWire();
    void ReturnCallerWire(std::unique_ptr<CallerWire> wire, bool sound) noexcept;

private:
    long MaxIdle() const;

    Runtime &runtime_;
    const std::shared_ptr<SessionConfiguration> configuration_;
    TaskRunner runner_;
    TlsSessionShare tlsSessions_; // outlives every wire
    Activity activity_;
    Admission admission_;
    UrlMemory urls_;
    std::unique_ptr<LoopMulti> multi_ GUARDED_BY(ON_LOOP);
    std::vector<std::unique_ptr<Wire>> wires_ GUARDED_BY(ON_LOOP);
    size_t wiresAlive_ GUARDED_BY(ON_LOOP) = 0;

    Mutex mutex_;
    bool fetched_ GUARDED_BY(mutex_) = false;
    std::unordered_multimap<const Request *, std::shared_ptr<RunningTransfer>>
        transfers_ GUARDED_BY(mutex_);
    std::vector<std::unique_ptr<CallerWire>> callerWires_ GUARDED_BY(mutex_);
    size_t callerWiresAlive_ GUARDED_BY(mutex_) = 0;
};

} // namespace OHOS::Pelloria::Tnx

#endif

// Sessions of the engine, and the factory that makes them.
#ifndef TNX_NATIVE_SESSION_H
#define TNX_NATIVE_SESSION_H

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "configuration.h"
#include "export.h"
#include "request.h"
#include "response.h"

namespace OHOS::Pelloria::Tnx
{

inline constexpr uint32_t ERR_TRANSFER_BASE = 1007900000;
inline constexpr uint32_t ERR_REQUEST_CANCELED = 1007900992;
inline constexpr uint32_t ERR_SESSION_CLOSED = 1007900993;

// Takes the outcome of a fetch. (empty, ERR_REQUEST_CANCELED) tells of a cancel and of nothing
// else; every other outcome has a response.
using ResponseCallback =
    std::function<void(const std::shared_ptr<Response> &response, uint32_t errorCode)>;

// Runs a task on a thread of its choice, in any order, soon. Has not taken it when it returns false
// or throws.
using TaskRunner = std::function<bool(std::function<void()> task)>;

// Thread-safe. Every operation may be called from any thread and from inside any callback.
class TNX_NATIVE_API Session
{
public:
    virtual ~Session() = default;

    virtual const std::string &GetId() const = 0;

    // Has the callbacks of asynchronous fetches run by the runner, where it takes them. False after
    // the first fetch: it is as it was.
    virtual bool SetTaskRunner(TaskRunner) { return false; }

    // Starts a request. Never calls the completion itself, but leaves it to another thread; calls
    // it exactly once unless the session is closed first.
    virtual void Fetch(const std::shared_ptr<Request> &request, ResponseCallback completion) = 0;

    // Performs a request on the calling thread.
    virtual std::shared_ptr<Response> FetchSync(const std::shared_ptr<Request> &request,
                                                uint32_t *errorCode) = 0;

    // Marks the request, wakes the engine and returns: it waits for nothing and completes nothing
    // by itself, so it may be called with a lock held. No callback of the request but its
    // completion starts from the mark on; the caller answers the application by LeaveAnswer.
    virtual void CancelRequest(const std::shared_ptr<Request> &request) = 0;

    // True: a callback of the canceled request runs on another thread, which will give the answer
    // right behind it. False: none does, and the caller gives it. Once a request.
    virtual bool LeaveAnswer(Request &request, const std::shared_ptr<CancelAnswer> &answer) noexcept
    {
        return request.Gate().LeaveBehind(answer);
    }

    // Cancels all that is in flight, synchronous fetches too, then calls the session's canceled
    // callback on this thread.
    virtual void CancelAll() = 0;

    // Refuses new work, drops what runs without completing it, and waits for callbacks that are
    // running, except those on its own call stack. Then calls the session's closed callback.
    virtual void Close() = 0;
};

// Whether a callback or a synchronous fetch of any session is on the call stack of this thread: a
// close elsewhere may be waiting for it.
TNX_NATIVE_API bool InsideCallback() noexcept;

class TNX_NATIVE_API SessionFactory
{
public:
    virtual ~SessionFactory() = default;
    virtual std::shared_ptr<Session>
    CreateSession(const std::shared_ptr<SessionConfiguration> &configuration) = 0;
};

// Makes sessions on libcurl. Callbacks run through the task runner, or on threads of the engine's
// own where it is empty. A session that could not be set up answers every fetch with why.
class TNX_NATIVE_API DefaultSessionFactory : public SessionFactory
{
public:
    explicit DefaultSessionFactory(TaskRunner runner = {});
    std::shared_ptr<Session>
    CreateSession(const std::shared_ptr<SessionConfiguration> &configuration) override;

private:
    TaskRunner runner_;
};

} // namespace OHOS::Pelloria::Tnx

#endif

// Who may have a connection: the limits per host and in total, and the queue in front of them.
// libcurl's own limits would let a request's time-outs run while it waits.
#ifndef TNX_ENGINE_ADMISSION_H
#define TNX_ENGINE_ADMISSION_H

#include <cstdint>
#include <deque>
#include <list>
#include <memory>
#include <string>
#include <unordered_map>

#include "common/mutex.h"

namespace OHOS::Pelloria::Tnx
{

// Something that waits for a slot.
class Candidate
{
public:
    // The slot is there. Called once, on any thread, without a lock held.
    virtual void Admitted() = 0;

protected:
    ~Candidate() = default;
};

class Admission
{
public:
    Admission(uint64_t perHost, uint64_t total)
        : perHost_(perHost)
        , total_(total)
    {
    }

    // A connection to one host, or a share in one. `exclusive` ones share it with nobody.
    struct Slot {
        std::shared_ptr<const std::string> host;
        bool exclusive = false;
    };

    // True: the slot is the caller's until Leave. False: the candidate waits and will be told.
    bool Enter(const Slot &slot, const std::shared_ptr<Candidate> &candidate);

    // Gives a slot back; who waits for it is told.
    void Leave(const Slot &slot) noexcept;

    // The host speaks HTTP/2: its connections are shared from now on.
    void SharesConnections(const std::string &host);

private:
    struct Waiter {
        std::weak_ptr<Candidate> candidate;
        bool exclusive;
    };
    struct Host {
        uint64_t streamsAConnection = 1;
        uint64_t exclusive = 0;
        uint64_t shared = 0;
        std::deque<Waiter> waiters;

        uint64_t Connections() const
        {
            return exclusive + (shared + streamsAConnection - 1) / streamsAConnection;
        }
    };
    using Hosts = std::unordered_map<std::string, Host>;

    bool Admit(Host &host, bool exclusive) REQUIRES(mutex_);
    void AdmitWaiters();
    std::shared_ptr<Candidate> AdmitOne();
    std::shared_ptr<Candidate> AdmitFrom(Host &host) REQUIRES(mutex_);
    void ForgetIdleHosts() REQUIRES(mutex_);

    static constexpr size_t REMEMBERED_HOSTS = 1024;

    const uint64_t perHost_;
    const uint64_t total_;
    Mutex mutex_;
    Hosts hosts_ GUARDED_BY(mutex_);
    size_t forgetAt_ GUARDED_BY(mutex_) = REMEMBERED_HOSTS;
    uint64_t connections_ GUARDED_BY(mutex_) = 0;
    // Hosts that somebody waits for, each once, in turn.
    std::list<std::string> contended_ GUARDED_BY(mutex_);
};

} // namespace OHOS::Pelloria::Tnx

#endif

// The queue in front of the connections.
#include "admission.h"

#include <algorithm>
#include <utility>

namespace OHOS::Pelloria::Tnx
{
namespace
{

constexpr uint64_t HTTP2_STREAMS = 100;

} // namespace

bool Admission::Admit(Host &host, bool exclusive)
{
    const uint64_t before = host.Connections();
    uint64_t &slots = exclusive ? host.exclusive : host.shared;
    ++slots;
    const uint64_t opened = host.Connections() - before;
    if (opened != 0 && (before + opened > perHost_ || connections_ + opened > total_)) {
        --slots;
        return false;
    }
    connections_ += opened;
    return true;
}

bool Admission::Enter(const Slot &slot, const std::shared_ptr<Candidate> &candidate)
{
    MutexLock lock(mutex_);
    if (hosts_.size() >= forgetAt_) {
        ForgetIdleHosts();
    }
    Host &host = hosts_[*slot.host];
    if (host.waiters.empty() && Admit(host, slot.exclusive)) {
        return true;
    }
    // Both or none: a turn for a host that nobody waits for would outlive it.
    std::list<std::string> turn;
    if (host.waiters.empty()) {
        turn.push_back(*slot.host);
    }
    host.waiters.push_back({candidate, slot.exclusive});
    contended_.splice(contended_.end(), turn);
    return false;
}

void Admission::Leave(const Slot &slot) noexcept
{
    {
        MutexLock lock(mutex_);
        Host &host = hosts_.find(*slot.host)->second;
        const uint64_t before = host.Connections();
        --(slot.exclusive ? host.exclusive : host.shared);
        connections_ -= before - host.Connections();
        if (contended_.empty()) {
            return;
        }
    }
    AdmitWaiters();
}

void Admission::SharesConnections(const std::string &name)
{
    {
        MutexLock lock(mutex_);
        Host &host = hosts_[name];
        if (host.streamsAConnection == HTTP2_STREAMS) {
            return;
        }
        const uint64_t before = host.Connections();
        host.streamsAConnection = HTTP2_STREAMS;
        connections_ -= before - host.Connections();
    }
    AdmitWaiters();
}

// One by one, which takes no memory: who waits must not wait for ever for want of it.
void Admission::AdmitWaiters()
{
    while (const std::shared_ptr<Candidate> candidate = AdmitOne()) {
        candidate->Admitted();
    }
}

std::shared_ptr<Candidate> Admission::AdmitOne()
{
    MutexLock lock(mutex_);
    for (size_t turns = contended_.size(); turns > 0; --turns) {
        Host &host = hosts_.find(contended_.front())->second;
        std::shared_ptr<Candidate> admitted = AdmitFrom(host);
        if (host.waiters.empty()) {
            contended_.pop_front();
        } else {
            contended_.splice(contended_.end(), contended_, contended_.begin());
        }
        if (admitted != nullptr) {
            return admitted;
        }
    }
    return nullptr;
}

// Null where nobody waits any more, or the limits let nobody in.
std::shared_ptr<Candidate> Admission::AdmitFrom(Host &host)
{
    while (!host.waiters.empty()) {
        const Waiter &first = host.waiters.front();
        std::shared_ptr<Candidate> candidate = first.candidate.lock();
        if (candidate != nullptr && !Admit(host, first.exclusive)) {
            return nullptr;
        }
        host.waiters.pop_front();
        if (candidate != nullptr) {
            return candidate;
        }
    }
    return nullptr;
}

void Admission::ForgetIdleHosts()
{
    std::erase_if(hosts_, [](const Hosts::value_type &entry) {
        return entry.second.Connections() == 0 && entry.second.waiters.empty();
    });
    forgetAt_ = std::max(REMEMBERED_HOSTS, 2 * hosts_.size());
}

} // namespace OHOS::Pelloria::Tnx

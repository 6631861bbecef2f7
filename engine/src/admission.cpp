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

bool Admission::Take(Host &host, bool exclusive)
{
    const uint64_t before = host.Connections();
    uint64_t &places = exclusive ? host.exclusive : host.shared;
    ++places;
    const uint64_t opened = host.Connections() - before;
    if (opened != 0 && (before + opened > perHost_ || connections_ + opened > total_)) {
        --places;
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
    Host &host = hosts_[slot.host];
    if (host.waiters.empty() && Take(host, slot.exclusive)) {
        return true;
    }
    if (host.waiters.empty()) {
        contended_.push_back(slot.host);
    }
    host.waiters.push_back({candidate, slot.exclusive});
    return false;
}

void Admission::Leave(const Slot &slot)
{
    Admitted admitted;
    {
        MutexLock lock(mutex_);
        Host &host = hosts_[slot.host];
        const uint64_t before = host.Connections();
        --(slot.exclusive ? host.exclusive : host.shared);
        connections_ -= before - host.Connections();
        if (!contended_.empty()) {
            AdmitWaiters(admitted);
        }
    }
    Tell(admitted);
}

void Admission::SharesConnections(const std::string &name)
{
    Admitted admitted;
    {
        MutexLock lock(mutex_);
        Host &host = hosts_[name];
        if (host.streamsAConnection == HTTP2_STREAMS) {
            return;
        }
        const uint64_t before = host.Connections();
        host.streamsAConnection = HTTP2_STREAMS;
        connections_ -= before - host.Connections();
        AdmitWaiters(admitted);
    }
    Tell(admitted);
}

bool Admission::AdmitFrom(Host &host, Admitted &admitted)
{
    while (!host.waiters.empty()) {
        const Waiter &first = host.waiters.front();
        std::shared_ptr<Candidate> candidate = first.candidate.lock();
        if (candidate != nullptr) {
            if (!Take(host, first.exclusive)) {
                return false;
            }
            admitted.push_back(std::move(candidate));
        }
        host.waiters.pop_front();
    }
    return true;
}

void Admission::AdmitWaiters(Admitted &admitted)
{
    for (size_t turns = contended_.size(); turns > 0; --turns) {
        std::string name = std::move(contended_.front());
        contended_.pop_front();
        if (!AdmitFrom(hosts_[name], admitted)) {
            contended_.push_back(std::move(name));
        }
    }
}

void Admission::ForgetIdleHosts()
{
    std::erase_if(hosts_, [](const Hosts::value_type &entry) {
        return entry.second.Connections() == 0 && entry.second.waiters.empty();
    });
    forgetAt_ = std::max(REMEMBERED_HOSTS, 2 * hosts_.size());
}

void Admission::Tell(const Admitted &admitted)
{
    for (const std::shared_ptr<Candidate> &candidate : admitted) {
        candidate->Admitted();
    }
}

} // namespace OHOS::Pelloria::Tnx

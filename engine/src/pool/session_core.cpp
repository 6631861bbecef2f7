// Handles and the registry of a session.
#include "session_core.h"

#include <new>
#include <utility>

namespace OHOS::Pelloria::Tnx
{

SessionCore::SessionCore(Runtime &runtime, std::shared_ptr<SessionConfiguration> configuration,
                         TaskRunner runner)
    : runtime_(runtime)
    , configuration_(std::move(configuration))
    , runner_(std::move(runner))
    , admission_(configuration_->maxConnectionsPerHost, configuration_->maxTotalConnections)
    , multi_(std::make_unique<LoopMulti>(runtime.GetFloodWatch(), runtime.GetLoop()))
{
    multi_->SetMaxIdleConnections(MaxIdle());
}

SessionCore::~SessionCore() = default;

long SessionCore::MaxIdle() const
{
    constexpr uint64_t MOST = 1 << 20;
    const uint64_t limit =
        configuration_->maxIdleConnections.value_or(configuration_->maxTotalConnections);
    return static_cast<long>(std::min(limit, MOST));
}

bool SessionCore::SetRunner(TaskRunner runner)
{
    MutexLock lock(mutex_);
    if (!fetched_) {
        runner_.swap(runner);
    }
    return !fetched_;
}

void SessionCore::Register(const std::shared_ptr<RunningTransfer> &transfer)
{
    MutexLock lock(mutex_);
    fetched_ = true;
    transfers_.emplace(transfer->GetRequest().get(), transfer);
}

void SessionCore::Deregister(const RunningTransfer &transfer)
{
    std::shared_ptr<RunningTransfer> last; // released without the lock
    MutexLock lock(mutex_);
    const auto [begin, end] = transfers_.equal_range(transfer.GetRequest().get());
    for (auto entry = begin; entry != end; ++entry) {
        if (entry->second.get() == &transfer) {
            last = std::move(entry->second);
            transfers_.erase(entry);
            return;
        }
    }
}

std::vector<std::shared_ptr<RunningTransfer>> SessionCore::Find(const Request &request)
{
    std::vector<std::shared_ptr<RunningTransfer>> found;
    MutexLock lock(mutex_);
    const auto [begin, end] = transfers_.equal_range(&request);
    for (auto entry = begin; entry != end; ++entry) {
        found.push_back(entry->second);
    }
    return found;
}

std::vector<std::shared_ptr<RunningTransfer>> SessionCore::All()
{
    std::vector<std::shared_ptr<RunningTransfer>> all;
    MutexLock lock(mutex_);
    all.reserve(transfers_.size());
    for (const auto &[request, transfer] : transfers_) {
        all.push_back(transfer);
    }
    return all;
}

std::unique_ptr<Wire> SessionCore::TakeWire()
{
    if (!wires_.empty()) {
        wires_.back()->Open();
        std::unique_ptr<Wire> wire = std::move(wires_.back());
        wires_.pop_back();
        return wire;
    }
    auto wire = std::make_unique<Wire>(*multi_, tlsSessions_.Get());
    wires_.reserve(wiresAlive_ + 1); // giving one back must not fail
    ++wiresAlive_;
    return wire;
}

void SessionCore::ReturnWire(std::unique_ptr<Wire> wire, bool sound) noexcept
{
    if (sound) {
        wire->Clean();
        wires_.push_back(std::move(wire));
    } else {
        --wiresAlive_;
    }
}

void SessionCore::ReleaseWires()
{
    wires_.clear();
    multi_.reset();
}

std::unique_ptr<CallerWire> SessionCore::TakeCallerWire()
{
    {
        MutexLock lock(mutex_);
        if (!callerWires_.empty()) {
            callerWires_.back()->wire.Open();
            std::unique_ptr<CallerWire> wire = std::move(callerWires_.back());
            callerWires_.pop_back();
            return wire;
        }
    }
    auto wire =
        std::make_unique<CallerWire>(runtime_.GetFloodWatch(), MaxIdle(), tlsSessions_.Get());
    MutexLock lock(mutex_);
    callerWires_.reserve(callerWiresAlive_ + 1);
    ++callerWiresAlive_;
    return wire;
}

void SessionCore::ReturnCallerWire(std::unique_ptr<CallerWire> wire, bool sound) noexcept
{
    if (sound) {
        wire->wire.Clean();
    }
    MutexLock lock(mutex_);
    if (sound && callerWires_.size() < static_cast<size_t>(MaxIdle())) {
        callerWires_.push_back(std::move(wire));
    } else {
        --callerWiresAlive_;
    }
}

} // namespace OHOS::Pelloria::Tnx

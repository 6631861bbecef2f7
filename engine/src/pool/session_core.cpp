// Handles and the registry of a session.
#include "session_core.h"

#include <new>
#include <utility>

namespace OHOS::Pelloria::Tnx
{

SyncHandles::SyncHandles()
    : multi(curl_multi_init())
    , easy(curl_easy_init())
{
    if (multi == nullptr || easy == nullptr) {
        curl_multi_cleanup(multi);
        throw std::bad_alloc();
    }
}

SyncHandles::~SyncHandles()
{
    easy.reset(); // before the connections that it may refer to
    curl_multi_cleanup(multi);
}

SessionCore::SessionCore(Runtime &runtime, std::shared_ptr<SessionConfiguration> configuration,
                         TaskRunner runner)
    : runtime_(runtime)
    , configuration_(std::move(configuration))
    , runner_(std::move(runner))
    , admission_(configuration_->maxConnectionsPerHost, configuration_->maxTotalConnections)
    , multi_(std::make_unique<CurlMulti>(runtime.GetLoop()))
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

void SessionCore::Register(const std::shared_ptr<RunningFetch> &fetch)
{
    MutexLock lock(mutex_);
    fetches_.emplace(fetch->GetRequest().get(), fetch);
}

void SessionCore::Deregister(const RunningFetch &fetch)
{
    std::shared_ptr<RunningFetch> last; // released without the lock
    MutexLock lock(mutex_);
    const auto [begin, end] = fetches_.equal_range(fetch.GetRequest().get());
    for (auto entry = begin; entry != end; ++entry) {
        if (entry->second.get() == &fetch) {
            last = std::move(entry->second);
            fetches_.erase(entry);
            return;
        }
    }
}

std::vector<std::shared_ptr<RunningFetch>> SessionCore::Find(const Request &request)
{
    std::vector<std::shared_ptr<RunningFetch>> found;
    MutexLock lock(mutex_);
    const auto [begin, end] = fetches_.equal_range(&request);
    for (auto entry = begin; entry != end; ++entry) {
        found.push_back(entry->second);
    }
    return found;
}

std::vector<std::shared_ptr<RunningFetch>> SessionCore::All()
{
    std::vector<std::shared_ptr<RunningFetch>> all;
    MutexLock lock(mutex_);
    all.reserve(fetches_.size());
    for (const auto &[request, fetch] : fetches_) {
        all.push_back(fetch);
    }
    return all;
}

EasyHandle SessionCore::TakeEasy()
{
    if (!easies_.empty()) {
        EasyHandle easy = std::move(easies_.back());
        easies_.pop_back();
        return easy;
    }
    EasyHandle easy = MakeEasy();
    easies_.reserve(easiesAlive_ + 1); // giving one back must not fail
    ++easiesAlive_;
    return easy;
}

void SessionCore::GiveEasy(EasyHandle easy, bool sound) noexcept
{
    if (sound) {
        easies_.push_back(std::move(easy));
    } else {
        --easiesAlive_;
    }
}

void SessionCore::ReleaseHandles()
{
    easies_.clear();
    multi_.reset();
}

std::unique_ptr<SyncHandles> SessionCore::TakeSync()
{
    {
        MutexLock lock(mutex_);
        if (!syncs_.empty()) {
            std::unique_ptr<SyncHandles> handles = std::move(syncs_.back());
            syncs_.pop_back();
            return handles;
        }
    }
    auto handles = std::make_unique<SyncHandles>();
    {
        MutexLock lock(mutex_);
        syncs_.reserve(syncsAlive_ + 1);
        ++syncsAlive_;
    }
    curl_multi_setopt(handles->multi, CURLMOPT_MAXCONNECTS, MaxIdle());
    return handles;
}

void SessionCore::GiveSync(std::unique_ptr<SyncHandles> handles, bool sound) noexcept
{
    MutexLock lock(mutex_);
    if (sound && syncs_.size() < static_cast<size_t>(MaxIdle())) {
        syncs_.push_back(std::move(handles));
    } else {
        --syncsAlive_;
    }
}

} // namespace OHOS::Pelloria::Tnx

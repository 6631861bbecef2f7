// Keeps answers within bounds of time and number.
#include "lookup_book.h"

#include <algorithm>
#include <utility>

namespace OHOS::Pelloria::Tnx
{
namespace
{

constexpr size_t MAX_REMEMBERED = 4096;
constexpr std::chrono::seconds LEAST_TIME_TO_LIVE(1);
constexpr std::chrono::seconds MOST_TIME_TO_LIVE(3600);

} // namespace

std::optional<LookupResult> LookupBook::Remembered(const std::string &key)
{
    MutexLock lock(mutex_);
    const auto found = memory_.find(key);
    if (found == memory_.end() || found->second.until <= Clock::now()) {
        return std::nullopt;
    }
    return found->second.result;
}

bool LookupBook::Join(const std::string &key, LookupDone done)
{
    std::vector<LookupDone> &waiting = pending_[key];
    waiting.push_back(std::move(done));
    return waiting.size() == 1;
}

void LookupBook::Finish(const std::string &key, const LookupResult &result) noexcept
{
    Try([&] { Remember(key, result); }); // else asked anew the next time
    const auto node = pending_.extract(key);
    for (const LookupDone &done : node.mapped()) {
        done(result);
    }
}

void LookupBook::Remember(const std::string &key, const LookupResult &result)
{
    if (result.addresses.empty()) {
        return;
    }
    const auto now = Clock::now();
    MutexLock lock(mutex_);
    if (memory_.size() >= MAX_REMEMBERED) {
        std::erase_if(memory_, [now](const auto &entry) { return entry.second.until <= now; });
        if (memory_.size() >= MAX_REMEMBERED) {
            memory_.clear();
        }
    }
    const auto life = std::clamp(result.timeToLive, LEAST_TIME_TO_LIVE, MOST_TIME_TO_LIVE);
    memory_[key] = {result, now + life};
}

} // namespace OHOS::Pelloria::Tnx

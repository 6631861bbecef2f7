// Names that are being looked up and addresses that are remembered for their time to live, each
// under a key that tells who was asked what.
#ifndef TNX_ENGINE_LOOKUP_BOOK_H
#define TNX_ENGINE_LOOKUP_BOOK_H

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "common/mutex.h"
#include "event/loop.h"

namespace OHOS::Pelloria::Tnx
{

// The outcome of a lookup: addresses in the order to try them, or why there are none.
struct LookupResult {
    std::vector<std::string> addresses;
    std::chrono::seconds timeToLive{0};
    std::string error;
};

// Its text is short enough to need none.
inline LookupResult NoMemory()
{
    return {.addresses = {}, .error = "memory ran out"};
}

using LookupDone = std::function<void(const LookupResult &result)>;

// An answer that is handed over by the loop, because it may come from inside the question. Made
// before the question is asked: from then on it needs no memory to arrive.
class LookupAnswer : public LoopTask, public std::enable_shared_from_this<LookupAnswer>
{
public:
    LookupAnswer(Loop &loop, LookupDone done)
        : loop_(loop)
        , done_(std::move(done))
    {
    }

    // The first one counts.
    void Arrive(const LookupResult &result) noexcept;
    void RunOnLoop() override { done_(result_); }

private:
    Loop &loop_;
    const LookupDone done_;
    LookupResult result_;
    bool arrived_ = false;
};

class LookupBook
{
public:
    // From memory alone; from any thread.
    std::optional<LookupResult> Remembered(const std::string &key);

    // `done` is told the outcome. True when nobody has asked yet, so that the caller has to.
    bool Join(const std::string &key, LookupDone done) REQUIRES(ON_LOOP);

    // Tells all who joined, and remembers what was found.
    void Finish(const std::string &key, const LookupResult &result) noexcept REQUIRES(ON_LOOP);

private:
    struct Memory {
        LookupResult result;
        std::chrono::steady_clock::time_point until;
    };

    void Remember(const std::string &key, const LookupResult &result);

    std::unordered_map<std::string, std::vector<LookupDone>> pending_ GUARDED_BY(ON_LOOP);
    Mutex mutex_;
    std::unordered_map<std::string, Memory> memory_ GUARDED_BY(mutex_);
};

} // namespace OHOS::Pelloria::Tnx

#endif

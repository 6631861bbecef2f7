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

#include "base/try.h"
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
inline LookupResult NoMemory() noexcept
{
    return {.addresses = {}, .error = "memory ran out"};
}

// What `make` returns, or that it had no memory.
template <class Make> LookupResult MakeResult(const Make &make) noexcept
{
    LookupResult result;
    return Try([&] { result = make(); }) ? std::move(result) : NoMemory();
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

    // Asks, or has no memory for that.
    template <class Ask> void Seek(const Ask &ask) noexcept
    {
        if (!Try(ask)) {
            Arrive(NoMemory);
        }
    }

    // Takes what `make` returns. The first one counts.
    template <class Make> void Arrive(const Make &make) noexcept
    {
        if (!std::exchange(arrived_, true)) {
            result_ = MakeResult(make);
            loop_.Post(shared_from_this());
        }
    }

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

// Names that are being looked up and addresses that are remembered for their time to live, each
// under a key that tells who was asked what.
#ifndef TNX_ENGINE_LOOKUP_BOOK_H
#define TNX_ENGINE_LOOKUP_BOOK_H

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "common/mutex.h"

namespace OHOS::Pelloria::Tnx
{

// The outcome of a lookup: addresses in the order to try them, or why there are none.
struct LookupResult {
    std::vector<std::string> addresses;
    std::chrono::seconds timeToLive{0};
    std::string error;
};

using LookupDone = std::function<void(const LookupResult &result)>;

class LookupBook
{
public:
    // From memory alone; from any thread.
    std::optional<LookupResult> Remembered(const std::string &key);

    // The rest belongs to one thread. `done` is told the outcome. True when nobody has asked yet,
    // so that the caller has to.
    bool Join(const std::string &key, LookupDone done);

    // Tells all who joined, and remembers what was found.
    void Finish(const std::string &key, const LookupResult &result);

private:
    struct Memory {
        LookupResult result;
        std::chrono::steady_clock::time_point until;
    };

    void Remember(const std::string &key, const LookupResult &result);

    std::unordered_map<std::string, std::vector<LookupDone>> pending_;
    Mutex mutex_;
    std::unordered_map<std::string, Memory> memory_ GUARDED_BY(mutex_);
};

} // namespace OHOS::Pelloria::Tnx

#endif

// Sorts addresses into attempts.
#include "attempts.h"

#include <algorithm>

#include "http/host_name.h"

namespace OHOS::Pelloria::Tnx
{
namespace
{

// More than any working network takes, and less than anybody likes to wait for one that does not.
constexpr Clock::duration LONGEST = std::chrono::seconds(1);

} // namespace

Attempts::Attempts(const std::vector<std::string> &addresses)
{
    const auto sixes = std::count_if(addresses.begin(), addresses.end(), IsVersion6);
    if (sixes <= 1 && std::ssize(addresses) - sixes <= 1) {
        return;
    }
    size_t next[] = {0, 0}; // attempt of each family
    for (const std::string &address : addresses) {
        const size_t attempt = next[IsVersion6(address) ? 1 : 0]++;
        attempts_.resize(std::max(attempts_.size(), attempt + 1));
        attempts_[attempt].push_back(address);
    }
}

Clock::duration Attempts::Share(std::optional<Clock::duration> left) const
{
    return left ? std::min(LONGEST, *left / static_cast<long>(attempts_.size() - now_)) : LONGEST;
}

} // namespace OHOS::Pelloria::Tnx

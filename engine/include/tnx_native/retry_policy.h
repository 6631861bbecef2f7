// What is tried again, how often and when.
#ifndef TNX_NATIVE_RETRY_POLICY_H
#define TNX_NATIVE_RETRY_POLICY_H

#include <chrono>
#include <cstdint>
#include <vector>

namespace OHOS::Pelloria::Tnx
{

struct RetryPolicy {
    uint32_t attempts = 3; // with the first
    std::chrono::milliseconds firstWait{500};
    std::chrono::milliseconds longestWait{30000};
    std::chrono::milliseconds giveUpAfter{0}; // since the fetch began; 0: never
    std::vector<int32_t> statuses;
    std::vector<uint32_t> codes; // libcurl's
};

} // namespace OHOS::Pelloria::Tnx

#endif

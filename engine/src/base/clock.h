// The engine's clock: the one that never goes back.
#ifndef TNX_ENGINE_CLOCK_H
#define TNX_ENGINE_CLOCK_H

#include <chrono>

namespace OHOS::Pelloria::Tnx
{

using Clock = std::chrono::steady_clock;
using TimePoint = Clock::time_point;

} // namespace OHOS::Pelloria::Tnx

#endif

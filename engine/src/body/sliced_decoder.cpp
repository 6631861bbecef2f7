// Decodes a slice.
#include "sliced_decoder.h"

#include <utility>

#include "base/clock.h"

namespace OHOS::Pelloria::Tnx
{
namespace
{

constexpr size_t SLICE = 256 * 1024;
constexpr auto SLICE_TIME = std::chrono::milliseconds(5);

} // namespace

void SlicedDecoder::Run() noexcept
{
    const TimePoint until = Clock::now() + SLICE_TIME;
    try {
        made_.clear();
        do {
            made_ += decoder_.Take();
        } while (!decoder_.UsedUp() && made_.size() < SLICE && Clock::now() < until);
    } catch (...) {
        failure_ = std::current_exception();
    }
    running_ = false;
}

std::string_view SlicedDecoder::Made()
{
    if (failure_) {
        std::rethrow_exception(std::exchange(failure_, nullptr));
    }
    return made_;
}

} // namespace OHOS::Pelloria::Tnx

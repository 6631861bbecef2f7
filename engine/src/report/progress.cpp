// Throttled progress.
#include "progress.h"

namespace OHOS::Pelloria::Tnx
{
namespace
{

constexpr auto INTERVAL = std::chrono::milliseconds(100);

} // namespace

void Progress::Report(const State &state)
{
    state_ = state;
    const TimePoint now = Clock::now();
    // An application that is still busy with the last one gets no heap of them.
    if (now >= next_ && !waiting_) {
        next_ = now + INTERVAL;
        Tell();
    }
}

void Progress::Finish()
{
    if (Wanted()) {
        Tell();
    }
}

void Progress::Tell()
{
    waiting_ = true;
    delivery_.Deliver([this, state = state_] {
        waiting_ = false;
        if (events_.onDownloadProgress) {
            delivery_.Call(
                [&] { events_.onDownloadProgress(state.downloadTotal, state.downloaded); });
        }
        if (events_.onUploadProgress) {
            delivery_.Call([&] { events_.onUploadProgress(state.uploadTotal, state.uploaded); });
        }
    });
}

} // namespace OHOS::Pelloria::Tnx

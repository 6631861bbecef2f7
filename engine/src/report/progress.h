// Tells the application how far a transfer has come: at the start, at most every 100 ms, at the
// end.
#ifndef TNX_ENGINE_PROGRESS_H
#define TNX_ENGINE_PROGRESS_H

#include <atomic>
#include <cstdint>

#include "base/clock.h"
#include "event/delivery.h"
#include "tnx_native/configuration.h"

namespace OHOS::Pelloria::Tnx
{

class Progress
{
public:
    Progress(const HttpEventsHandler &events, Delivery &delivery)
        : events_(events)
        , delivery_(delivery)
    {
    }

    bool Wanted() const { return events_.onDownloadProgress || events_.onUploadProgress; }

    struct State {
        uint64_t downloadTotal = 0;
        uint64_t downloaded = 0;
        uint64_t uploadTotal = 0;
        uint64_t uploaded = 0;
    };

    // How far it is; told when the time has come.
    void Report(const State &state);

    // Tells the last state once more, whatever the time.
    void Finish();

private:
    void Tell();

    const HttpEventsHandler &events_;
    Delivery &delivery_;
    State state_;
    TimePoint next_;
    std::atomic<bool> waiting_ = false; // told, but not yet heard
};

} // namespace OHOS::Pelloria::Tnx

#endif

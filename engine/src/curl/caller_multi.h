// A multi handle for one exchange at a time, which its caller drives: connections of several
// threads cannot be shared safely.
#ifndef TNX_ENGINE_CALLER_MULTI_H
#define TNX_ENGINE_CALLER_MULTI_H

#include <chrono>

#include "multi.h"

namespace OHOS::Pelloria::Tnx
{

class CallerMulti final : public Multi
{
public:
    // Throws bad_alloc.
    CallerMulti(FloodWatch &watch, long maxIdleConnections);
    ~CallerMulti();

    void Add(CURL *easy, ExchangeListener &listener) override;
    void Remove(CURL *easy) noexcept override;

    // Goes on with the exchange without waiting. True when it is done, and the listener told.
    bool Perform();

    // Waits until the exchange can go on, or for a wake-up, which any thread may give.
    void Wait(std::chrono::milliseconds longest);
    void WakeUp() noexcept { curl_multi_wakeup(multi_); }

private:
    CURLM *const multi_;
    ExchangeListener *listener_ = nullptr;
};

} // namespace OHOS::Pelloria::Tnx

#endif

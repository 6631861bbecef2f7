// Whether and when a fetch is tried again.
#ifndef TNX_ENGINE_RETRIES_H
#define TNX_ENGINE_RETRIES_H

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include <curl/curl.h>

#include "base/clock.h"
#include "http/header_block.h"
#include "http/hop.h"
#include "tnx_native/retry_policy.h"
#include "wire/sender.h"

namespace OHOS::Pelloria::Tnx
{

class Retries
{
public:
    Retries(const RetryPolicy *policy, const Sender &sender); // null: none

    // What an attempt has come to. True: it is tried again, at the time that is told.
    bool AfterStatus(const Hop &hop, const HeaderBlock &block);
    bool AfterFailure(const Hop &hop, CURLcode code, bool sent, const std::string &why);
    bool Planned() const { return planned_; }
    TimePoint At() const { return at_; }
    const std::string &Why() const { return why_; } // and when

    // The next attempt begins.
    void Begin() { planned_ = false; }

private:
    bool Plan(std::chrono::milliseconds asked, const std::string &why);
    std::chrono::milliseconds Backoff() const;

    const RetryPolicy *const policy_;
    const Sender &sender_;
    const TimePoint start_;
    uint32_t attempts_ = 1;
    bool planned_ = false;
    TimePoint at_;
    std::string why_;
};

} // namespace OHOS::Pelloria::Tnx

#endif

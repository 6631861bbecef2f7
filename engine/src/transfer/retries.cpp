// Only what may pass, and what may be repeated (RFC 9110 section 9.2.2).
#include "retries.h"

#include <algorithm>
#include <charconv>
#include <ctime>
#include <random>

#include "http/method.h"
#include "http/set_cookie.h"

namespace OHOS::Pelloria::Tnx
{
namespace
{

using std::chrono::milliseconds;

constexpr int64_t LONGEST = 1'000'000'000; // seconds: more than anybody waits

// What the field asks for, in seconds or as a date (RFC 9110 section 10.2.3); nothing where it is
// neither.
milliseconds RetryAfter(const HeaderFields &fields)
{
    const auto field = fields.Find("retry-after");
    if (!field) {
        return {};
    }
    const std::string_view text = *field;
    int64_t seconds = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), seconds);
    if (end != text.data() + text.size() || text.empty()) {
        seconds = ParseCookieDate(text).value_or(0) - std::time(nullptr);
    } else if (error != std::errc()) {
        seconds = LONGEST;
    }
    return std::chrono::seconds(std::clamp<int64_t>(seconds, 0, LONGEST));
}

template <class List, class Value> bool Has(const List &list, Value value)
{
    return std::find(list.begin(), list.end(), value) != list.end();
}

} // namespace

Retries::Retries(const RetryPolicy *policy, const Sender &sender)
    : policy_(policy)
    , sender_(sender)
    , start_(policy != nullptr ? Clock::now() : TimePoint())
{
}

bool Retries::AfterStatus(const Hop &hop, const HeaderBlock &block)
{
    return policy_ != nullptr && Has(policy_->statuses, block.Status()) &&
           IsIdempotent(hop.method) && (!hop.body || sender_.CanReplay()) &&
           Plan(RetryAfter(block.Fields()), "Status " + std::to_string(block.Status()));
}

bool Retries::AfterFailure(const Hop &hop, CURLcode code, bool sent, const std::string &why)
{
    return planned_ || (policy_ != nullptr && Has(policy_->codes, static_cast<uint32_t>(code)) &&
                        (!sent || IsIdempotent(hop.method)) && (!hop.body || sender_.CanReplay()) &&
                        Plan({}, why));
}

bool Retries::Plan(milliseconds asked, const std::string &why)
{
    const milliseconds wait = std::max(asked, Backoff());
    const TimePoint at = Clock::now() + wait;
    const bool late = policy_->giveUpAfter.count() > 0 && at > start_ + policy_->giveUpAfter;
    if (attempts_ >= policy_->attempts || asked > policy_->longestWait || late) {
        return false;
    }
    ++attempts_;
    planned_ = true;
    at_ = at;
    why_ = why + ", again in " + std::to_string(wait.count()) + " ms";
    return true;
}

// Twice as long each time. Some of it is random, so that those who failed together do not come
// again together.
milliseconds Retries::Backoff() const
{
    milliseconds whole = policy_->firstWait;
    for (uint32_t i = 1; i < attempts_ && whole < policy_->longestWait; ++i) {
        whole *= 2;
    }
    whole = std::min(whole, policy_->longestWait);
    std::minstd_rand random(static_cast<uint32_t>(Clock::now().time_since_epoch().count()));
    return milliseconds(
        std::uniform_int_distribution<int64_t>(whole.count() / 2, whole.count())(random));
}

} // namespace OHOS::Pelloria::Tnx

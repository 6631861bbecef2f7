// What a session tries again.
#include "tnx_c_ext/retry.h"

#include "common/guard.h"
#include "session/tnx_http_session.h"

#include <algorithm>
#include <iterator>

namespace OHOS::Pelloria::TnxC
{
namespace
{

constexpr int32_t STATUSES[] = {408, 429, 500, 502, 503, 504};
constexpr uint32_t CODES[] = {TNX_ERR_RESOLVE_PROXY,  TNX_ERR_RESOLVE_HOST, TNX_ERR_CONNECT,
                              TNX_ERR_TRUNCATED_BODY, TNX_ERR_TIMEOUT,      TNX_ERR_EMPTY_REPLY,
                              TNX_ERR_SEND,           TNX_ERR_RECEIVE,      TNX_ERR_HTTP2_STREAM};

bool MayPass(uint32_t code)
{
    return std::find(std::begin(CODES), std::end(CODES), code) != std::end(CODES);
}

bool IsError(int32_t status)
{
    return status >= 400 && status <= 599;
}

// The values of a list, or of the default where there is none.
template <class Value, size_t COUNT>
std::vector<Value> ListOf(const Value *values, size_t count, const Value (&defaults)[COUNT])
{
    return values == nullptr ? std::vector<Value>(defaults, defaults + COUNT)
                             : std::vector<Value>(values, values + count);
}

// Empty for one that makes no sense.
std::shared_ptr<const Tnx::RetryPolicy> MakePolicy(const Tnx_RetryPolicy &record)
{
    if ((record.statuses == nullptr && record.statusCount > 0) ||
        (record.codes == nullptr && record.codeCount > 0)) {
        return nullptr;
    }
    auto policy = std::make_shared<Tnx::RetryPolicy>();
    const auto set = [](auto &to, uint32_t value) {
        if (value != 0) {
            to = std::decay_t<decltype(to)>(value);
        }
    };
    set(policy->attempts, record.attempts);
    set(policy->firstWait, record.firstWait);
    set(policy->longestWait, record.longestWait);
    set(policy->giveUpAfter, record.giveUpAfter);
    policy->statuses = ListOf(record.statuses, record.statusCount, STATUSES);
    policy->codes = ListOf(record.codes, record.codeCount, CODES);
    const bool known = std::all_of(policy->codes.begin(), policy->codes.end(), MayPass) &&
                       std::all_of(policy->statuses.begin(), policy->statuses.end(), IsError);
    for (uint32_t &code : policy->codes) {
        code -= TNX_ERR_TRANSFER_BASE;
    }
    return known && policy->firstWait <= policy->longestWait ? policy : nullptr;
}

uint32_t SetRetry(Tnx_HttpSession &session, const Tnx_RetryPolicy *record)
{
    std::shared_ptr<const Tnx::RetryPolicy> policy;
    if (record != nullptr) {
        policy = MakePolicy(*record);
        if (policy == nullptr) {
            return TNX_ERR_PARAMETER;
        }
    }
    const MutexLock lock(session.requestMutex);
    session.hasRetry = policy != nullptr;
    session.retry.swap(policy);
    return TNX_OK;
}

} // namespace
} // namespace OHOS::Pelloria::TnxC

using namespace OHOS::Pelloria::TnxC;

uint32_t OVX_Tnx_SetSessionRetry(Tnx_Session *session, const Tnx_RetryPolicy *policy) noexcept
{
    if (session == nullptr || session->ops == nullptr) {
        return TNX_ERR_SESSION_CLOSED;
    }
    Tnx_HttpSession *http = TnxHttpSessionOf(session);
    if (session->ops->create != TnxHttpCreateSession || http == nullptr) {
        return TNX_ERR_PARAMETER;
    }
    return Guarded([&] { return SetRetry(*http, policy); });
}

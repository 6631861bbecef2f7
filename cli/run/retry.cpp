// Decides whether a transfer is tried again, and when.
#include "retry.h"

#include <algorithm>
#include <array>
#include <charconv>

#include "base/terminal.h"
#include "tnx_c_ext.h"

namespace TnxTool
{

namespace
{

using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr seconds MAX_BACKOFF{600};
constexpr std::array TRANSIENT_STATUS = {408, 429, 500, 502, 503, 504};

bool MayPass(const RetrySettings &settings, const Outcome &outcome)
{
    if (outcome.status == EXIT_WRITE || outcome.status == EXIT_USAGE) {
        return false; // our own trouble
    }
    const int http = outcome.HttpStatus();
    switch (outcome.errorCode) {
    case TNX_OK:
    case TNX_ERR_HTTP_STATUS:
        return std::find(TRANSIENT_STATUS.begin(), TRANSIENT_STATUS.end(), http) !=
                   TRANSIENT_STATUS.end() ||
               (settings.allErrors && outcome.status != 0);
    case TNX_ERR_TIMEOUT:
    case TNX_ERR_RESOLVE_HOST:
    case TNX_ERR_RESOLVE_PROXY:
        return true;
    case TNX_ERR_CONNECT:
        return settings.connectionRefused || settings.allErrors;
    default:
        return settings.allErrors;
    }
}

std::optional<seconds> AskedFor(const Outcome &outcome)
{
    const char *value = FindHeader(outcome, "retry-after");
    return value == nullptr ? std::nullopt
                            : ParseRetryAfter(value, std::chrono::system_clock::now());
}

} // namespace

std::optional<seconds> ParseRetryAfter(const std::string &value, WallTime now)
{
    uint32_t number = 0;
    const auto [rest, error] = std::from_chars(value.data(), value.data() + value.size(), number);
    if (error == std::errc{} && rest == value.data() + value.size()) {
        return seconds(number);
    }
    const auto date = ParseDate(value);
    return date ? std::optional(std::max(seconds(0), std::chrono::ceil<seconds>(*date - now)))
                : std::nullopt;
}

std::optional<milliseconds> NextTry(const RetrySettings &settings, const Outcome &outcome,
                                    uint32_t attempt, std::chrono::steady_clock::duration spent)
{
    if (attempt >= settings.count || !MayPass(settings, outcome)) {
        return std::nullopt;
    }
    seconds wait = settings.delay ? seconds(*settings.delay)
                                  : std::min(MAX_BACKOFF, seconds(1LL << std::min(attempt, 10U)));
    wait = std::max(wait, AskedFor(outcome).value_or(seconds(0)));
    if (settings.maxTime != 0 && spent + wait >= seconds(settings.maxTime)) {
        return std::nullopt;
    }
    return wait;
}

void AnnounceRetry(const Settings &settings, const Outcome &outcome, milliseconds wait,
                   uint32_t left)
{
    if (settings.silent && !settings.showError) {
        return;
    }
    const bool byStatus = outcome.errorCode == TNX_OK || outcome.errorCode == TNX_ERR_HTTP_STATUS;
    const std::string problem =
        byStatus ? "HTTP status " + std::to_string(outcome.HttpStatus()) : outcome.error;
    Complain("warning: " + WhichOf(outcome) + problem + "; trying again in " +
             std::to_string(std::chrono::ceil<seconds>(wait).count()) + " s, " +
             std::to_string(left) + (left == 1 ? " try left" : " tries left"));
}

} // namespace TnxTool

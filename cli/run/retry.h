// Decides whether a transfer is tried again, and when.
#ifndef TNX_CLI_RETRY_H
#define TNX_CLI_RETRY_H

#include <chrono>
#include <optional>

#include "answer/outcome.h"
#include "base/dates.h"

namespace TnxTool
{

// How long to wait before the next try; nothing when there is none. `attempt` counts from 0.
std::optional<std::chrono::milliseconds> NextTry(const RetrySettings &settings,
                                                 const Outcome &outcome, uint32_t attempt,
                                                 std::chrono::steady_clock::duration spent);

// Tells people about it, unless they want silence.
void AnnounceRetry(const Settings &settings, const Outcome &outcome, std::chrono::milliseconds wait,
                   uint32_t left);

// Reads a Retry-After field: seconds, or a date (RFC 9110 section 10.2.3), seen from `now`.
std::optional<std::chrono::seconds> ParseRetryAfter(const std::string &value, WallTime now);

} // namespace TnxTool

#endif

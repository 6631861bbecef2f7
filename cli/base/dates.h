// Dates, as people and servers write them.
#ifndef TNX_CLI_DATES_H
#define TNX_CLI_DATES_H

#include <chrono>
#include <optional>
#include <string>

#include "settings.h"

namespace TnxTool
{

using WallTime = std::chrono::system_clock::time_point;

// Reads the forms of HTTP (RFC 9110 section 5.6.7), ISO 8601 and a few that people write; in UTC
// unless a zone is told.
std::optional<WallTime> ParseDate(std::string text);

// The field that -z asks for: a date, or the time of a file, with - in front for the opposite.
// Nothing, and a warning, for what is neither.
Text TimeCondition(const std::string &value);

} // namespace TnxTool

#endif

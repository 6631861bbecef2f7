// The answer as JSON, for programs.
#ifndef TNX_CLI_JSON_H
#define TNX_CLI_JSON_H

#include <string>

#include "answer/outcome.h"

namespace TnxTool
{

// One object on one line. `debug` says whether its debug information holds
// more than texts.
std::string ToJsonLine(const Outcome &outcome, bool debug);

} // namespace TnxTool

#endif

// Draws the phases of a transfer as a waterfall.
#ifndef TNX_CLI_TIMING_H
#define TNX_CLI_TIMING_H

#include <string>

#include "answer/outcome.h"

namespace TnxTool
{

std::string DrawTiming(const Outcome &outcome, unsigned int width);

} // namespace TnxTool

#endif

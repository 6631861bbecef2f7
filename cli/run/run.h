// Fetches all URLs of a command line.
#ifndef TNX_CLI_RUN_H
#define TNX_CLI_RUN_H

#include "base/settings.h"

namespace TnxTool
{

// Groups of options, at least one. Returns the exit status: that of the last transfer that failed,
// 0 when all went well. Throws UsageError and ToolError before anything is sent.
int RunTransfers(const std::vector<Settings> &all);

} // namespace TnxTool

#endif

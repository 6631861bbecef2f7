// Fetches all URLs of a command line.
#ifndef TNX_CLI_RUN_H
#define TNX_CLI_RUN_H

#include "base/settings.h"

namespace TnxTool
{

// Returns the exit status: that of the last transfer that failed, 0 when all went well. Throws
// UsageError and ToolError before anything is sent.
int RunTransfers(const Settings &settings);

} // namespace TnxTool

#endif

// Shows debug information as curl does: the lines of -v, and the dumps of --trace.
#ifndef TNX_CLI_DUMP_H
#define TNX_CLI_DUMP_H

#include <string>

#include "tnx_c.h"

namespace TnxTool
{

// "* text", "> line sent", "< line received".
std::string VerboseText(const Tnx_DebugInfo *info, bool color);

// Every entry with its bytes, in hex or as text.
std::string TraceText(const Tnx_DebugInfo *info, bool hex);

} // namespace TnxTool

#endif

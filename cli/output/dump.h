// Shows debug information as curl does: the lines of -v, and the dumps of --trace.
#ifndef TNX_CLI_DUMP_H
#define TNX_CLI_DUMP_H

#include <cstdint>
#include <string>
#include <string_view>

namespace TnxTool
{

// "* text", "> line sent", "< line received"; nothing for other kinds of debug information.
std::string VerboseText(uint32_t kind, std::string_view bytes, bool color);

// A piece of debug information with its bytes, in hex or as text.
std::string TraceText(uint32_t kind, std::string_view bytes, bool hex);

} // namespace TnxTool

#endif

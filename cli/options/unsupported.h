// Options of curl's that this tool does not have.
#ifndef TNX_CLI_UNSUPPORTED_H
#define TNX_CLI_UNSUPPORTED_H

#include <string_view>

namespace TnxTool
{

// Why an option is not here and what to do instead, by its name or its letter; null where it is not
// one of curl's.
const char *FindUnsupported(std::string_view name);

} // namespace TnxTool

#endif

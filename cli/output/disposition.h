// The name that a server gives a file.
#ifndef TNX_CLI_DISPOSITION_H
#define TNX_CLI_DISPOSITION_H

#include <string>
#include <string_view>

namespace TnxTool
{

// The file name of a Content-Disposition field (RFC 6266) without its folders; empty where there is
// none that can be used.
std::string DispositionName(std::string_view field);

} // namespace TnxTool

#endif

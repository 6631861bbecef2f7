// The documents that are made from the table of options.
#ifndef TNX_CLI_MANUAL_H
#define TNX_CLI_MANUAL_H

#include <string>

namespace TnxTool
{

std::string ManualPage();     // tnx(1), in mdoc
std::string BashCompletion(); // for bash-completion/completions/tnx
std::string ZshCompletion();  // for site-functions/_tnx

} // namespace TnxTool

#endif

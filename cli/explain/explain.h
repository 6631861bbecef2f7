// Explains a transfer phase by phase, and where it failed.
#ifndef TNX_CLI_EXPLAIN_H
#define TNX_CLI_EXPLAIN_H

#include <string>

#include "answer/outcome.h"

namespace TnxTool
{

// Makes a second connection where there are certificates to look at.
std::string Explain(const Outcome &outcome, const Tnx_Configuration &configuration);

} // namespace TnxTool

#endif

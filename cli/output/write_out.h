// The format of --write-out.
#ifndef TNX_CLI_WRITE_OUT_H
#define TNX_CLI_WRITE_OUT_H

#include <string>
#include <vector>

#include "answer/outcome.h"

namespace TnxTool
{

// Texts for standard output and standard error.
struct Written {
    std::string output;
    std::string error;
};

Written WriteOut(const std::string &format, const Outcome &outcome);

// Throws UsageError for a variable that cannot be filled.
void CheckWriteOut(const std::string &format);

// One variable with what it stands for, for the manual page.
struct WriteOutHelp {
    const char *name;
    const char *help;
};
std::vector<WriteOutHelp> WriteOutVariables();

} // namespace TnxTool

#endif

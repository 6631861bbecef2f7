// What the tool tells about itself.
#ifndef TNX_CLI_HELP_H
#define TNX_CLI_HELP_H

#include <string>

namespace TnxTool
{

// The options of a topic; the most used ones for an empty topic, every one for "all". Throws
// UsageError for a topic that is none.
std::string HelpText(const std::string &topic);

std::string VersionText();

} // namespace TnxTool

#endif

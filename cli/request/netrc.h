// Users and passwords by host, from a file as ~/.netrc is.
#ifndef TNX_CLI_NETRC_H
#define TNX_CLI_NETRC_H

#include <string>

#include "base/settings.h"

namespace TnxTool
{

// "user:password" for the host of a URL by -n and its family; nothing where they are not given, or
// know no such host. Throws ToolError where the file cannot be read.
Text FindInNetrc(const Settings &settings, const std::string &url);

// The same out of a file's content; `user` is the one wanted, or empty.
Text FindInNetrcText(const std::string &content, const std::string &host, const std::string &user);

} // namespace TnxTool

#endif

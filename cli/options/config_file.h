// The notation of files of options: one option a line.
#ifndef TNX_CLI_CONFIG_FILE_H
#define TNX_CLI_CONFIG_FILE_H

#include <optional>
#include <string>
#include <string_view>

namespace TnxTool
{

struct ConfigLine {
    std::string name; // with its dashes, if any
    std::string value;
    bool hasValue = false;
};

// Reads one line: name, then a blank, "=" or ":", then a plain or quoted value. Nothing for an
// empty line or a comment.
std::optional<ConfigLine> ParseConfigLine(std::string_view line);

// The file that is read before the command line: $XDG_CONFIG_HOME/tnxrc, or ~/.config/tnxrc. Empty
// where there is none.
std::string DefaultConfigFile();

} // namespace TnxTool

#endif

// URLs that stand for several: http://host/{one,two}/[01-10].
#ifndef TNX_CLI_GLOB_H
#define TNX_CLI_GLOB_H

#include <string>
#include <string_view>
#include <vector>

namespace TnxTool
{

// One of the URLs that a pattern stands for, with what each of its globs stands for in it.
struct GlobMatch {
    std::string text;
    std::vector<std::string> pieces;
};

// All of them, the last glob running fastest. Throws ToolError.
std::vector<GlobMatch> ExpandGlobs(std::string_view pattern);

// Puts the first piece where a name has #1, and so on.
std::string FillPieces(std::string_view name, const std::vector<std::string> &pieces);

} // namespace TnxTool

#endif

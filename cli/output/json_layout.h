// Lays JSON out for people.
#ifndef TNX_CLI_JSON_LAYOUT_H
#define TNX_CLI_JSON_LAYOUT_H

#include <optional>
#include <string>
#include <string_view>

namespace TnxTool
{

// One member or element a line. Names, strings and numbers stay byte for byte, and names that stand
// twice stay twice. Nothing for what is no JSON (RFC 8259), or is nested beyond reason.
std::optional<std::string> LayOutJson(std::string_view text, bool color);

// Whether a Content-Type names JSON.
bool IsJson(std::string_view contentType);

} // namespace TnxTool

#endif

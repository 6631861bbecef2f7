// How text looks on a terminal: colours, and who gets them.
#ifndef TNX_CLI_STYLE_H
#define TNX_CLI_STYLE_H

#include <string>
#include <string_view>

#include "base/settings.h"

namespace TnxTool
{

// What goes to a terminal is laid out and coloured; what goes elsewhere stays as it is.
struct Look {
    bool pretty = false;
    bool color = false;
};

Look LookOf(const RunSettings &settings, int file);

enum class Color { RED = 31, GREEN = 32, YELLOW = 33, BLUE = 34, MAGENTA = 35, CYAN = 36 };

std::string Paint(std::string_view text, Color color);

// Header sections, or lines of them: statuses by their class, names of fields.
std::string PaintHead(std::string_view bytes);

} // namespace TnxTool

#endif

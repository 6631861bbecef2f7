// How text looks on a terminal.
#include "style.h"

#include <algorithm>
#include <cstdlib>

#include "base/terminal.h"

namespace TnxTool
{

namespace
{

bool IsSet(const char *variable)
{
    const char *value = std::getenv(variable);
    return value != nullptr && *value != '\0';
}

Color ColorOfStatus(char firstDigit)
{
    switch (firstDigit) {
    case '2':
        return Color::GREEN;
    case '3':
        return Color::YELLOW;
    case '4':
    case '5':
        return Color::RED;
    default:
        return Color::CYAN;
    }
}

std::string PaintLine(std::string_view line)
{
    const bool status = line.starts_with("HTTP/");
    // A name of HTTP/2 may begin with a colon.
    const size_t mark = status ? line.find(' ') : line.find(':', line.empty() ? 0 : 1);
    if (mark == std::string_view::npos ||
        line.substr(0, mark).find(' ') != std::string_view::npos) {
        return std::string(line);
    }
    const std::string before(line.substr(0, mark));
    const std::string_view rest = line.substr(mark);
    if (!status) {
        return Paint(before, Color::CYAN) + std::string(rest);
    }
    return rest.size() < 2 ? std::string(line)
                           : before + " " + Paint(rest.substr(1), ColorOfStatus(rest[1]));
}

} // namespace

Look LookOf(const RunSettings &settings, int file)
{
    Look look;
    look.pretty =
        settings.pretty == Pretty::ALWAYS || (settings.pretty == Pretty::AUTO && IsTerminal(file));
    look.color = look.pretty && settings.color && !IsSet("NO_COLOR");
    return look;
}

std::string Paint(std::string_view text, Color color)
{
    return "\x1b[" + std::to_string(static_cast<int>(color)) + "m" + std::string(text) + "\x1b[0m";
}

std::string PaintHead(std::string_view bytes)
{
    std::string painted;
    while (!bytes.empty()) {
        const size_t end = std::min(bytes.find_first_of("\r\n"), bytes.size());
        const size_t next = std::min(bytes.find('\n', end), bytes.size() - 1) + 1;
        painted += PaintLine(bytes.substr(0, end));
        painted += bytes.substr(end, next - end);
        bytes.remove_prefix(next);
    }
    return painted;
}

} // namespace TnxTool

// The name that a server gives a file.
#include "disposition.h"

#include "base/values.h"

namespace TnxTool
{

namespace
{

// Takes a parameter's value from the front: a token, or a quoted string.
std::string TakeValue(std::string_view &rest)
{
    std::string value;
    const bool quoted = rest.starts_with('"');
    size_t at = quoted ? 1 : 0;
    for (; at < rest.size() && rest[at] != (quoted ? '"' : ';'); ++at) {
        at += quoted && rest[at] == '\\' && at + 1 < rest.size() ? 1 : 0;
        value += rest[at];
    }
    rest.remove_prefix(std::min(rest.find(';', at), rest.size()));
    return quoted ? value : std::string(Trim(value));
}

} // namespace

std::string DispositionName(std::string_view field)
{
    constexpr std::string_view utf8 = "utf-8'";
    std::string plain;
    std::string extended; // of filename*, which goes before filename
    field.remove_prefix(std::min(field.find(';'), field.size()));
    while (!field.empty()) {
        field.remove_prefix(1);
        const size_t mark = std::min(field.find('='), field.size());
        const std::string name = ToLower(Trim(field.substr(0, mark)));
        field = Trim(field.substr(std::min(mark + 1, field.size())));
        const std::string value = TakeValue(field);
        if (name == "filename") {
            plain = value;
        } else if (name == "filename*" && ToLower(value).starts_with(utf8)) {
            extended = UrlDecode(value.substr(value.find('\'', utf8.size()) + 1));
        }
    }
    std::string name = extended.empty() ? plain : extended;
    name.erase(0, name.find_last_of("/\\") + 1); // npos + 1 is 0
    const bool usable = name != "." && name != ".." && name.find('\0') == std::string::npos;
    return usable ? name : "";
}

} // namespace TnxTool

// The notation of files of options.
#include "config_file.h"

#include <cstdlib>
#include <filesystem>

#include "base/settings.h"
#include "base/values.h"

namespace TnxTool
{

namespace
{

std::string Unquote(std::string_view text)
{
    std::string value;
    for (size_t at = 1; at < text.size() && text[at] != '"'; ++at) {
        if (text[at] != '\\' || at + 1 == text.size()) {
            value += text[at];
            continue;
        }
        const char c = text[++at];
        constexpr std::string_view names = "tnrv";
        constexpr std::string_view meanings = "\t\n\r\v";
        const size_t index = names.find(c);
        value += index == std::string_view::npos ? c : meanings[index];
    }
    return value;
}

} // namespace

std::string DefaultConfigFile()
{
    const char *folder = std::getenv("XDG_CONFIG_HOME");
    const char *home = std::getenv("HOME");
    std::filesystem::path path;
    if (folder != nullptr && *folder != '\0') {
        path = folder;
    } else if (home != nullptr && *home != '\0') {
        path = std::filesystem::path(home) / ".config";
    } else {
        return {};
    }
    std::error_code error;
    return std::filesystem::exists(path /= "tnxrc", error) ? path.string() : "";
}

std::optional<ConfigLine> ParseConfigLine(std::string_view line)
{
    std::string_view rest = Trim(line);
    if (rest.empty() || rest.front() == '#') {
        return std::nullopt;
    }
    ConfigLine parsed;
    const size_t end = std::min(rest.find_first_of(" \t=:"), rest.size());
    parsed.name = rest.substr(0, end);
    rest = Trim(rest.substr(end));
    if (!rest.empty() && (rest.front() == '=' || rest.front() == ':')) {
        rest = Trim(rest.substr(1));
    }
    parsed.hasValue = !rest.empty();
    parsed.value = rest.starts_with('"') ? Unquote(rest) : std::string(rest);
    return parsed;
}

} // namespace TnxTool

// Users and passwords by host, from a file as ~/.netrc is.
#include "netrc.h"

#include <cstdlib>
#include <filesystem>
#include <iomanip>
#include <sstream>

#include "base/url.h"
#include "base/values.h"

namespace TnxTool
{

namespace
{

// The next word, plain or in double quotes.
bool TakeWord(std::istream &stream, std::string &word)
{
    return static_cast<bool>(stream >> std::quoted(word));
}

// A definition of a macro ends with an empty line.
void SkipMacro(std::istream &stream)
{
    std::string line;
    std::getline(stream, line);
    while (std::getline(stream, line) && !Trim(line).empty()) {
    }
}

} // namespace

Text FindInNetrcText(const std::string &content, const std::string &host, const std::string &user)
{
    std::istringstream stream(content);
    std::string word;
    std::string login;
    std::string password;
    bool within = false;
    const auto fits = [&] { return within && !login.empty() && (user.empty() || login == user); };
    while (TakeWord(stream, word)) {
        if (word.starts_with('#')) {
            std::getline(stream, word);
        } else if (word == "macdef") {
            SkipMacro(stream);
        } else if (word == "machine" || word == "default") {
            if (fits()) {
                break;
            }
            within =
                word == "default" || (TakeWord(stream, word) && ToLower(word) == ToLower(host));
            login.clear();
            password.clear();
        } else if (word == "login") {
            TakeWord(stream, login);
        } else if (word == "password") {
            TakeWord(stream, password);
        } else {
            TakeWord(stream, word); // an account, say
        }
    }
    return fits() ? Text(login + ":" + password) : std::nullopt;
}

Text FindInNetrc(const Settings &settings, const std::string &url)
{
    if (!settings.netrc && !settings.netrcOptional && !settings.netrcFile) {
        return std::nullopt;
    }
    const char *home = std::getenv("HOME");
    const std::string file = settings.netrcFile.value_or(
        (std::filesystem::path(home == nullptr ? "" : home) / ".netrc").string());
    if (settings.netrcOptional && !std::filesystem::exists(file)) {
        return std::nullopt;
    }
    const std::string host(UrlHost(url));
    return FindInNetrcText(ReadWhole(file), host, UrlDecode(std::string(UrlUser(url))));
}

} // namespace TnxTool

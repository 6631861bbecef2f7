// Reads a command line as curl does.
#include "parser.h"

#include <algorithm>
#include <cstring>
#include <sstream>
#include <type_traits>
#include <utility>

#include "base/values.h"
#include "config_file.h"
#include "unsupported.h"

namespace TnxTool
{

namespace
{

// Files of options may name others, but not for ever.
constexpr int MAX_CONFIG_DEPTH = 10;

bool IsSwitch(const Option &option)
{
    return option.argument == nullptr;
}

// Whether "name=value" is a switch that takes a value behind its name.
bool HasAppendix(const std::string &name)
{
    const auto &options = Options();
    return std::any_of(options.begin(), options.end(), [&name](const Option &option) {
        return option.append != nullptr && name.starts_with(std::string(option.name) + "=");
    });
}

bool IsHelp(const Option &option)
{
    return option.letter == 'h';
}

// Overwrites a value in the process list once it has been copied.
void Hide(char *text)
{
    std::memset(text, ' ', std::strlen(text));
}

[[noreturn]] void Fail(const std::string &shown, const std::string &reason)
{
    throw UsageError("option " + shown + ": " + reason);
}

void RefuseTogether(bool together, const char *what)
{
    if (together) {
        throw UsageError(std::string(what) + " cannot be used together");
    }
}

void CheckGroup(const Settings &s)
{
    if (s.urls.empty()) {
        throw UsageError("no URL specified");
    }
    RefuseTogether(s.data && !s.form.empty(), "data (-d) and a form (-F)");
    RefuseTogether(s.data && s.head && !s.get, "data (-d) and -I");
    RefuseTogether(!s.form.empty() && s.head, "a form (-F) and -I");
    RefuseTogether(!s.uploads.empty() && (s.data || !s.form.empty() || s.head),
                   "a file (-T) and -d, -F or -I");
    RefuseTogether(s.range && s.continueAt, "-r and -C");
    RefuseTogether(s.timingRuns > 1 && std::count(s.uploads.begin(), s.uploads.end(), "-") > 0,
                   "several runs and standard input (-T -)");
    RefuseTogether(s.remoteHeaderName && (s.include || s.continueAt), "-J and -i or -C");
    RefuseTogether(s.removeOnError && s.continueAt, "--remove-on-error and -C");
    RefuseTogether(s.fail && s.failWithBody, "--fail and --fail-with-body");
    RefuseTogether(!s.resolve.empty() && s.dnsServers, "--resolve and --dns-servers");
    RefuseTogether(s.server.insecure && s.server.pins, "-k and --pinnedpubkey");
    const bool body = (s.data && !s.get) || !s.form.empty() || !s.uploads.empty();
    if (body && (s.method == "GET" || s.method == "HEAD")) {
        throw UsageError("a " + *s.method + " request carries no body; -G puts data into the URL");
    }
}

} // namespace

void Parser::Parse(std::span<char *const> arguments)
{
    const std::string_view first = arguments.empty() ? "" : arguments.front();
    if (const std::string file = DefaultConfigFile();
        !file.empty() && !first.starts_with("-q") && first != "--disable") {
        ReadConfigFile(file);
    }
    bool options = true;
    for (size_t at = 0; at < arguments.size();) {
        const std::string_view argument = arguments[at];
        if (options && argument == "--") {
            options = false;
            ++at;
        } else if (options && argument.starts_with("--")) {
            at = ParseName(arguments, at);
        } else if (options && argument.starts_with('-')) {
            at = ParseLetters(arguments, at);
        } else {
            groups_.back().urls.emplace_back(argument);
            ++at;
        }
    }
    Check();
    for (Settings &group : groups_) {
        static_cast<RunSettings &>(group) = groups_.back();
    }
}

std::vector<Settings> Parser::TakeGroups()
{
    return std::move(groups_);
}

void Parser::BeginGroup()
{
    if (groups_.back().urls.empty()) {
        throw UsageError("no URL stands before it");
    }
    Settings next;
    static_cast<RunSettings &>(next) = groups_.back();
    groups_.push_back(std::move(next));
}

size_t Parser::ParseName(std::span<char *const> arguments, size_t at)
{
    const std::string shown = arguments[at];
    std::string name = shown.substr(2);
    const Option *option = nullptr;
    bool on = true;
    std::string value;
    if (const size_t mark = name.find('='); mark != std::string::npos && HasAppendix(name)) {
        value = name.substr(mark + 1);
        name.resize(mark);
    }
    try {
        option = &FindName(name);
    } catch (const UsageError &error) {
        if (!name.starts_with("no-") || FindUnsupported(name) != nullptr) {
            Fail(shown, error.what());
        }
        on = false;
    }
    if (!on) {
        try {
            option = &FindName(name.substr(3));
        } catch (const UsageError &error) {
            Fail(shown, error.what());
        }
    }
    if (IsSwitch(*option) || !on) {
        Apply(*option, shown, value, on);
        return at + 1;
    }
    if (at + 1 == arguments.size()) {
        if (!IsHelp(*option)) {
            Fail(shown, "requires parameter");
        }
        Apply(*option, shown, {}, true);
        return at + 1;
    }
    Apply(*option, shown, arguments[at + 1], true);
    if (option->secret) {
        Hide(arguments[at + 1]);
    }
    return at + 2;
}

size_t Parser::ParseLetters(std::span<char *const> arguments, size_t at)
{
    char *letters = arguments[at];
    if (letters[1] == '\0') {
        Fail(letters, "is unknown");
    }
    for (size_t index = 1; letters[index] != '\0'; ++index) {
        const std::string shown = {'-', letters[index]};
        const Option *option = nullptr;
        try {
            option = &FindLetter(letters[index]);
        } catch (const UsageError &error) {
            Fail(shown, error.what());
        }
        if (IsSwitch(*option)) {
            Apply(*option, shown, {}, true);
            continue;
        }
        const bool attached = letters[index + 1] != '\0';
        if (!attached && at + 1 == arguments.size()) {
            if (!IsHelp(*option)) {
                Fail(shown, "requires parameter");
            }
            Apply(*option, shown, {}, true);
            return at + 1;
        }
        char *value = attached ? letters + index + 1 : arguments[at + 1];
        Apply(*option, shown, value, true);
        if (option->secret) {
            Hide(value);
        }
        return at + (attached ? 1 : 2);
    }
    return at + 1;
}

void Parser::Apply(const Option &option, const std::string &shown, const std::string &value,
                   bool on)
{
    if (!on && !std::holds_alternative<bool Settings::*>(option.target)) {
        Fail(shown, "cannot be turned off");
    }
    try {
        if (option.letter == 'K') {
            ReadConfigFile(value);
            return;
        }
        if (option.letter == ':') {
            BeginGroup();
            return;
        }
        Settings &settings = groups_.back();
        if (option.append != nullptr && !value.empty()) {
            option.append(settings, value);
            return;
        }
        std::visit(
            [&](auto target) {
                using T = decltype(target);
                if constexpr (std::is_same_v<T, bool Settings::*>) {
                    settings.*target = on;
                } else if constexpr (std::is_same_v<T, Text Settings::*>) {
                    settings.*target = value;
                } else if constexpr (std::is_same_v<T, std::vector<std::string> Settings::*>) {
                    (settings.*target).push_back(value);
                } else if constexpr (std::is_same_v<T, void (*)(Settings &)>) {
                    target(settings);
                } else {
                    target(settings, value);
                }
            },
            option.target);
    } catch (const UsageError &error) {
        Fail(shown, error.what());
    }
}

void Parser::ReadConfigFile(const std::string &path)
{
    if (configDepth_ == MAX_CONFIG_DEPTH) {
        throw UsageError("files of options name each other without end");
    }
    ++configDepth_;
    std::istringstream content(ReadWhole(path));
    std::string line;
    for (int number = 1; std::getline(content, line); ++number) {
        try {
            if (const auto parsed = ParseConfigLine(line)) {
                ApplyConfigLine(parsed->name, parsed->value, parsed->hasValue);
            }
        } catch (const UsageError &error) {
            throw UsageError(path + ":" + std::to_string(number) + ": " + error.what());
        }
    }
    --configDepth_;
}

void Parser::ApplyConfigLine(const std::string &name, const std::string &value, bool hasValue)
{
    const bool letter = name.size() == 2 && name[0] == '-' && name[1] != '-';
    const std::string plain = name.starts_with("--") ? name.substr(2) : name;
    try {
        const Option &option = letter ? FindLetter(name[1]) : FindName(plain);
        if (IsSwitch(option) && hasValue && option.append == nullptr) {
            throw UsageError("takes no value");
        }
        if (!IsSwitch(option) && !hasValue && !IsHelp(option)) {
            throw UsageError("requires parameter");
        }
        Apply(option, name, value, true);
    } catch (const UsageError &error) {
        const std::string text = error.what();
        throw UsageError(text.starts_with("option ") ? text : "option " + name + ": " + text);
    }
}

void Parser::Check() const
{
    if (!groups_.back().help && !groups_.back().version) {
        std::for_each(groups_.begin(), groups_.end(), CheckGroup);
    }
}

} // namespace TnxTool

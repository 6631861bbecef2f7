// The one table of options. Parsing, help, completions and the manual page are made from it.
#ifndef TNX_CLI_OPTIONS_H
#define TNX_CLI_OPTIONS_H

#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "base/settings.h"

namespace TnxTool
{

enum class Topic { REQUEST, POST, OUTPUT, VERBOSE, CONNECTION, AUTH, TLS, PROXY, DNS, RETRY, TOOL };

struct TopicName {
    Topic topic;
    const char *name;
    const char *help;
};

// Where a value goes: a switch, a text, a list that grows, or a function that understands it.
// Switches can be undone with --no-NAME.
using Target =
    std::variant<bool Settings::*, Text Settings::*, std::vector<std::string> Settings::*,
                 void (*)(Settings &), void (*)(Settings &, const std::string &)>;

struct Option {
    char letter = 0; // 0: it has no short form
    const char *name = nullptr;
    const char *argument = nullptr; // what its value is called; null: it takes none
    const char *appendix = nullptr; // the same of a value that a switch may have: --name=value
    Topic topic = Topic::TOOL;
    const char *help = nullptr; // one line
    const char *man = nullptr;  // sentences for the manual page
    Target target;
    void (*append)(Settings &, const std::string &) = nullptr; // takes the appendix
    bool important = false;                                    // shown by a bare -h
    bool secret = false; // the value must not stay visible in the process list
};

std::span<const TopicName> Topics();

// All options, sorted by name.
const std::vector<Option> &Options();

// Find an option by its letter, or by its name or an unambiguous beginning of it. They throw
// UsageError when there is none, with the reason where the option is known but out of reach.
const Option &FindLetter(char letter);
const Option &FindName(std::string_view name);

} // namespace TnxTool

#endif

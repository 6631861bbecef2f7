// Completions for shells, from the table of options.
#include "manual.h"

#include "options/options.h"

namespace TnxTool
{

namespace
{

bool WantsFile(const Option &option)
{
    const std::string argument = option.argument == nullptr ? "" : option.argument;
    return argument.find("file") != std::string::npos || argument == "directory" ||
           argument.starts_with("certificate") || argument == "data";
}

std::string TopicWords()
{
    std::string words = "all topics";
    for (const TopicName &topic : Topics()) {
        words += std::string(" ") + topic.name;
    }
    return words;
}

std::string Names(const Option &option, const char *separator)
{
    std::string names = std::string("--") + option.name;
    if (option.letter != 0) {
        names = std::string("-") + option.letter + separator + names;
    }
    return names;
}

// Within single quotes of zsh, and within its brackets.
std::string ZshText(const std::string &text)
{
    std::string safe;
    for (const char c : text) {
        if (c == '\'') {
            safe += "'\\''";
        } else {
            safe += c == '[' || c == ']' || c == ':' ? std::string("\\") + c : std::string(1, c);
        }
    }
    return safe;
}

std::string ZshEntry(const Option &option)
{
    std::string entry = "  ";
    if (option.letter != 0) {
        entry += std::string("{-") + option.letter + ",--" + option.name + "}";
    } else {
        entry += std::string("--") + option.name;
    }
    entry += "'[" + ZshText(option.help) + "]";
    if (option.argument != nullptr) {
        const std::string action = option.letter == 'h' ? "(" + TopicWords() + ")"
                                   : WantsFile(option)  ? "_files"
                                                        : " ";
        entry += ":" + ZshText(option.argument) + ":" + action;
    }
    return entry + "' \\\n";
}

} // namespace

std::string BashCompletion()
{
    std::string all;
    std::string files;
    std::string others;
    for (const Option &option : Options()) {
        all += (all.empty() ? "" : " ") + Names(option, " ");
        if (option.argument != nullptr && option.letter != 'h') {
            std::string &names = WantsFile(option) ? files : others;
            names += (names.empty() ? "" : "|") + Names(option, "|");
        }
    }
    return "# Completion of tnx for bash.\n"
           "_tnx()\n"
           "{\n"
           "  local word=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}\n"
           "  COMPREPLY=()\n"
           "  case $previous in\n"
           "    -h|--help) COMPREPLY=($(compgen -W '" +
           TopicWords() +
           "' -- \"$word\")); return ;;\n"
           "    " +
           files +
           ")\n"
           "      compopt -o filenames\n"
           "      mapfile -t COMPREPLY < <(compgen -f -- \"$word\")\n"
           "      return ;;\n"
           "    " +
           others +
           ") return ;;\n"
           "  esac\n"
           "  if [[ $word == -* ]]; then\n"
           "    COMPREPLY=($(compgen -W '" +
           all +
           "' -- \"$word\"))\n"
           "  fi\n"
           "}\n"
           "complete -F _tnx tnx\n";
}

std::string ZshCompletion()
{
    std::string text = "#compdef tnx\n# Completion of tnx for zsh.\n_arguments -s \\\n";
    for (const Option &option : Options()) {
        text += ZshEntry(option);
    }
    return text + "  '*:URL:_urls'\n";
}

} // namespace TnxTool

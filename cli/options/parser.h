// Reads a command line, and the files that it names with -K, into settings.
#ifndef TNX_CLI_PARSER_H
#define TNX_CLI_PARSER_H

#include <span>
#include <string>

#include "base/settings.h"
#include "options.h"

namespace TnxTool
{

class Parser
{
public:
    // Reads the arguments after the program's name, and hides secrets from the process list.
    // Throws UsageError.
    void Parse(std::span<char *const> arguments);

    Settings TakeSettings();

private:
    size_t ParseLetters(std::span<char *const> arguments, size_t at);
    size_t ParseName(std::span<char *const> arguments, size_t at);
    void Apply(const Option &option, const std::string &shown, const std::string &value, bool on);
    void ReadConfigFile(const std::string &path);
    void ApplyConfigLine(const std::string &name, const std::string &value, bool hasValue);
    void Check() const;

    Settings settings_;
    int configDepth_ = 0;
};

} // namespace TnxTool

#endif

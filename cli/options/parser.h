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
    // Reads the arguments after the program's name, and hides secrets from the process list;
    // before them, the default file of options. Throws UsageError.
    void Parse(std::span<char *const> arguments);

    // The groups between --next, at least one.
    std::vector<Settings> TakeGroups();

private:
    size_t ParseLetters(std::span<char *const> arguments, size_t at);
    size_t ParseName(std::span<char *const> arguments, size_t at);
    void Apply(const Option &option, const std::string &shown, const std::string &value, bool on);
    void ReadConfigFile(const std::string &path);
    void ApplyConfigLine(const std::string &name, const std::string &value, bool hasValue);
    void BeginGroup();
    void Check() const;

    std::vector<Settings> groups_ = std::vector<Settings>(1); // the last one is being read
    int configDepth_ = 0;
};

} // namespace TnxTool

#endif

// The terminal: what goes to it whole, and what is asked there.
#ifndef TNX_CLI_TERMINAL_H
#define TNX_CLI_TERMINAL_H

#include <string>
#include <string_view>

namespace TnxTool
{

bool IsTerminal(int file);

// Writes all of it, whatever the pieces that the system takes. False when it failed.
bool WriteAll(int file, std::string_view bytes) noexcept;

// One line on standard error: "tnx: text".
void Complain(std::string_view text);

// Asks for a password without showing it. Throws UsageError where there is no terminal.
std::string AskPassword(const char *whom, const std::string &user);

// How many columns standard error has; 80 where that is not known.
unsigned int TerminalWidth();

} // namespace TnxTool

#endif

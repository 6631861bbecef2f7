// The parts of the table of options, by what they are about.
#ifndef TNX_CLI_OPTIONS_TABLE_H
#define TNX_CLI_OPTIONS_TABLE_H

#include <span>

#include "options.h"

namespace TnxTool
{

std::span<const Option> RequestOptions();
std::span<const Option> OutputOptions();
std::span<const Option> ConnectionOptions();
std::span<const Option> LimitOptions();
std::span<const Option> SecurityOptions();
std::span<const Option> ProxyOptions();

} // namespace TnxTool

#endif

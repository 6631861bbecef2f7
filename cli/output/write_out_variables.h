// The variables of --write-out.
#ifndef TNX_CLI_WRITE_OUT_VARIABLES_H
#define TNX_CLI_WRITE_OUT_VARIABLES_H

#include <span>
#include <string_view>

#include <nlohmann/json.hpp>

#include "answer/outcome.h"

namespace TnxTool
{

using Json = nlohmann::ordered_json;

struct Variable {
    const char *name;
    const char *help;
    Json (*get)(const Outcome &outcome); // null where there is nothing
};

// Sorted by name.
std::span<const Variable> Variables();

const Variable *FindVariable(std::string_view name);

// The fields of the last answer: from lower-case names to lists of values, in order.
Json LastFields(const Outcome &outcome);

} // namespace TnxTool

#endif

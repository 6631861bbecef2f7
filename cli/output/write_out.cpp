// The format of --write-out.
#include "write_out.h"

#include <functional>

#include "base/values.h"
#include "write_out_variables.h"

namespace TnxTool
{

namespace
{

// Reads a format piece by piece: plain text, %{variable}, and %header{name} or %{header{name}}.
void Walk(std::string_view format, const std::function<void(std::string_view)> &onText,
          const std::function<void(const std::string &)> &onVariable,
          const std::function<void(const std::string &)> &onHeader)
{
    constexpr std::string_view escapes = "nrt";
    constexpr std::string_view meanings = "\n\r\t";
    while (!format.empty()) {
        const bool nested = format.starts_with("%{header{");
        const bool named = nested || format.starts_with("%header{");
        const size_t start = named ? format.find("r{") + 2 : format.starts_with("%{") ? 2 : 0;
        const size_t end = format.find('}');
        size_t used = 1;
        if (start != 0 && end != std::string_view::npos) {
            (named ? onHeader : onVariable)(std::string(format.substr(start, end - start)));
            used = end + (nested ? 2 : 1);
        } else if (format.starts_with("%%")) {
            onText("%");
            used = 2;
        } else if (format.size() > 1 && format[0] == '\\' &&
                   escapes.find(format[1]) != std::string_view::npos) {
            onText(meanings.substr(escapes.find(format[1]), 1));
            used = 2;
        } else {
            onText(format.substr(0, 1));
        }
        format.remove_prefix(std::min(used, format.size()));
    }
}

std::string ToText(const std::string &name, const Json &value)
{
    char text[48];
    if (value.is_null()) {
        return {};
    }
    if (value.is_string()) {
        return value.get<std::string>();
    }
    if (value.is_number_float()) {
        std::snprintf(text, sizeof(text), "%.6f", value.get<double>());
        return text;
    }
    if (name.ends_with("_code") || name == "http_connect") {
        std::snprintf(text, sizeof(text), "%03d", value.get<int>());
        return text;
    }
    return value.dump();
}

std::string AllAsJson(const Outcome &outcome)
{
    Json all;
    for (const Variable &variable : Variables()) {
        all[variable.name] = variable.get(outcome);
    }
    return all.dump(-1, ' ', false, Json::error_handler_t::replace);
}

// What a variable that is none of the table does.
bool IsSpecial(const std::string &name)
{
    return name == "json" || name == "header_json" || name == "stderr" || name == "stdout" ||
           name == "onerror";
}

} // namespace

void CheckWriteOut(const std::string &format)
{
    Walk(
        format, [](std::string_view) {},
        [](const std::string &name) {
            if (!IsSpecial(name) && FindVariable(name) == nullptr) {
                throw UsageError("the variable %{" + name + "} of --write-out is not there");
            }
        },
        [](const std::string &) {});
}

Written WriteOut(const std::string &format, const Outcome &outcome)
{
    Written written;
    std::string *text = &written.output;
    bool on = true;
    const auto add = [&](std::string_view piece) { *text += on ? piece : ""; };
    Walk(
        format, add,
        [&](const std::string &name) {
            if (const Variable *variable = FindVariable(name)) {
                add(ToText(name, variable->get(outcome)));
            } else if (name == "json") {
                add(AllAsJson(outcome));
            } else if (name == "header_json") {
                add(LastFields(outcome).dump(-1, ' ', false, Json::error_handler_t::replace));
            } else if (name == "onerror") {
                on = outcome.status != 0; // what follows is for failures only
            } else {
                text = name == "stderr" ? &written.error : &written.output;
            }
        },
        [&](const std::string &name) {
            const Json fields = LastFields(outcome);
            const auto values = fields.find(ToLower(name));
            add(values == fields.end() ? "" : values->front().get<std::string>());
        });
    return written;
}

std::vector<WriteOutHelp> WriteOutVariables()
{
    std::vector<WriteOutHelp> all = {
        {"header_json", "The fields of the last answer, as JSON"},
        {"json", "All variables, as JSON"},
        {"onerror", "Shows what follows only where the transfer failed"},
        {"stderr", "Writes what follows to standard error"},
        {"stdout", "Writes what follows to standard output"},
    };
    for (const Variable &variable : Variables()) {
        all.push_back({variable.name, variable.help});
    }
    return all;
}

} // namespace TnxTool

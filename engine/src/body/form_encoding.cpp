// Serialises forms.
#include "form_encoding.h"

#include <array>
#include <charconv>
#include <map>
#include <string_view>

#include "base/text.h"

namespace OHOS::Pelloria::Tnx
{
namespace
{

struct ValueText {
    std::string operator()(std::monostate) const { return {}; }
    std::string operator()(int32_t value) const { return std::to_string(value); }
    std::string operator()(int64_t value) const { return std::to_string(value); }
    std::string operator()(bool value) const { return value ? "true" : "false"; }
    std::string operator()(const std::string &value) const { return value; }
    std::string operator()(double value) const
    {
        std::array<char, 32> text;
        const auto end = std::to_chars(text.data(), text.data() + text.size(), value).ptr;
        return {text.data(), end};
    }
};

constexpr bool StandsAsItIs(char c)
{
    return IsDigit(c) || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '*' || c == '-' ||
           c == '.' || c == '_';
}

void AppendEncoded(std::string &out, std::string_view text)
{
    constexpr std::string_view HEX = "0123456789ABCDEF";
    for (const char c : text) {
        if (c == ' ') {
            out += '+';
        } else if (StandsAsItIs(c)) {
            out += c;
        } else {
            const auto byte = static_cast<unsigned char>(c);
            out += '%';
            out += HEX[byte >> 4];
            out += HEX[byte & 15];
        }
    }
}

void AppendField(std::string &out, std::string_view name, std::string_view value)
{
    if (!out.empty()) {
        out += '&';
    }
    AppendEncoded(out, name);
    out += '=';
    AppendEncoded(out, value);
}

} // namespace

std::string FormValueText(const FormFieldValue &value)
{
    return std::visit(ValueText(), value.Get());
}

std::string EncodeForm(const Form &form)
{
    std::map<std::string_view, const std::vector<FormFieldValue> *> sorted;
    for (const auto &[name, values] : form) {
        sorted.emplace(name, &values);
    }
    std::string body;
    for (const auto &[name, values] : sorted) {
        if (values->empty()) {
            AppendField(body, name, {});
        }
        for (const FormFieldValue &value : *values) {
            AppendField(body, name, FormValueText(value));
        }
    }
    return body;
}

} // namespace OHOS::Pelloria::Tnx

// Small questions about ASCII text, independent of the locale.
#ifndef TNX_ENGINE_TEXT_H
#define TNX_ENGINE_TEXT_H

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace OHOS::Pelloria::Tnx
{

constexpr char ToLower(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

constexpr bool IsDigit(char c)
{
    return c >= '0' && c <= '9';
}

constexpr bool IsBlank(char c)
{
    return c == ' ' || c == '\t';
}

constexpr bool IsControl(char c)
{
    return (c >= '\0' && c < ' ') || c == '\x7f';
}

inline bool HasControl(std::string_view text)
{
    return std::any_of(text.begin(), text.end(), IsControl);
}

// Of digits and nothing else.
inline std::optional<uint64_t> ParseNumber(std::string_view text)
{
    uint64_t number = 0;
    const char *const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && stop == end ? std::optional(number) : std::nullopt;
}

inline std::string Lower(std::string_view text)
{
    std::string lower(text);
    std::transform(lower.begin(), lower.end(), lower.begin(), ToLower);
    return lower;
}

inline bool EqualsIgnoringCase(std::string_view a, std::string_view b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char x, char y) { return ToLower(x) == ToLower(y); });
}

// Without the spaces and tabs around it.
constexpr std::string_view Trim(std::string_view text)
{
    while (!text.empty() && IsBlank(text.front())) {
        text.remove_prefix(1);
    }
    while (!text.empty() && IsBlank(text.back())) {
        text.remove_suffix(1);
    }
    return text;
}

} // namespace OHOS::Pelloria::Tnx

#endif

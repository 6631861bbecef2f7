// URLs that stand for several.
#include "glob.h"

#include <cctype>
#include <charconv>
#include <cstdint>

#include "settings.h"
#include "values.h"

namespace TnxTool
{

namespace
{

constexpr size_t MAX_URLS = 100000;

// A plain text, or what a glob stands for.
struct Part {
    bool glob = false;
    std::vector<std::string> texts;
};

std::optional<uint64_t> Number(std::string_view text)
{
    uint64_t number = 0;
    const auto [rest, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    const bool whole = error == std::errc{} && rest == text.data() + text.size();
    return whole ? std::optional(number) : std::nullopt;
}

bool SameCase(char first, char last)
{
    const auto is = [](char c, auto test) { return test(static_cast<unsigned char>(c)) != 0; };
    return (is(first, islower) && is(last, islower)) || (is(first, isupper) && is(last, isupper));
}

class Expander
{
public:
    explicit Expander(std::string_view pattern)
        : pattern_(pattern)
    {
    }

    std::vector<GlobMatch> Run()
    {
        std::vector<GlobMatch> matches = {{}};
        while (at_ < pattern_.size()) {
            const Part part = TakePart();
            if (matches.size() * part.texts.size() > MAX_URLS) {
                Fail("more than " + std::to_string(MAX_URLS) + " URLs");
            }
            std::vector<GlobMatch> longer;
            for (const GlobMatch &match : matches) {
                for (const std::string &text : part.texts) {
                    GlobMatch &next = longer.emplace_back(match);
                    next.text += text;
                    if (part.glob) {
                        next.pieces.push_back(text);
                    }
                }
            }
            matches = std::move(longer);
        }
        return matches;
    }

private:
    Part TakePart()
    {
        if (pattern_[at_] == '{') {
            return {true, TakeList()};
        }
        if (pattern_[at_] == '[' && !IsAddress()) {
            return {true, TakeRange()};
        }
        std::string text;
        do {
            const bool escape = pattern_[at_] == '\\' && at_ + 1 < pattern_.size() &&
                                std::string_view("{}[]").find(pattern_[at_ + 1]) != text.npos;
            at_ += escape ? 1 : 0;
            if (!escape && (pattern_[at_] == '}' || pattern_[at_] == ']') && !inAddress_) {
                Fail("a bracket that nothing opens");
            }
            inAddress_ = inAddress_ && pattern_[at_] != ']';
            text += pattern_[at_++];
        } while (at_ < pattern_.size() && pattern_[at_] != '{' && pattern_[at_] != '[');
        return {false, {text}};
    }

    // [::1], which stands as it is.
    bool IsAddress()
    {
        const size_t end = pattern_.find(']', at_);
        const std::string_view inside = pattern_.substr(at_ + 1, end - at_ - 1);
        const bool zone = inside.find('%') != std::string_view::npos;
        inAddress_ = end != std::string_view::npos &&
                     (inside.empty() || inside.find(':') != inside.rfind(':')) &&
                     (zone || inside.find_first_not_of("0123456789abcdefABCDEF:.") == inside.npos);
        return inAddress_;
    }

    std::string_view TakeInside(char close)
    {
        const size_t end = pattern_.find(close, at_);
        if (end == std::string_view::npos) {
            Fail("a bracket that nothing closes");
        }
        const std::string_view inside = pattern_.substr(at_ + 1, end - at_ - 1);
        if (inside.empty() || inside.find_first_of("{[") != std::string_view::npos) {
            Fail("empty or nested brackets");
        }
        at_ = end + 1;
        return inside;
    }

    std::vector<std::string> TakeList() { return Split(TakeInside('}'), ','); }

    // first-last or first-last:step, of numbers, which keep their leading zeros, or of letters.
    std::vector<std::string> TakeRange()
    {
        const std::string_view inside = TakeInside(']');
        const size_t colon = std::min(inside.find(':'), inside.size());
        const std::string_view bounds = inside.substr(0, colon);
        const size_t dash = std::min(bounds.find('-'), bounds.size());
        const std::string_view from = bounds.substr(0, dash);
        const std::string_view to = bounds.substr(std::min(dash + 1, bounds.size()));
        const uint64_t step =
            colon == inside.size() ? 1 : Number(inside.substr(colon + 1)).value_or(0);
        const bool letters = from.size() == 1 && to.size() == 1 && SameCase(from[0], to[0]);
        const auto first = letters ? static_cast<uint64_t>(from[0]) : Number(from);
        const auto last = letters ? static_cast<uint64_t>(to[0]) : Number(to);
        if (!first || !last || *first > *last || step == 0) {
            Fail("a bad range");
        }
        if ((*last - *first) / step >= MAX_URLS) {
            Fail("more than " + std::to_string(MAX_URLS) + " URLs");
        }
        std::vector<std::string> texts;
        for (uint64_t count = 0; count <= (*last - *first) / step; ++count) {
            const uint64_t value = *first + count * step;
            std::string text =
                letters ? std::string(1, static_cast<char>(value)) : std::to_string(value);
            text.insert(0, from.size() > text.size() ? from.size() - text.size() : 0, '0');
            texts.push_back(text);
        }
        return texts;
    }

    [[noreturn]] void Fail(const std::string &what) const
    {
        throw ToolError(EXIT_URL, "the URL '" + std::string(pattern_) + "' has " + what +
                                      "; with -g it is taken as it stands");
    }

    const std::string_view pattern_;
    size_t at_ = 0;
    bool inAddress_ = false;
};

} // namespace

std::vector<GlobMatch> ExpandGlobs(std::string_view pattern)
{
    return Expander(pattern).Run();
}

std::string FillPieces(std::string_view name, const std::vector<std::string> &pieces)
{
    std::string filled;
    while (!name.empty()) {
        const size_t digits =
            name[0] == '#' ? std::min(name.find_first_not_of("0123456789", 1), name.size()) : 1;
        const auto number = Number(name.substr(1, digits - 1));
        const bool known = number && *number > 0 && *number <= pieces.size();
        filled += known ? std::string_view(pieces[*number - 1]) : name.substr(0, digits);
        name.remove_prefix(digits);
    }
    return filled;
}

} // namespace TnxTool

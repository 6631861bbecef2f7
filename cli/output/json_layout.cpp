// Lays JSON out for people.
#include "json_layout.h"

#include "base/values.h"
#include "style.h"

namespace TnxTool
{

namespace
{

constexpr size_t MAX_DEPTH = 500; // indentation grows with the square of it
constexpr std::string_view DIGITS = "0123456789";
constexpr std::string_view HEX_DIGITS = "0123456789abcdefABCDEF";

// Reads a value from the front of a text and writes it laid out. What reads says whether it could.
class Layout
{
public:
    Layout(std::string_view text, bool color)
        : rest_(text)
        , color_(color)
    {
    }

    std::optional<std::string> Run()
    {
        const bool read = Value(0);
        SkipBlanks();
        return read && rest_.empty() ? std::optional(laid_ + "\n") : std::nullopt;
    }

private:
    bool Value(size_t depth)
    {
        SkipBlanks();
        switch (rest_.empty() ? '\0' : rest_.front()) {
        case '{':
            return Group(depth, '}');
        case '[':
            return Group(depth, ']');
        case '"':
            return String(Color::GREEN);
        case 't':
            return Word("true");
        case 'f':
            return Word("false");
        case 'n':
            return Word("null");
        default:
            return Number();
        }
    }

    bool Group(size_t depth, char close)
    {
        if (depth == MAX_DEPTH) {
            return false;
        }
        laid_ += rest_.front();
        rest_.remove_prefix(1);
        if (Mark(close)) {
            return true;
        }
        do {
            BreakLine(depth + 1);
            if (close == '}' && !Name()) {
                return false;
            }
            if (!Value(depth + 1)) {
                return false;
            }
        } while (Mark(','));
        BreakLine(depth);
        return Mark(close);
    }

    bool Name()
    {
        SkipBlanks();
        if (!rest_.starts_with('"') || !String(Color::BLUE) || !Mark(':')) {
            return false;
        }
        laid_ += ' ';
        return true;
    }

    bool String(Color color)
    {
        size_t end = 1;
        while (end < rest_.size() && rest_[end] != '"') {
            const size_t length = rest_[end] == '\\' ? EscapeLength(rest_.substr(end)) : 1;
            if (length == 0 || static_cast<unsigned char>(rest_[end]) < 0x20) {
                return false;
            }
            end += length;
        }
        return end < rest_.size() && Take(end + 1, color);
    }

    static size_t EscapeLength(std::string_view text)
    {
        const char kind = text.size() > 1 ? text[1] : '\0';
        if (kind == 'u') {
            const std::string_view code = text.substr(2, 4);
            const bool whole =
                code.size() == 4 && code.find_first_not_of(HEX_DIGITS) == std::string_view::npos;
            return whole ? 6 : 0;
        }
        return std::string_view("\"\\/bfnrt").find(kind) != std::string_view::npos ? 2 : 0;
    }

    bool Word(std::string_view word)
    {
        return rest_.starts_with(word) && Take(word.size(), Color::MAGENTA);
    }

    bool Number()
    {
        size_t end = 0;
        const auto skip = [&](std::string_view some) {
            const bool found = end < rest_.size() && some.find(rest_[end]) != some.npos;
            end += found ? 1 : 0;
            return found;
        };
        const auto digits = [&] {
            const size_t start = end;
            end = std::min(rest_.find_first_not_of(DIGITS, end), rest_.size());
            return end > start;
        };
        skip("-");
        if (!skip("0") && !digits()) {
            return false;
        }
        if (skip(".") && !digits()) {
            return false;
        }
        if (skip("eE")) {
            skip("+-");
            if (!digits()) {
                return false;
            }
        }
        return Take(end, Color::CYAN);
    }

    // One of the marks between values.
    bool Mark(char mark)
    {
        SkipBlanks();
        if (!rest_.starts_with(mark)) {
            return false;
        }
        laid_ += mark;
        rest_.remove_prefix(1);
        return true;
    }

    bool Take(size_t length, Color color)
    {
        const std::string_view token = rest_.substr(0, length);
        if (color_) {
            laid_ += Paint(token, color);
        } else {
            laid_ += token;
        }
        rest_.remove_prefix(length);
        return true;
    }

    void BreakLine(size_t depth) { laid_.append("\n").append(2 * depth, ' '); }

    void SkipBlanks()
    {
        rest_.remove_prefix(std::min(rest_.find_first_not_of(" \t\r\n"), rest_.size()));
    }

    std::string_view rest_;
    const bool color_;
    std::string laid_;
};

} // namespace

std::optional<std::string> LayOutJson(std::string_view text, bool color)
{
    return Layout(text, color).Run();
}

bool IsJson(std::string_view contentType)
{
    const std::string type = ToLower(Trim(contentType.substr(0, contentType.find(';'))));
    return type.ends_with("/json") || type.ends_with("+json");
}

} // namespace TnxTool

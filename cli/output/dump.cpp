// Shows debug information as curl does.
#include "dump.h"

#include <algorithm>
#include <cstdio>
#include <string_view>

#include "style.h"
#include "tnx_c.h"

namespace TnxTool
{

namespace
{

constexpr size_t HEX_WIDTH = 16;
constexpr size_t TEXT_WIDTH = 64;

template <class... Values> std::string Format(const char *format, Values... values)
{
    char text[64];
    std::snprintf(text, sizeof(text), format, values...);
    return text;
}

void AppendLines(std::string &text, const char *mark, std::string_view bytes)
{
    while (!bytes.empty()) {
        const size_t end = std::min(bytes.find('\n'), bytes.size());
        std::string_view line = bytes.substr(0, end);
        bytes.remove_prefix(std::min(end + 1, bytes.size()));
        if (line.ends_with('\r')) {
            line.remove_suffix(1);
        }
        text.append(mark).append(line).append("\n");
    }
}

void AppendPrintable(std::string &text, std::string_view bytes)
{
    for (const char c : bytes) {
        text += c >= 0x20 && c < 0x7f ? c : '.';
    }
}

void AppendHex(std::string &text, std::string_view bytes)
{
    for (size_t at = 0; at < bytes.size(); at += HEX_WIDTH) {
        const std::string_view row = bytes.substr(at, HEX_WIDTH);
        text += Format("%04zx: ", at);
        for (size_t column = 0; column < HEX_WIDTH; ++column) {
            text += column < row.size()
                        ? Format("%02x ",
                                 static_cast<unsigned>(static_cast<unsigned char>(row[column])))
                        : "   ";
        }
        AppendPrintable(text, row);
        text += '\n';
    }
}

// Rows end at line ends too, which are not shown.
void AppendText(std::string &text, std::string_view bytes)
{
    for (size_t at = 0; at < bytes.size();) {
        const std::string_view row = bytes.substr(at, TEXT_WIDTH);
        const size_t lineEnd = bytes.substr(at, TEXT_WIDTH + 2).find("\r\n");
        const bool ends = lineEnd != std::string_view::npos;
        text += Format("%04zx: ", at);
        AppendPrintable(text, ends ? row.substr(0, lineEnd) : row);
        text += '\n';
        at += ends ? lineEnd + 2 : row.size();
    }
}

const char *TraceTitle(uint32_t kind)
{
    switch (kind) {
    case TNX_DEBUG_HEADER_IN:
        return "<= Recv header";
    case TNX_DEBUG_HEADER_OUT:
        return "=> Send header";
    case TNX_DEBUG_DATA_IN:
        return "<= Recv data";
    case TNX_DEBUG_DATA_OUT:
        return "=> Send data";
    case TNX_DEBUG_TLS_DATA_IN:
        return "<= Recv SSL data";
    default:
        return "=> Send SSL data";
    }
}

} // namespace

std::string VerboseText(uint32_t kind, std::string_view bytes, bool color)
{
    const char *mark = kind == TNX_DEBUG_TEXT         ? "* "
                       : kind == TNX_DEBUG_HEADER_OUT ? "> "
                       : kind == TNX_DEBUG_HEADER_IN  ? "< "
                                                      : nullptr;
    std::string text;
    if (mark != nullptr) {
        const std::string painted =
            color && kind != TNX_DEBUG_TEXT ? PaintHead(bytes) : std::string(bytes);
        AppendLines(text, mark, painted);
    }
    return text;
}

std::string TraceText(uint32_t kind, std::string_view bytes, bool hex)
{
    std::string text;
    if (kind == TNX_DEBUG_TEXT) {
        AppendLines(text, "== Info: ", bytes);
    } else {
        text = TraceTitle(kind) + Format(", %zu bytes (0x%zx)\n", bytes.size(), bytes.size());
        (hex ? AppendHex : AppendText)(text, bytes);
    }
    return text;
}

} // namespace TnxTool

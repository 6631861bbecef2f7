// Reads the values of options.
#include "values.h"

#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <new>
#include <sstream>

#include "handles.h"

namespace TnxTool
{

namespace
{

// As in a form, where a blank is "+".
std::string FormEncode(std::string_view text)
{
    std::string encoded;
    for (const std::string &piece : Split(text, ' ')) {
        encoded += UrlEncode(piece) + "+";
    }
    encoded.pop_back();
    return encoded;
}

// Takes one word of a -F value from the front of `text`: quoted, or up to a semicolon.
std::string TakeWord(std::string_view &text)
{
    std::string word;
    if (text.starts_with('"')) {
        size_t at = 1;
        while (at < text.size() && text[at] != '"') {
            if (text[at] == '\\' && at + 1 < text.size() &&
                (text[at + 1] == '"' || text[at + 1] == '\\')) {
                ++at;
            }
            word += text[at++];
        }
        text.remove_prefix(std::min(text.size(), at + 1));
        return word;
    }
    const size_t end = std::min(text.find(';'), text.size());
    word = text.substr(0, end);
    text.remove_prefix(end);
    return word;
}

void ParseFormAttribute(FormPart &part, std::string_view &rest)
{
    rest = Trim(rest);
    if (rest.starts_with("type=")) {
        rest.remove_prefix(5);
        part.contentType = TakeWord(rest);
    } else if (rest.starts_with("filename=")) {
        rest.remove_prefix(9);
        part.fileName = TakeWord(rest);
    } else {
        throw UsageError("what follows the semicolon in '" + std::string(rest) +
                         "' is not type= or filename=; quote the value or use --form-string");
    }
}

} // namespace

uint32_t ParseNumber(const std::string &value, uint32_t most)
{
    uint32_t number = 0;
    const char *end = value.data() + value.size();
    const auto [rest, error] = std::from_chars(value.data(), end, number);
    if (error != std::errc{} || rest != end || number > most) {
        throw UsageError("expected a number from 0 to " + std::to_string(most) + ", not '" + value +
                         "'");
    }
    return number;
}

uint64_t ParseSize(const std::string &value)
{
    constexpr std::string_view units = "BKMGT";
    double number = 0;
    const char *end = value.data() + value.size();
    const auto [rest, error] = std::from_chars(value.data(), end, number, std::chars_format::fixed);
    const size_t power =
        rest + 1 == end ? units.find(*rest >= 'a' ? static_cast<char>(*rest - 'a' + 'A') : *rest)
                        : 0;
    const double bytes =
        power > units.size() ? 0 : std::ldexp(number, 10 * static_cast<int>(power));
    if (error != std::errc{} || rest + 1 < end || bytes < 1 || bytes >= 0x1p63) {
        throw UsageError("expected a number of bytes, K, M, G or T, not '" + value + "'");
    }
    return static_cast<uint64_t>(bytes);
}

uint32_t ParseSeconds(const std::string &value)
{
    double seconds = 0;
    const char *end = value.data() + value.size();
    const auto [rest, error] =
        std::from_chars(value.data(), end, seconds, std::chars_format::fixed);
    if (error != std::errc{} || rest != end || seconds < 0 || seconds > 4e6) {
        throw UsageError("expected a number of seconds, not '" + value + "'");
    }
    return seconds == 0 ? TNX_NO_TIMEOUT
                        : static_cast<uint32_t>(std::max(1.0, std::round(seconds * 1000)));
}

uint32_t ParsePace(const std::string &value)
{
    const size_t slash = value.find('/');
    const char unit = value.empty() ? '\0' : value.back();
    const size_t index = std::string_view("smhd").find(unit);
    if (slash == std::string::npos || index == std::string_view::npos) {
        throw UsageError("expected number/s, /m, /h or /d, not '" + value + "'");
    }
    constexpr uint32_t day = 86400;
    constexpr uint32_t lengths[] = {1, 60, 3600, day};
    const std::string span = value.substr(slash + 1, value.size() - slash - 2);
    const uint64_t seconds = uint64_t{span.empty() ? 1 : ParseNumber(span, day)} * lengths[index];
    const uint64_t count = std::max(1U, ParseNumber(value.substr(0, slash)));
    return static_cast<uint32_t>(std::min<uint64_t>(seconds * 1000 / count, UINT32_MAX));
}

std::string ReadWhole(const std::string &path)
{
    std::ostringstream content;
    if (path == "-") {
        content << std::cin.rdbuf();
        return std::move(content).str();
    }
    std::ifstream file(path, std::ios::binary);
    if (!file || file.peek() == std::ifstream::traits_type::eof()) {
        if (!file.eof()) { // an empty file is content too, a directory or a missing file is not
            throw UsageError("cannot read '" + path + "': " + std::strerror(errno));
        }
        return {};
    }
    content << file.rdbuf();
    return std::move(content).str();
}

std::optional<uint64_t> FileSize(const std::string &path)
{
    std::error_code error;
    if (path == "-" || !std::filesystem::is_regular_file(path, error)) {
        return std::nullopt;
    }
    const uint64_t size = std::filesystem::file_size(path, error);
    return error ? std::nullopt : std::optional(size);
}

std::string UrlEncode(std::string_view text)
{
    const TextHandle escaped(OVX_Tnx_EscapeUrlText(text.data(), text.size()));
    return escaped == nullptr ? throw std::bad_alloc() : escaped.get();
}

std::string UrlDecode(const std::string &text)
{
    size_t length = 0;
    const TextHandle plain(OVX_Tnx_UnescapeUrlText(text.c_str(), &length));
    return plain == nullptr ? throw std::bad_alloc() : std::string(plain.get(), length);
}

std::string ToLower(std::string_view text)
{
    std::string lower(text);
    for (char &c : lower) {
        c = c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
    }
    return lower;
}

std::string_view Trim(std::string_view text)
{
    constexpr std::string_view blanks = " \t\r\n";
    const size_t first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

std::vector<std::string> Split(std::string_view text, char separator)
{
    std::vector<std::string> pieces;
    for (size_t at = 0; at <= text.size();) {
        const size_t end = std::min(text.find(separator, at), text.size());
        pieces.emplace_back(text.substr(at, end - at));
        at = end + 1;
    }
    return pieces;
}

std::string DataBinaryValue(const std::string &value)
{
    return value.starts_with('@') ? ReadWhole(value.substr(1)) : value;
}

std::string DataValue(const std::string &value)
{
    if (!value.starts_with('@')) {
        return value;
    }
    std::string content = ReadWhole(value.substr(1));
    std::erase_if(content, [](char c) { return c == '\r' || c == '\n' || c == '\0'; });
    return content;
}

std::string DataUrlencodeValue(const std::string &value)
{
    size_t mark = value.find('=');
    if (mark == std::string::npos) {
        mark = value.find('@');
    }
    if (mark == std::string::npos) {
        return FormEncode(value);
    }
    const std::string name = value.substr(0, mark);
    const std::string rest = value.substr(mark + 1);
    const std::string encoded = FormEncode(value[mark] == '@' ? ReadWhole(rest) : rest);
    return name.empty() ? encoded : name + "=" + encoded;
}

FormPart ParseForm(const std::string &value)
{
    const size_t mark = value.find('=');
    if (mark == std::string::npos) {
        throw UsageError("expected name=content, not '" + value + "'");
    }
    FormPart part;
    part.name = value.substr(0, mark);
    std::string_view rest = std::string_view(value).substr(mark + 1);
    if (rest.starts_with('(')) {
        throw UsageError("parts within parts are out of reach of this library's forms");
    }
    const char kind = rest.empty() ? '\0' : rest.front();
    if (kind == '@' || kind == '<') {
        rest.remove_prefix(1);
    }
    part.value = TakeWord(rest);
    while (rest.starts_with(';')) {
        rest.remove_prefix(1);
        ParseFormAttribute(part, rest);
    }
    if (kind == '@') {
        part.kind = FormPart::Kind::FILE;
    } else if (kind == '<') {
        part.value = ReadWhole(part.value);
    }
    return part;
}

} // namespace TnxTool

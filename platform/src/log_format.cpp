// printf's formats with {public} and {private}. The compiler cannot check them, so they are parsed
// strictly and each argument is taken by its own type.
#include "log_format.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace OHOS::Pelloria::Platform
{
namespace
{

// One conversion of a format, with `format` as printf wants it.
struct Conversion {
    bool isPublic = false;
    bool isLong = false;
    char kind = '\0';
    char format[24] = "%";
};

// Moves `at` over `word` if it stands there.
bool Skip(const char *&at, std::string_view word)
{
    if (std::strncmp(at, word.data(), word.size()) != 0) {
        return false;
    }
    at += word.size();
    return true;
}

// Reads what follows a percent sign and moves `at` over it.
bool Parse(const char *&at, Conversion &conversion)
{
    conversion.isPublic = Skip(at, "{public}");
    if (!conversion.isPublic) {
        Skip(at, "{private}");
    }
    const size_t flags = std::strspn(at, "-+ #0123456789.");
    const size_t lengths = std::strspn(at + flags, "lzj");
    const size_t whole = flags + lengths + 1;
    if (lengths > 2 || whole + 2 > sizeof(conversion.format) || at[whole - 1] == '\0') {
        return false;
    }
    std::memcpy(conversion.format + 1, at, whole);
    conversion.format[whole + 1] = '\0';
    conversion.isLong = lengths > 0;
    conversion.kind = at[whole - 1];
    at += whole;
    return !conversion.isLong || std::strchr("diuxXo", conversion.kind) != nullptr;
}

template <class T> void AppendArgument(LogText &text, const Conversion &conversion, T value)
{
    if (conversion.isPublic) {
        text.AppendFormat(conversion.format, value);
    } else {
        text.Append("<private>");
    }
}

// Every length modifier that is allowed names a type of this width.
static_assert(sizeof(long) == sizeof(long long) && sizeof(long) == sizeof(size_t));

bool AppendConversion(LogText &text, const Conversion &conversion, va_list *args)
{
    switch (conversion.kind) {
    case 'd':
    case 'i':
    case 'u':
    case 'x':
    case 'X':
    case 'o':
        if (conversion.isLong) {
            AppendArgument(text, conversion, va_arg(*args, unsigned long));
        } else {
            AppendArgument(text, conversion, va_arg(*args, unsigned int));
        }
        return true;
    case 'c':
        AppendArgument(text, conversion, va_arg(*args, int));
        return true;
    case 'f':
    case 'e':
    case 'g':
        AppendArgument(text, conversion, va_arg(*args, double));
        return true;
    case 'p':
        AppendArgument(text, conversion, va_arg(*args, void *));
        return true;
    case 's': {
        const char *string = va_arg(*args, const char *);
        AppendArgument(text, conversion, string == nullptr ? "(null)" : string);
        return true;
    }
    default:
        return false;
    }
}

} // namespace

void LogText::Append(std::string_view text)
{
    const size_t fits = std::min(text.size(), MAX_TEXT - length_);
    std::memcpy(bytes_ + length_, text.data(), fits);
    length_ += fits;
}

void LogText::AppendFormat(const char *format, ...)
{
    va_list args;
    va_start(args, format);
    const int wanted = std::vsnprintf(bytes_ + length_, MAX_TEXT + 1 - length_, format, args);
    va_end(args);
    if (wanted > 0) {
        length_ += std::min(static_cast<size_t>(wanted), MAX_TEXT - length_);
    }
}

void LogText::FinishLine()
{
    const auto isBreak = [](char c) { return c == '\n' || c == '\r'; };
    std::replace_if(bytes_, bytes_ + length_, isBreak, ' ');
    bytes_[length_++] = '\n';
}

bool AppendMarkedFormat(LogText &text, const char *format, va_list args)
{
    va_list rest;
    va_copy(rest, args);
    bool understood = true;
    while (*format != '\0' && understood) {
        const size_t plain = std::strcspn(format, "%");
        text.Append({format, plain});
        format += plain;
        if (Skip(format, "%%")) {
            text.Append("%");
        } else if (*format == '%') {
            const char *start = format++;
            Conversion conversion;
            understood = Parse(format, conversion) && AppendConversion(text, conversion, &rest);
            format = understood ? format : start;
        }
    }
    text.Append(format);
    va_end(rest);
    return understood;
}

} // namespace OHOS::Pelloria::Platform

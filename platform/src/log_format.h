// Formats a log line in place: no memory is allocated, what does not fit is cut.
#ifndef TNX_PLATFORM_SRC_LOG_FORMAT_H
#define TNX_PLATFORM_SRC_LOG_FORMAT_H

#include <cstdarg>
#include <cstddef>
#include <string_view>

namespace OHOS::Pelloria::Platform
{

class LogText
{
public:
    void Append(std::string_view text);
    void AppendFormat(const char *format, ...);
    // Puts line breaks out of the text and one at its end.
    void FinishLine();

    size_t Length() const { return length_; }
    std::string_view From(size_t start) const { return {bytes_ + start, length_ - start}; }

private:
    static constexpr size_t MAX_TEXT = 4095; // leaves room for the line break
    char bytes_[MAX_TEXT + 1];
    size_t length_ = 0;
};

// False when the format is not understood; what comes after that place is then taken as text.
bool AppendMarkedFormat(LogText &text, const char *format, va_list args);

} // namespace OHOS::Pelloria::Platform

#endif

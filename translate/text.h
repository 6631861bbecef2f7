// Strings made of the texts and bytes of C records.
#ifndef TNX_TRANSLATE_TEXT_H
#define TNX_TRANSLATE_TEXT_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

namespace OHOS::Pelloria::TnxC
{

// Null counts as the empty text.
inline std::string TextOf(const char *text)
{
    return text == nullptr ? std::string() : std::string(text);
}

// The text in an array of a record, whole even where its terminator is missing.
template <size_t N> std::string TextIn(const char (&array)[N])
{
    return std::string(array, strnlen(array, N));
}

// Any bytes; null counts as none.
inline std::string BytesOf(const char *data, uint32_t length)
{
    return data == nullptr ? std::string() : std::string(data, length);
}

} // namespace OHOS::Pelloria::TnxC

#endif

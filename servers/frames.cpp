// Builds frames.
#include "frames.h"

namespace OHOS::Pelloria::TnxTest
{

namespace Http2
{

namespace
{

// A string with its length, of which seven bits fit into the first byte (RFC 7541 section 5.1).
std::string Literal(const std::string &text)
{
    constexpr size_t FULL = 127;
    std::string length;
    if (text.size() < FULL) {
        length += static_cast<char>(text.size());
    } else {
        length += static_cast<char>(FULL);
        size_t rest = text.size() - FULL;
        for (; rest > FULL; rest >>= 7) {
            length += static_cast<char>(0x80 | (rest & 0x7f));
        }
        length += static_cast<char>(rest);
    }
    return length + text;
}

} // namespace

std::string Number(uint64_t number, int bytes)
{
    std::string text;
    for (int i = bytes - 1; i >= 0; --i) {
        text += static_cast<char>(number >> (8 * i));
    }
    return text;
}

std::string Frame(int type, int flags, const std::string &payload, uint32_t stream)
{
    return Number(payload.size(), 3) + static_cast<char>(type) + static_cast<char>(flags) +
           Number(stream, 4) + payload;
}

std::string Block(const Fields &fields)
{
    std::string block;
    for (const auto &[name, value] : fields) {
        block += '\0' + Literal(name) + Literal(value);
    }
    return block;
}

std::string Head(const Fields &fields, int flags, uint32_t stream)
{
    return Frame(HEADERS, flags | END_HEADERS, Block(fields), stream);
}

} // namespace Http2

} // namespace OHOS::Pelloria::TnxTest

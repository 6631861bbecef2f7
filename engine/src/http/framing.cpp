// Reads content-length and transfer-encoding.
#include "framing.h"

#include <charconv>
#include <limits>
#include <string_view>
#include <utility>

#include "base/text.h"

namespace OHOS::Pelloria::Tnx
{
namespace
{

constexpr uint64_t MAX_LENGTH = std::numeric_limits<int64_t>::max(); // that libcurl can count

// Whether `accept` does for every member of a list (RFC 9110 section 5.6.1).
template <class Accept> bool AllMembers(std::string_view rest, const Accept &accept)
{
    for (;;) {
        const size_t comma = rest.find(',');
        if (!accept(Trim(rest.substr(0, comma)))) {
            return false;
        }
        if (comma == std::string_view::npos) {
            return true;
        }
        rest.remove_prefix(comma + 1);
    }
}

// The same for all lists under a name. A value that begins with a blank was folded, its first line
// empty, which is all that libcurl looks at.
template <class Accept>
bool AllMembers(const HeaderFields &fields, std::string_view name, const Accept &accept)
{
    for (const HeaderField &field : fields) {
        if (field.name == name &&
            (field.value.starts_with(' ') || !AllMembers(field.value, accept))) {
            return false;
        }
    }
    return true;
}

// Digits and nothing else. A repeated length is one, if it is the same every time.
bool TakeLength(std::string_view text, std::optional<uint64_t> &length)
{
    uint64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    const bool good =
        error == std::errc() && end == text.data() + text.size() && number <= MAX_LENGTH;
    return good && number == length.value_or(number) && (length = number, true);
}

// Any other coding would have to be asked for.
bool OnlyChunked(const HeaderFields &fields)
{
    bool chunked = false;
    return AllMembers(fields, "transfer-encoding", [&chunked](std::string_view coding) {
        return EqualsIgnoringCase(coding, "chunked") && !std::exchange(chunked, true);
    });
}

} // namespace

Framing ReadFraming(const HeaderBlock &block)
{
    const HeaderFields &fields = block.Fields();
    const bool hasLength = block.Has(HeaderBlock::CONTENT_LENGTH);
    const bool isCoded = block.Has(HeaderBlock::TRANSFER_ENCODING);
    Framing framing;
    if (!block.Final() && (hasLength || isCoded)) {
        framing.problem = "An interim response announces a body"; // libcurl would count on it
    } else if (isCoded && !OnlyChunked(fields)) {
        framing.problem = "The transfer coding is not the one that every client knows";
    } else if (isCoded) {
        framing.ambiguous = block.Old() || hasLength; // RFC 9112 section 6.1
    } else if (hasLength &&
               !AllMembers(fields, "content-length", [&framing](std::string_view text) {
                   return TakeLength(text, framing.length);
               })) {
        framing.problem = "The content-length is not one number";
    }
    return framing;
}

} // namespace OHOS::Pelloria::Tnx

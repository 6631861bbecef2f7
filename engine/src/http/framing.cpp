// Reads content-length and transfer-encoding.
#include "framing.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/text.h"

namespace OHOS::Pelloria::Tnx
{
namespace
{

using Values = std::vector<std::string>;

constexpr uint64_t MAX_LENGTH = std::numeric_limits<int64_t>::max(); // that libcurl can count

const Values &Find(const Headers &fields, const std::string &name)
{
    static const Values none;
    const auto field = fields.find(name);
    return field != fields.end() ? field->second : none;
}

// Whether `accept` does for every member of the list (RFC 9110 section 5.6.1).
template <class Accept> bool AllMembers(const Values &values, Accept accept)
{
    return std::all_of(values.begin(), values.end(), [&accept](std::string_view rest) {
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
    });
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
bool OnlyChunked(const Values &codings)
{
    bool chunked = false;
    return AllMembers(codings, [&chunked](std::string_view coding) {
        return EqualsIgnoringCase(coding, "chunked") && !std::exchange(chunked, true);
    });
}

} // namespace

Framing ReadFraming(const HeaderBlock &block)
{
    static const std::string contentLength = "content-length";
    static const std::string transferEncoding = "transfer-encoding";
    const Values &lengths = Find(*block.Fields(), contentLength);
    const Values &codings = Find(*block.Fields(), transferEncoding);
    Framing framing;
    if (!block.Final() && !(lengths.empty() && codings.empty())) {
        framing.problem = "An interim response announces a body"; // libcurl would count on it
    } else if (!OnlyChunked(codings)) {
        framing.problem = "The transfer coding is not the one that every client knows";
    } else if (!codings.empty()) {
        framing.ambiguous = block.Old() || !lengths.empty(); // RFC 9112 section 6.1
    } else if (!AllMembers(lengths, [&framing](std::string_view text) {
                   return TakeLength(text, framing.length);
               })) {
        framing.problem = "The content-length is not one number";
    }
    return framing;
}

} // namespace OHOS::Pelloria::Tnx

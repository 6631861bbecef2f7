// Checks what the application wants to send.
#include "bad_fields.h"

#include <algorithm>
#include <optional>
#include <string_view>
#include <variant>
#include <vector>

#include "base/text.h"

namespace OHOS::Pelloria::Tnx
{
namespace
{

constexpr bool IsTokenChar(char c)
{
    constexpr std::string_view PUNCTUATION = "!#$%&'*+-.^_`|~";
    return IsDigit(c) || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
           PUNCTUATION.find(c) != std::string_view::npos;
}

bool IsToken(std::string_view text)
{
    return !text.empty() && std::all_of(text.begin(), text.end(), IsTokenChar);
}

bool IsSafeValue(std::string_view value)
{
    return value.find_first_of(std::string_view("\r\n\0", 3)) == std::string_view::npos;
}

// Whether a content-length of the application's is true, or the one thing that tells the length of
// a pulled body.
bool IsLengthOfBody(const Request &request, uint64_t length)
{
    const RequestContent *const content = request.GetContent().get();
    if (content == nullptr || std::holds_alternative<std::monostate>(content->Get())) {
        return length == 0;
    }
    if (const auto *text = std::get_if<std::shared_ptr<std::string>>(&content->Get())) {
        return length == (*text != nullptr ? (*text)->size() : 0);
    }
    if (const auto *source = std::get_if<BodySource>(&content->Get())) {
        return length == source->length.value_or(length);
    }
    return std::holds_alternative<GetDataFunction>(content->Get());
}

// Where a message ends is not for the application to say: a peer that believed it would take what
// follows for another message. Returns what is wrong, or nothing.
std::string FindBadFraming(const Request &request, const std::string &name,
                           const std::vector<std::string> &values)
{
    if (EqualsIgnoringCase(name, "transfer-encoding") && !values.empty()) {
        return "the header " + name + " is not for the application to set";
    }
    if (!EqualsIgnoringCase(name, "content-length")) {
        return {};
    }
    for (const std::string &value : values) {
        const std::optional<uint64_t> length = ParseNumber(value);
        if (values.size() > 1 || !length || !IsLengthOfBody(request, *length)) {
            return "the header " + name + ": " + value + " does not tell the length of the body";
        }
    }
    return {};
}

} // namespace

std::string FindBadField(const Request &request)
{
    if (!IsToken(request.GetMethod())) {
        return "the method is not a token";
    }
    for (const auto &[name, values] : request.GetHeaders()) {
        if (!IsToken(name)) {
            return "a header name is not a token";
        }
        if (!std::all_of(values.begin(), values.end(), IsSafeValue)) {
            return "the value of the header " + name + " holds CR, LF or NUL";
        }
        if (std::string bad = FindBadFraming(request, name, values); !bad.empty()) {
            return bad;
        }
    }
    for (const auto &[name, value] : request.GetRequestCookies()) {
        if (HasControl(name) || HasControl(value)) {
            return "a cookie holds a control character";
        }
    }
    return {};
}

} // namespace OHOS::Pelloria::Tnx

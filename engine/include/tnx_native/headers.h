// The containers that a request is made of, header fields, cookies and byte ranges, and the cookies
// of a response.
#ifndef TNX_NATIVE_HEADERS_H
#define TNX_NATIVE_HEADERS_H

#include <cstdint>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace OHOS::Pelloria::Tnx
{

// Who gave a field of a request. Where a name may stand once, the one named first here wins.
// OMITTED: it has no values, and no default of its name is sent either.
enum class FieldSource : uint8_t { REQUEST, SESSION, DEFAULT, OMITTED };

// The values of a field, in order, and the source of the first.
struct FieldValues : std::vector<std::string> {
    using vector::vector;

    FieldSource source = FieldSource::REQUEST;
};

// The fields of a request, each spelling of a name once.
using Headers = std::vector<std::pair<std::string, FieldValues>>;

// From a cookie name to its value.
using RequestCookies = std::unordered_map<std::string, std::string>;

// One byte range: a bound that is not there is open.
struct ByteRange {
    std::optional<int64_t> from;
    std::optional<int64_t> to;
};

using TransferRange = std::vector<ByteRange>;

// A cookie that a response set.
struct ResponseCookie {
    std::string name;
    std::string value;
    std::string domain;
    std::string path;
    std::string expires; // as received
    std::optional<int64_t> maxAge;
    std::optional<bool> secure;
    std::optional<bool> httpOnly;
    std::string sameSite;
    int64_t expiryTime = 0; // seconds since 1970; 0: a session cookie, 1: expired
    std::string raw;
    std::unordered_map<std::string, std::string> attributes; // names in lower case
};

using ResponseCookies = std::vector<ResponseCookie>;

} // namespace OHOS::Pelloria::Tnx

#endif

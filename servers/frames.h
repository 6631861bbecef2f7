// The frames of HTTP/2 (RFC 9113), good and bad, as bytes.
#ifndef TNX_TESTS_SERVERS_FRAMES_H
#define TNX_TESTS_SERVERS_FRAMES_H

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace OHOS::Pelloria::TnxTest
{

namespace Http2
{

enum Type {
    DATA,
    HEADERS,
    PRIORITY,
    RST_STREAM,
    SETTINGS,
    PUSH_PROMISE,
    PING,
    GOAWAY,
    WINDOW_UPDATE,
    CONTINUATION
};

constexpr int END_STREAM = 1;
constexpr int ACK = 1;
constexpr int END_HEADERS = 4;
constexpr int PADDED = 8;
constexpr int WITH_PRIORITY = 32;

using Fields = std::vector<std::pair<std::string, std::string>>;

// Big-endian.
std::string Number(uint64_t number, int bytes);

// On the first stream unless another is named.
std::string Frame(int type, int flags, const std::string &payload, uint32_t stream = 1);

// Literals, so that nothing has to be remembered (RFC 7541 section 6.2.2).
std::string Block(const Fields &fields);

// A whole header section.
std::string Head(const Fields &fields, int flags = 0, uint32_t stream = 1);

} // namespace Http2

} // namespace OHOS::Pelloria::TnxTest

#endif

// The bodies of one exchange.
#include "bodies.h"

#include <charconv>

#include "base/values.h"

namespace TnxTool
{

namespace
{

// The library records no more of what a request sends and receives.
constexpr size_t MAX_RECORDED = 1024 * 1024;

std::optional<uint64_t> Length(const std::string &field)
{
    uint64_t length = 0;
    const auto [end, error] = std::from_chars(field.data(), field.data() + field.size(), length);
    const bool whole = error == std::errc{} && end == field.data() + field.size();
    return whole ? std::optional(length) : std::nullopt;
}

// Undoes the chunked transfer coding (RFC 9112 section 7.1); nothing where it does not end.
std::optional<std::string> WithoutChunks(std::string_view framed)
{
    std::string body;
    for (;;) {
        size_t size = 0;
        const char *end = framed.data() + framed.size();
        const auto [rest, error] = std::from_chars(framed.data(), end, size, 16);
        const size_t start = framed.find('\n') + 1; // npos + 1 is 0
        if (error != std::errc{} || start == 0 || framed.size() - start < size) {
            return std::nullopt;
        }
        if (size == 0) {
            return body;
        }
        body += framed.substr(start, size);
        framed.remove_prefix(std::min(framed.size(), start + size + 2));
    }
}

} // namespace

std::optional<std::string> SentBody(const Hop &hop)
{
    if (ToLower(hop.RequestField("transfer-encoding")) == "chunked") {
        return WithoutChunks(hop.body);
    }
    const auto length = Length(hop.RequestField("content-length"));
    const bool whole = length ? hop.body.size() == *length : hop.body.size() < MAX_RECORDED;
    return whole ? std::optional(hop.body) : std::nullopt;
}

std::optional<uint64_t> SentSize(const Hop &hop)
{
    if (const auto length = Length(hop.RequestField("content-length"))) {
        return length;
    }
    const auto body = SentBody(hop);
    return body ? std::optional<uint64_t>(body->size()) : std::nullopt;
}

std::optional<uint64_t> AnnouncedSize(const Hop &hop)
{
    if (hop.method == "HEAD" || hop.status == 204 || hop.status == 304) {
        return 0;
    }
    return Length(hop.AnswerField("content-length"));
}

} // namespace TnxTool

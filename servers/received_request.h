// One request as a test server received it, and the reader that takes it off the wire.
#ifndef TNX_TESTS_SERVERS_RECEIVED_REQUEST_H
#define TNX_TESTS_SERVERS_RECEIVED_REQUEST_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace OHOS::Pelloria::TnxTest
{

struct ReceivedRequest {
    std::string head;        // the raw bytes up to and with the empty line
    std::string rawBody;     // the raw bytes after it, chunk framing included; cut at KEPT
    std::string content;     // the body without its framing; cut at KEPT
    uint64_t length = 0;     // of the body without its framing, whole
    uint32_t connection = 0; // counted from 1, in the order of accepting
    bool complete = false;   // the body has arrived to its end

    static constexpr size_t KEPT = 8 * 1024 * 1024;

    std::string Raw() const { return head + rawBody; }
    std::string Method() const;
    std::string Target() const;
    std::vector<std::string> Fields(std::string_view name) const; // values, in any letter case
    std::string Field(std::string_view name) const;               // the first one, or ""
};

// Takes the body of one request, by content-length or in chunks.
class BodyReader
{
public:
    explicit BodyReader(const ReceivedRequest &request);

    // Takes what belongs to the body from the front of `input` into `request`.
    void Feed(std::string &input, ReceivedRequest &request);
    bool Done() const { return phase_ == Phase::DONE; }

private:
    enum class Phase { COUNTED, CHUNK_SIZE, CHUNK, CHUNK_END, TRAILERS, DONE };

    size_t TakeContent(std::string_view input, ReceivedRequest &request);
    size_t TakeLine(std::string_view input);

    Phase phase_ = Phase::DONE;
    uint64_t left_ = 0;
};

} // namespace OHOS::Pelloria::TnxTest

#endif

// Parsing of requests: just enough of RFC 9112 for what the tests send.
#include "received_request.h"

#include <algorithm>
#include <cstdlib>
#include <strings.h>

namespace OHOS::Pelloria::TnxTest
{

namespace
{

std::string Word(const std::string &line, int index)
{
    size_t begin = 0;
    for (; index > 0; --index) {
        begin = line.find(' ', begin);
        if (begin == std::string::npos) {
            return "";
        }
        ++begin;
    }
    return line.substr(begin, line.find_first_of(" \r\n", begin) - begin);
}

void Keep(std::string &to, std::string_view bytes)
{
    to.append(bytes.substr(0, ReceivedRequest::KEPT - std::min(ReceivedRequest::KEPT, to.size())));
}

} // namespace

std::string ReceivedRequest::Method() const
{
    return Word(head, 0);
}

std::string ReceivedRequest::Target() const
{
    return Word(head, 1);
}

std::vector<std::string> ReceivedRequest::Fields(std::string_view name) const
{
    std::vector<std::string> values;
    for (size_t at = head.find("\r\n"); at != std::string::npos; at = head.find("\r\n", at)) {
        at += 2;
        const size_t colon = at + name.size();
        if (colon >= head.size() || head[colon] != ':' ||
            strncasecmp(head.data() + at, name.data(), name.size()) != 0) {
            continue;
        }
        const size_t end = head.find("\r\n", colon);
        const size_t begin = std::min(end, head.find_first_not_of(" \t", colon + 1));
        values.push_back(head.substr(begin, end - begin));
    }
    return values;
}

std::string ReceivedRequest::Field(std::string_view name) const
{
    const auto values = Fields(name);
    return values.empty() ? "" : values.front();
}

BodyReader::BodyReader(const ReceivedRequest &request)
{
    if (strcasecmp(request.Field("transfer-encoding").c_str(), "chunked") == 0) {
        phase_ = Phase::CHUNK_SIZE;
        return;
    }
    left_ = std::strtoull(request.Field("content-length").c_str(), nullptr, 10);
    phase_ = left_ > 0 ? Phase::COUNTED : Phase::DONE;
}

void BodyReader::Feed(std::string &input, ReceivedRequest &request)
{
    size_t used = 0;
    while (phase_ != Phase::DONE) {
        const auto rest = std::string_view(input).substr(used);
        const bool content = phase_ == Phase::COUNTED || phase_ == Phase::CHUNK;
        const size_t taken = content ? TakeContent(rest, request) : TakeLine(rest);
        if (taken == 0) {
            break;
        }
        used += taken;
    }
    Keep(request.rawBody, std::string_view(input).substr(0, used));
    input.erase(0, used);
    request.complete = Done();
}

size_t BodyReader::TakeContent(std::string_view input, ReceivedRequest &request)
{
    const size_t taken = static_cast<size_t>(std::min<uint64_t>(left_, input.size()));
    Keep(request.content, input.substr(0, taken));
    request.length += taken;
    left_ -= taken;
    if (left_ == 0) {
        phase_ = phase_ == Phase::COUNTED ? Phase::DONE : Phase::CHUNK_END;
    }
    return taken;
}

size_t BodyReader::TakeLine(std::string_view input)
{
    const size_t end = input.find("\r\n");
    if (end == std::string_view::npos) {
        return 0;
    }
    if (phase_ == Phase::CHUNK_SIZE) {
        left_ = std::strtoull(std::string(input.substr(0, end)).c_str(), nullptr, 16);
        phase_ = left_ > 0 ? Phase::CHUNK : Phase::TRAILERS;
    } else if (phase_ == Phase::CHUNK_END) {
        phase_ = Phase::CHUNK_SIZE;
    } else if (end == 0) {
        phase_ = Phase::DONE;
    }
    return end + 2;
}

} // namespace OHOS::Pelloria::TnxTest

// Keeps what is switched on, with a bound on data.
#include "recorder.h"

#include <algorithm>
#include <utility>

namespace OHOS::Pelloria::Tnx
{
namespace
{

constexpr size_t MAX_DATA = 1024 * 1024;

static_assert(CURLINFO_TEXT == static_cast<int>(DEBUG_TEXT) &&
              CURLINFO_SSL_DATA_OUT == static_cast<int>(DEBUG_TLS_DATA_OUT));

bool IsEmptyLine(std::string_view line)
{
    return line.find_first_not_of("\r\n") == std::string_view::npos;
}

} // namespace

// Views only: a copy of a secret would stay where it was released.
std::string WithoutSecrets(std::string_view text)
{
    for (const std::string_view before : {" with user '", "authorization: ", "cookie: "}) {
        if (const size_t at = text.find(before); at != std::string_view::npos) {
            return std::string(text.substr(0, at + before.size())) + "...";
        }
    }
    const size_t scheme = text.find("://");
    if (scheme == std::string_view::npos) {
        return std::string(text);
    }
    const std::string_view head = text.substr(0, scheme + 3);
    std::string_view rest = text.substr(head.size());
    const size_t at = rest.substr(0, rest.find_first_of("/?# '")).rfind('@');
    if (at != std::string_view::npos) {
        rest.remove_prefix(at + 1);
    }
    return std::string(head).append(rest);
}

void Recorder::Record(curl_infotype type, std::string_view data)
{
    const auto kind = static_cast<uint32_t>(type);
    if (kind >= DEBUG_KINDS || !Wants(kind)) {
        return;
    }
    if (kind == DEBUG_TEXT) {
        while (data.ends_with('\n')) {
            data.remove_suffix(1);
        }
        Note(data);
        return;
    }
    if (kind == DEBUG_HEADER_IN && !std::exchange(inHeaders_, !IsEmptyLine(data)) &&
        IsEmptyLine(data)) {
        return; // seen already
    }
    trace_.Tell(kind, data);
    if (tracing_.debugKinds[kind]) {
        Keep(kind, data);
    }
}

void Recorder::Keep(uint32_t kind, std::string_view data)
{
    if (kind >= DEBUG_DATA_IN) {
        const size_t left = MAX_DATA - dataBytes_;
        if (left == 0) {
            return;
        }
        if (data.size() >= left) {
            entries_.push_back({kind, std::string(data.substr(0, left))});
            dataBytes_ = MAX_DATA;
            entries_.push_back({DEBUG_TEXT, "1 MiB of data recorded, the rest is left out"});
            return;
        }
        dataBytes_ += data.size();
    }
    entries_.push_back({kind, std::string(data)});
}

void Recorder::SeeHeaderLine(std::string_view line)
{
    if (IsEmptyLine(line)) {
        Record(CURLINFO_HEADER_IN, line);
    }
}

void Recorder::Note(std::string_view text)
{
    if (!Wants(DEBUG_TEXT)) {
        return;
    }
    std::string safe = WithoutSecrets(text);
    trace_.Tell(DEBUG_TEXT, safe);
    if (tracing_.debugKinds[DEBUG_TEXT]) {
        entries_.push_back({DEBUG_TEXT, std::move(safe)});
    }
}

void Recorder::Cause(std::string_view text)
{
    entries_.push_back({DEBUG_TEXT, WithoutSecrets(text), true});
}

} // namespace OHOS::Pelloria::Tnx

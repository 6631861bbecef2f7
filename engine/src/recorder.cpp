// Keeps what is switched on, with a bound on data.
#include "recorder.h"

#include <algorithm>

namespace OHOS::Pelloria::Tnx
{
namespace
{

constexpr size_t MAX_DATA = 1024 * 1024;

static_assert(CURLINFO_TEXT == static_cast<int>(DEBUG_TEXT) &&
              CURLINFO_SSL_DATA_OUT == static_cast<int>(DEBUG_TLS_DATA_OUT));

} // namespace

void Recorder::Record(curl_infotype type, std::string_view data)
{
    const auto kind = static_cast<uint32_t>(type);
    if (kind >= DEBUG_KINDS || !tracing_.debugKinds[kind]) {
        return;
    }
    if (kind == DEBUG_TEXT) {
        while (data.ends_with('\n')) {
            data.remove_suffix(1);
        }
        // libcurl tells the name that it logs in with, which is a secret.
        data = data.substr(0, data.find(" with user '"));
    } else if (kind >= DEBUG_DATA_IN) {
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

void Recorder::Note(std::string text)
{
    if (tracing_.debugKinds[DEBUG_TEXT]) {
        entries_.push_back({DEBUG_TEXT, std::move(text)});
    }
}

} // namespace OHOS::Pelloria::Tnx

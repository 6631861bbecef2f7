// Reads the lines of a header section (RFC 9112 sections 4 and 5).
#include "header_block.h"

#include <charconv>

#include "base/text.h"

namespace OHOS::Pelloria::Tnx
{
namespace
{

constexpr size_t MAX_SIZE = 512 * 1024;
constexpr size_t MAX_FOLDS = 1000; // each makes libcurl copy the whole field

constexpr size_t USUAL_SIZE = 1024; // which few responses outgrow

std::string_view WithoutLineEnd(std::string_view line)
{
    while (!line.empty() && (line.back() == '\n' || line.back() == '\r')) {
        line.remove_suffix(1);
    }
    return line;
}

// Of "HTTP/1.1 200 OK" (RFC 9112 section 4), or "HTTP/2 200", which is libcurl's; else 0.
int32_t StatusOf(std::string_view line)
{
    const size_t code = line.find(' ') + 1; // 0: there is none
    const bool named = line.starts_with("HTTP/") && code > 6 && IsDigit(line[5]);
    const bool three =
        named && (line.size() == code + 3 || (line.size() > code + 3 && line[code + 3] == ' '));
    int32_t status = 0;
    if (three && IsDigit(line[code])) {
        std::from_chars(&line[code], &line[code] + 3, status);
    }
    return status;
}

// The field as HeaderBlock::Noted, or 0. Told by their lengths first: most fields are none of them.
uint8_t NoteOf(std::string_view name)
{
    switch (name.size()) {
    case 10:
        return name == "set-cookie" ? HeaderBlock::SET_COOKIE : 0;
    case 14:
        return name == "content-length" ? HeaderBlock::CONTENT_LENGTH : 0;
    case 16:
        return name == "content-encoding" ? HeaderBlock::CONTENT_ENCODING : 0;
    case 17:
        return name == "transfer-encoding" ? HeaderBlock::TRANSFER_ENCODING : 0;
    default:
        return 0;
    }
}

} // namespace

bool HeaderBlock::Add(std::string_view line)
{
    size_ += line.size();
    line = WithoutLineEnd(line);
    folds_ += !line.empty() && IsBlank(line.front()) ? 1 : 0;
    if (Final()) {
        // A trailer: its fields must not be merged into the header section (RFC 9110 section 6.5),
        // whatever they look like.
    } else if (!started_ || complete_) {
        Start(line);
    } else if (line.empty()) {
        complete_ = true;
    } else {
        AddField(line);
    }
    return size_ <= MAX_SIZE && folds_ <= MAX_FOLDS;
}

// A location that is empty, or a fragment only, names the resource itself (RFC 9110 section
// 10.2.2).
bool HeaderBlock::Redirects() const
{
    if (status_ != 301 && status_ != 302 && status_ != 303 && status_ != 307 && status_ != 308) {
        return false;
    }
    const std::string_view location = fields_.Find("location").value_or("");
    return !location.empty() && location.front() != '#';
}

void HeaderBlock::Start(std::string_view line)
{
    started_ = true;
    complete_ = false;
    old_ = line.starts_with("HTTP/1.0 ");
    noted_ = 0;
    fields_.Clear();
    fields_.Reserve(USUAL_SIZE);
    status_ = StatusOf(line);
}

void HeaderBlock::AddField(std::string_view line)
{
    if (IsBlank(line.front())) {
        // An obsolete line folding stands for one space (RFC 9112 section 5.2).
        if (!fields_.Empty()) {
            fields_.Extend(" ");
            fields_.Extend(Trim(line));
        }
        return;
    }
    const size_t colon = line.find(':');
    if (colon != std::string_view::npos) {
        noted_ |= NoteOf(fields_.Add(Trim(line.substr(0, colon)), Trim(line.substr(colon + 1))));
    }
}

} // namespace OHOS::Pelloria::Tnx

// Reads the lines of a header section (RFC 9112 sections 4 and 5).
#include "header_block.h"

#include <charconv>

#include "text.h"

namespace OHOS::Pelloria::Tnx
{
namespace
{

constexpr size_t MAX_SIZE = 512 * 1024;

std::string_view WithoutLineEnd(std::string_view line)
{
    while (!line.empty() && (line.back() == '\n' || line.back() == '\r')) {
        line.remove_suffix(1);
    }
    return line;
}

} // namespace

bool HeaderBlock::Add(std::string_view line)
{
    size_ += line.size();
    line = WithoutLineEnd(line);
    if (line.starts_with("HTTP/") && (complete_ || status_ == 0)) {
        Start(line);
    } else if (complete_) {
        // A trailer: its fields must not be merged into the header section (RFC 9110 section 6.5).
    } else if (line.empty()) {
        complete_ = true;
    } else if (line.front() == ' ' || line.front() == '\t') {
        Continue(line);
    } else {
        AddField(line);
    }
    return size_ <= MAX_SIZE;
}

void HeaderBlock::Start(std::string_view statusLine)
{
    if (complete_ || !fields_->empty()) {
        *this = HeaderBlock();
    }
    size_ = statusLine.size();
    const size_t space = statusLine.find(' ');
    if (space != std::string_view::npos) {
        const std::string_view code = statusLine.substr(space + 1, 3);
        std::from_chars(code.data(), code.data() + code.size(), status_);
    }
}

void HeaderBlock::AddField(std::string_view line)
{
    const size_t colon = line.find(':');
    if (colon == std::string_view::npos) {
        return;
    }
    lastName_ = Lower(Trim(line.substr(0, colon)));
    const std::string_view value = Trim(line.substr(colon + 1));
    if (lastName_ == "set-cookie") {
        setCookies_.emplace_back(value);
    }
    (*fields_)[lastName_].emplace_back(value);
}

// An obsolete line folding stands for one space (RFC 9112 section 5.2).
void HeaderBlock::Continue(std::string_view line)
{
    const auto field = fields_->find(lastName_);
    if (field == fields_->end()) {
        return;
    }
    const std::string more = " " + std::string(Trim(line));
    field->second.back() += more;
    if (lastName_ == "set-cookie") {
        setCookies_.back() += more;
    }
}

} // namespace OHOS::Pelloria::Tnx

// Builds lists of lines.
#include "line_list.h"

#include <algorithm>

#include "base/secrets.h"
#include "tnx_platform/bounded.h"

namespace OHOS::Pelloria::Tnx
{
namespace
{

void Wipe(std::string &text) noexcept
{
    if (SecretsAbout()) {
        memset_s(text.data(), text.size(), 0, text.size());
    }
    text.clear();
}

} // namespace

void LineList::Add(std::initializer_list<std::string_view> pieces)
{
    size_t length = 1;
    for (const std::string_view piece : pieces) {
        length += piece.size();
    }
    MakeRoom(length);
    lines_.push_back({.start = text_.size()});
    for (const std::string_view piece : pieces) {
        text_ += piece;
    }
    text_ += '\0';
}

// A text that grew by itself would leave its old memory as it is.
void LineList::MakeRoom(size_t more)
{
    constexpr size_t LEAST = 256;
    if (text_.size() + more <= text_.capacity()) {
        return;
    }
    std::string longer;
    longer.reserve(std::max(2 * (text_.size() + more), LEAST));
    longer = text_;
    text_.swap(longer);
    Wipe(longer);
}

curl_slist *LineList::Get()
{
    nodes_.resize(lines_.size());
    for (size_t i = 0; i < nodes_.size(); ++i) {
        curl_slist *const next = i + 1 < nodes_.size() ? &nodes_[i + 1] : nullptr;
        const Line &line = lines_[i];
        const char *const data = line.fixed != nullptr ? line.fixed : text_.data() + line.start;
        nodes_[i] = {.data = const_cast<char *>(data), .next = next}; // libcurl only reads it
    }
    return nodes_.empty() ? nullptr : nodes_.data();
}

void LineList::Clear() noexcept
{
    Wipe(text_);
    lines_.clear();
    nodes_.clear();
}

} // namespace OHOS::Pelloria::Tnx

// Header lines for libcurl, all in one text: its own lists take two pieces of memory a line.
#ifndef TNX_ENGINE_LINE_LIST_H
#define TNX_ENGINE_LINE_LIST_H

#include <cstddef>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include <curl/curl.h>

namespace OHOS::Pelloria::Tnx
{

class LineList
{
public:
    LineList() = default;
    ~LineList() { Clear(); }
    LineList(const LineList &) = delete;
    LineList &operator=(const LineList &) = delete;

    // A line, put together from pieces.
    void Add(std::initializer_list<std::string_view> pieces);

    // A line that stays where it is.
    void AddFixed(const char *line) { lines_.push_back({.fixed = line}); }

    // For libcurl, until the list changes. Null where it is empty.
    curl_slist *Get();

    // The memory stays for the next lines; secrets do not.
    void Clear() noexcept;

private:
    struct Line {
        const char *fixed = nullptr;
        size_t start = 0; // in the text, of one that is not fixed
    };

    void MakeRoom(size_t more);

    std::string text_; // a NUL behind each line
    std::vector<Line> lines_;
    std::vector<curl_slist> nodes_;
};

} // namespace OHOS::Pelloria::Tnx

#endif

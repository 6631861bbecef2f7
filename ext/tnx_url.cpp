// URLs made of their parts.
#include "tnx_c_ext/url.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>
#include <vector>

#include "tnx_native/url_text.h"

namespace
{

namespace Tnx = OHOS::Pelloria::Tnx;

// A copy for the application of what is made here, a text or none.
template <class Make> char *Give(size_t *length, const Make &make) noexcept
{
    try {
        const std::optional<std::string> text = make();
        char *copy = text ? static_cast<char *>(std::malloc(text->size() + 1)) : nullptr;
        if (copy != nullptr) {
            std::memcpy(copy, text->c_str(), text->size() + 1);
            *length = text->size();
        }
        return copy;
    } catch (...) { // memory has run out
        return nullptr;
    }
}

std::optional<std::string> Build(const char *base, const char *const *path, size_t pathCount,
                                 const Tnx_QueryPair *query, size_t queryCount)
{
    std::vector<std::string_view> pieces;
    for (size_t i = 0; i < pathCount; ++i) {
        if (path[i] == nullptr) {
            return std::nullopt;
        }
        pieces.emplace_back(path[i]);
    }
    std::vector<Tnx::QueryPair> pairs;
    for (size_t i = 0; i < queryCount; ++i) {
        const auto &[name, value] = query[i];
        if (name == nullptr) {
            return std::nullopt;
        }
        pairs.push_back({name, value == nullptr ? std::nullopt : std::optional(value)});
    }
    return Tnx::BuildUrl(base, pieces, pairs);
}

} // namespace

char *OVX_Tnx_BuildUrl(const char *base, const char *const *path, size_t pathCount,
                       const Tnx_QueryPair *query, size_t queryCount) noexcept
{
    if (base == nullptr || (path == nullptr && pathCount > 0) ||
        (query == nullptr && queryCount > 0)) {
        return nullptr;
    }
    size_t length = 0;
    return Give(&length, [&] { return Build(base, path, pathCount, query, queryCount); });
}

char *OVX_Tnx_ResolveUrl(const char *base, const char *reference) noexcept
{
    if (base == nullptr || reference == nullptr) {
        return nullptr;
    }
    size_t length = 0;
    return Give(&length, [&] { return Tnx::ResolveReference(base, reference); });
}

char *OVX_Tnx_EscapeUrlText(const char *text, size_t length) noexcept
{
    if (text == nullptr) {
        return nullptr;
    }
    size_t escaped = 0;
    return Give(&escaped, [&] { return std::optional(Tnx::EscapeUrlText({text, length})); });
}

char *OVX_Tnx_UnescapeUrlText(const char *text, size_t *length) noexcept
{
    if (text == nullptr) {
        return nullptr;
    }
    size_t bytes = 0;
    return Give(length == nullptr ? &bytes : length, [&]() -> std::optional<std::string> {
        std::string plain = Tnx::UnescapeUrlText(text);
        const bool cut = length == nullptr && plain.find('\0') != std::string::npos;
        return cut ? std::nullopt : std::optional(std::move(plain));
    });
}

void OVX_Tnx_DestroyText(char *text) noexcept
{
    std::free(text);
}

// URLs as texts, taken apart and escaped by libcurl.
#include "tnx_native/url_text.h"

#include <algorithm>
#include <climits>
#include <new>

#include "base/text.h"
#include "curl/handles.h"
#include "url.h"

namespace OHOS::Pelloria::Tnx
{
namespace
{

bool IsUrl(const std::string &text)
{
    Url url;
    return ParseUrl(text, url) == CURLE_OK;
}

constexpr bool IsLetter(char c)
{
    return ToLower(c) >= 'a' && ToLower(c) <= 'z';
}

// RFC 3986 section 3.1.
bool HasScheme(std::string_view text)
{
    const auto end = std::find_if_not(text.begin(), text.end(), [](char c) {
        return IsLetter(c) || IsDigit(c) || c == '+' || c == '-' || c == '.';
    });
    return !text.empty() && IsLetter(text.front()) && end != text.end() && *end == ':';
}

// There is no way to write it as a name: escaped it is a dot segment too.
bool IsDotSegment(std::string_view piece)
{
    return piece == "." || piece == "..";
}

// libcurl takes a length of 0 as to be counted, and an int for lengths.
int LengthFor(std::string_view text)
{
    if (text.size() > INT_MAX) {
        throw std::bad_alloc();
    }
    return static_cast<int>(text.size());
}

CurlText Had(char *text)
{
    if (text == nullptr) {
        throw std::bad_alloc();
    }
    return CurlText(text);
}

void AddPairs(std::string &query, const std::vector<QueryPair> &pairs)
{
    for (const auto &[name, value] : pairs) {
        query += query.empty() || query.back() == '&' ? "" : "&";
        query += EscapeUrlText(name);
        if (value) {
            query += "=" + EscapeUrlText(*value);
        }
    }
}

} // namespace

std::string EscapeUrlText(std::string_view bytes)
{
    return bytes.empty() ? std::string()
                         : Had(curl_easy_escape(nullptr, bytes.data(), LengthFor(bytes))).get();
}

std::string UnescapeUrlText(std::string_view text)
{
    if (text.empty()) {
        return {};
    }
    int length = 0;
    const CurlText bytes = Had(curl_easy_unescape(nullptr, text.data(), LengthFor(text), &length));
    return {bytes.get(), static_cast<size_t>(length)};
}

std::optional<std::string> BuildUrl(const std::string &base,
                                    const std::vector<std::string_view> &path,
                                    const std::vector<QueryPair> &query)
{
    if (!IsUrl(base) || std::any_of(path.begin(), path.end(), IsDotSegment)) {
        return std::nullopt;
    }
    const UrlHandle handle = MakeUrl();
    SetUrlPart(handle.get(), CURLUPART_URL, base, 0);
    std::string pairs = GetUrlPart(handle.get(), CURLUPART_QUERY);
    const std::string fragment = GetUrlPart(handle.get(), CURLUPART_FRAGMENT);
    curl_url_set(handle.get(), CURLUPART_QUERY, nullptr, 0);
    curl_url_set(handle.get(), CURLUPART_FRAGMENT, nullptr, 0);
    std::string url = GetUrlPart(handle.get(), CURLUPART_URL);
    if (!path.empty() && url.ends_with('/')) {
        url.pop_back();
    }
    for (const std::string_view piece : path) {
        url += "/" + EscapeUrlText(piece);
    }
    AddPairs(pairs, query);
    url += pairs.empty() ? "" : "?" + pairs;
    return url + (fragment.empty() ? "" : "#" + fragment);
}

std::optional<std::string> ResolveReference(const std::string &base, const std::string &reference)
{
    const std::string url = IsUrl(base) ? ResolveUrl(base, reference) : std::string();
    return HasScheme(url) ? std::optional(url) : std::nullopt;
}

} // namespace OHOS::Pelloria::Tnx

// URLs as texts: what applications make them of.
#ifndef TNX_NATIVE_URL_TEXT_H
#define TNX_NATIVE_URL_TEXT_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "export.h"

namespace OHOS::Pelloria::Tnx
{

struct QueryPair {
    std::string_view name;
    std::optional<std::string_view> value; // else the name stands alone
};

// A base, an absolute URL of http or https, with more pieces in its path and more pairs in its
// query, escaped here. Nothing where the base is none, or where a piece would climb.
TNX_NATIVE_API std::optional<std::string> BuildUrl(const std::string &base,
                                                   const std::vector<std::string_view> &path,
                                                   const std::vector<QueryPair> &query);

// A reference against a base (RFC 3986 section 5.2). Nothing where the base is no absolute URL of
// http or https, or what comes out would be none.
TNX_NATIVE_API std::optional<std::string> ResolveReference(const std::string &base,
                                                           const std::string &reference);

// Any bytes, all but unreserved characters as %XX (RFC 3986 section 2), and back. A % without two
// hexadecimal digits stays.
TNX_NATIVE_API std::string EscapeUrlText(std::string_view bytes);
TNX_NATIVE_API std::string UnescapeUrlText(std::string_view text);

} // namespace OHOS::Pelloria::Tnx

#endif

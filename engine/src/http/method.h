// What methods promise (RFC 9110 section 9.2.2).
#ifndef TNX_ENGINE_METHOD_H
#define TNX_ENGINE_METHOD_H

#include <string_view>

namespace OHOS::Pelloria::Tnx
{

// Twice does no more than once. Nobody knows that of a method that is not a standard's.
constexpr bool IsIdempotent(std::string_view method)
{
    return method == "GET" || method == "HEAD" || method == "PUT" || method == "DELETE" ||
           method == "OPTIONS" || method == "TRACE";
}

} // namespace OHOS::Pelloria::Tnx

#endif

// Header fields and cookies on their way into the engine. Names are compared byte by byte.
#include "translate/tnx_http_request_fields.h"

#include "translate/map_walk.h"

#include <algorithm>
#include <string>

namespace OHOS::Pelloria::TnxC
{

namespace
{

Tnx_Map *MapOf(const Tnx_Headers *headers)
{
    return headers == nullptr ? nullptr : headers->fields;
}

// At most as many as the names.
size_t BucketsInUse(const Tnx_Map *map)
{
    return IsUsable(map) ? map->size : 0;
}

// A list ends at a node without text too.
const Tnx_HeaderValue *WithText(const void *value)
{
    const auto *node = static_cast<const Tnx_HeaderValue *>(value);
    return node == nullptr || node->value == nullptr ? nullptr : node;
}

void AddOfSession(Tnx::FieldValues &values, const Tnx_HeaderValue *value)
{
    if (values.empty()) {
        values.source = Tnx::FieldSource::SESSION;
    }
    for (; value != nullptr; value = WithText(value->next)) {
        if (std::find(values.begin(), values.end(), value->value) == values.end()) {
            values.emplace_back(value->value);
        }
    }
}

} // namespace

Tnx::Headers TnxToCppHeaders(const Tnx_Headers *own, const Tnx_Headers *ofSession)
{
    Tnx::Headers out;
    out.reserve(BucketsInUse(MapOf(own)) + BucketsInUse(MapOf(ofSession)));
    WalkMap(MapOf(own), [&out, ofSession](const Tnx_MapEntry &entry) {
        Tnx::FieldValues &values = out.emplace_back(entry.key, Tnx::FieldValues()).second;
        for (auto *value = WithText(entry.value); value != nullptr; value = WithText(value->next)) {
            values.emplace_back(value->value);
        }
        AddOfSession(values, WithText(OVX_Tnx_GetMapEntry(MapOf(ofSession), entry.key)));
    });
    WalkMap(MapOf(ofSession), [&out, own](const Tnx_MapEntry &entry) {
        const Tnx_HeaderValue *const first = WithText(entry.value);
        if (first != nullptr && FindMapEntry(MapOf(own), entry.key) == nullptr) {
            AddOfSession(out.emplace_back(entry.key, Tnx::FieldValues()).second, first);
        }
    });
    return out;
}

void TnxToCppRequestCookies(const Tnx_RequestCookies *cookies, Tnx::RequestCookies &out)
{
    if (cookies == nullptr) {
        return;
    }
    WalkMap(cookies->fields, [&out](const Tnx_MapEntry &entry) {
        if (entry.value != nullptr) { // what a failed set leaves
            out.try_emplace(entry.key, static_cast<const char *>(entry.value));
        }
    });
}

} // namespace OHOS::Pelloria::TnxC

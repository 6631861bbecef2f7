// The cookies of a request: under each name one value.
#include "objects/map_record.h"
#include "objects/tnx_map.h"
#include "objects/tnx_record_access.h"

#include <cstring>
#include <utility>

namespace OHOS::Pelloria::TnxC
{
namespace
{

uint32_t SetCookie(Tnx_Map *map, const char *name, const char *text)
{
    // The old value goes first; null stands for it until the new one is in, so that a failure
    // leaves nothing dangling.
    if (Tnx_MapEntry *entry = FindMapEntry(map, name)) {
        std::free(std::exchange(entry->value, nullptr));
    }
    CPtr<char> value(strdup(text));
    if (value == nullptr) {
        return TNX_ERR_OUT_OF_MEMORY;
    }
    const uint32_t code = OVX_Tnx_PutMapEntry(map, name, value.get());
    if (code == TNX_OK) {
        static_cast<void>(value.release());
    }
    return code;
}

} // namespace
} // namespace OHOS::Pelloria::TnxC

using namespace OHOS::Pelloria::TnxC;

Tnx_RequestCookies *OVX_Tnx_CreateRequestCookies() noexcept
{
    return CreateMapRecord<Tnx_RequestCookies>("failed to alloc memory for cookies",
                                               "failed to alloc memory for cookiesMap");
}

uint32_t OVX_Tnx_SetRequestCookieValue(Tnx_RequestCookies *cookies, const char *name,
                                       const char *value) noexcept
{
    if (cookies == nullptr || value == nullptr || name == nullptr || cookies->fields == nullptr) {
        return TNX_ERR_PARAMETER;
    }
    return SetCookie(cookies->fields, name, value);
}

Tnx_HeaderEntry *OVX_Tnx_GetRequestCookieEntries(const Tnx_RequestCookies *cookies) noexcept
{
    if (cookies == nullptr) {
        return nullptr;
    }
    return ListMapEntries(cookies->fields, Shortage::KEEP_PART);
}

void OVX_Tnx_DestroyRequestCookies(Tnx_RequestCookies *cookies) noexcept
{
    DestroyMapRecord(cookies, std::free);
}

// The cookies that a response set, with their attributes.
#include "translate/tnx_response_cookies.h"

#include "common/c_ptr.h"
#include "common/log.h"
#include "objects/map_block.h"
#include "objects/tnx_map.h"

#include <cstring>
#include <string>
#include <utility>

namespace OHOS::Pelloria::TnxC
{
namespace
{

char *CopyText(const std::string &text)
{
    if (text.empty()) {
        return nullptr;
    }
    char *copy = strdup(text.c_str());
    if (copy == nullptr) {
        TNX_LOGE("failed to alloc memory for strValue %s", text.c_str());
    }
    return copy;
}

size_t RoomForAttributes(const Tnx::ResponseCookie &cookie)
{
    size_t room = 0;
    for (const auto &[name, value] : cookie.attributes) {
        room += RoomFor<Tnx_MapEntry>(name.size()) + RoomForText(value.size());
    }
    return room;
}

// False when memory has run out.
bool PutAttribute(Tnx_Map *map, const std::string &name, const std::string &value)
{
    char *copy = CopyTextTo(map, value.c_str());
    if (copy == nullptr) {
        return false;
    }
    // Names that differ after a NUL only are one to the map.
    void *old = OVX_Tnx_GetMapEntry(map, name.c_str());
    const bool put = OVX_Tnx_PutMapEntry(map, name.c_str(), copy) == TNX_OK;
    FreePart(map, put ? old : copy);
    return put;
}

Tnx_CookieAttributes *CopyAttributes(const Tnx::ResponseCookie &cookie)
{
    CPtr<Tnx_CookieAttributes> attributes = AllocateRecord<Tnx_CookieAttributes>();
    if (attributes == nullptr) {
        TNX_LOGE("failed to alloc memory for Tnx_CookieAttributes");
        return nullptr;
    }
    attributes->fields = CreateMap(RoomForAttributes(cookie));
    if (attributes->fields == nullptr) {
        TNX_LOGE("failed to create map for Tnx_CookieAttributes");
        return nullptr;
    }
    for (const auto &[name, value] : cookie.attributes) {
        if (!PutAttribute(attributes->fields, name, value)) {
            break;
        }
    }
    return attributes.release();
}

void CopyCookie(Tnx_ResponseCookies &copy, const Tnx::ResponseCookie &cookie)
{
    copy.name = CopyText(cookie.name);
    copy.value = CopyText(cookie.value);
    copy.domain = CopyText(cookie.domain);
    copy.path = CopyText(cookie.path);
    copy.expires = CopyText(cookie.expires);
    copy.maxAge = cookie.maxAge.value_or(0);
    copy.secure = cookie.secure.value_or(false);
    copy.httpOnly = cookie.httpOnly.value_or(false);
    copy.sameSite = CopyText(cookie.sameSite);
    copy.expiryTime = cookie.expiryTime;
    copy.raw = CopyText(cookie.raw);
    copy.cookieAttributes = CopyAttributes(cookie);
}

} // namespace

Tnx_ResponseCookies *TnxToCResponseCookies(const Tnx::ResponseCookies &cookies) noexcept
{
    std::unique_ptr<Tnx_ResponseCookies, DestroyWith<&TnxDestroyResponseCookies>> first;
    Tnx_ResponseCookies *last = nullptr;
    for (const Tnx::ResponseCookie &cookie : cookies) {
        Tnx_ResponseCookies *copy = AllocateRecord<Tnx_ResponseCookies>().release();
        if (copy == nullptr) {
            TNX_LOGE("failed to alloc memory for Tnx_ResponseCookies");
            return nullptr;
        }
        if (last == nullptr) {
            first.reset(copy);
        } else {
            last->next = copy;
        }
        last = copy;
        CopyCookie(*copy, cookie);
    }
    return first.release();
}

void TnxDestroyResponseCookies(Tnx_ResponseCookies *cookies) noexcept
{
    while (cookies != nullptr) {
        const CPtr<Tnx_ResponseCookies> cookie(std::exchange(cookies, cookies->next));
        if (cookie->cookieAttributes != nullptr) {
            DestroyMap(cookie->cookieAttributes->fields, FreePart);
            std::free(cookie->cookieAttributes);
        }
        for (char *text : {cookie->name, cookie->value, cookie->domain, cookie->path,
                           cookie->expires, cookie->sameSite, cookie->raw}) {
            std::free(text);
        }
    }
}

} // namespace OHOS::Pelloria::TnxC

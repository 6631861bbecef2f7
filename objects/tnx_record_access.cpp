// The shared bodies of the records over one map, and every name that each is exported under.
#include "objects/tnx_record_access.h"

#include "common/c_ptr.h"

#include <type_traits>
#include <utility>

namespace OHOS::Pelloria::TnxC
{
namespace
{

// A pointer to a standard-layout record points to its first member too.
template <class Record>
constexpr bool beginsWithItsMap = std::is_standard_layout_v<Record> &&
                                      std::is_same_v<decltype(Record::fields), Tnx_Map *> &&
                                          offsetof(Record, fields) == 0;
static_assert(beginsWithItsMap<Tnx_Headers> && beginsWithItsMap<Tnx_RequestCookies> &&
              beginsWithItsMap<Tnx_Form> && beginsWithItsMap<Tnx_MultipartForm> &&
              beginsWithItsMap<Tnx_CookieAttributes>);

Tnx_Map *MapOf(const void *record)
{
    return record == nullptr ? nullptr : *static_cast<Tnx_Map *const *>(record);
}

} // namespace

Tnx_HeaderEntry *ListMapEntries(Tnx_Map *map, Shortage shortage) noexcept
{
    const MapIteratorPtr iterator(map == nullptr ? nullptr : OVX_Tnx_CreateMapIterator(map));
    Tnx_HeaderEntry *first = nullptr;
    Tnx_HeaderEntry **end = &first;
    while (iterator != nullptr && iterator->entry != nullptr) {
        *end = AllocateRecord<Tnx_HeaderEntry>().release();
        if (*end == nullptr) {
            if (shortage == Shortage::DISCARD) {
                OVX_Tnx_DestroyHeaderEntries(std::exchange(first, nullptr));
            }
            break;
        }
        (*end)->key = iterator->entry->key;
        (*end)->value = iterator->entry->value;
        end = &(*end)->next;
        OVX_Tnx_MapIterateNext(iterator.get());
    }
    return first;
}

extern "C" {

void *TnxGetRecordValue(const void *record, const char *key) noexcept
{
    return OVX_Tnx_GetMapEntry(MapOf(record), key);
}

Tnx_HeaderEntry *TnxGetRecordEntries(const void *record) noexcept
{
    return ListMapEntries(MapOf(record), Shortage::DISCARD);
}

void TnxDestroyRecordEntries(Tnx_HeaderEntry *entries) noexcept
{
    while (entries != nullptr) {
        std::free(std::exchange(entries, entries->next));
    }
}

} // extern "C"

} // namespace OHOS::Pelloria::TnxC

#define TNX_ALIAS(body) noexcept __attribute__((alias(#body)))

Tnx_HeaderValue *OVX_Tnx_GetHeaderValue(const Tnx_Headers *, const char *)
    TNX_ALIAS(TnxGetRecordValue);
Tnx_FormFieldValue *OVX_Tnx_GetFormValue(const Tnx_Form *, const char *)
    TNX_ALIAS(TnxGetRecordValue);
Tnx_MultipartFormFieldValue *OVX_Tnx_GetMultipartFormValue(const Tnx_MultipartForm *, const char *)
    TNX_ALIAS(TnxGetRecordValue);
char *OVX_Tnx_GetRequestCookieValue(const Tnx_RequestCookies *, const char *)
    TNX_ALIAS(TnxGetRecordValue);
char *OVX_Tnx_GetResponseCookieAttrValue(const Tnx_CookieAttributes *, const char *)
    TNX_ALIAS(TnxGetRecordValue);

Tnx_HeaderEntry *OVX_Tnx_GetHeaderEntries(const Tnx_Headers *) TNX_ALIAS(TnxGetRecordEntries);
Tnx_HeaderEntry *OVX_Tnx_GetResponseCookieAttrEntries(const Tnx_CookieAttributes *)
    TNX_ALIAS(TnxGetRecordEntries);

void OVX_Tnx_DestroyHeaderEntries(Tnx_HeaderEntry *) TNX_ALIAS(TnxDestroyRecordEntries);
void OVX_Tnx_DestroyRequestCookieEntries(Tnx_HeaderEntry *) TNX_ALIAS(TnxDestroyRecordEntries);
void OVX_Tnx_DestroyResponseCookieAttrEntries(Tnx_HeaderEntry *) TNX_ALIAS(TnxDestroyRecordEntries);

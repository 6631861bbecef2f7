// Header fields: under each name the list of its values.
#include "objects/tnx_headers.h"

#include "objects/map_block.h"
#include "objects/map_record.h"
#include "tnx_c_ext/header_fields.h"

#include <algorithm>
#include <cstring>
#include <string_view>
#include <utility>

namespace OHOS::Pelloria::TnxC
{
namespace
{

void FreeValues(const Tnx_Map *map, void *firstValue)
{
    auto *value = static_cast<Tnx_HeaderValue *>(firstValue);
    while (value != nullptr) {
        FreePart(map, std::exchange(value, value->next));
    }
}

struct FreeValue {
    const Tnx_Map *map;
    void operator()(Tnx_HeaderValue *value) const noexcept { FreePart(map, value); }
};
using HeaderValuePtr = std::unique_ptr<Tnx_HeaderValue, FreeValue>;

HeaderValuePtr MakeHeaderValue(Tnx_Map *map, std::string_view text)
{
    HeaderValuePtr value(AllocateWithText(map, &Tnx_HeaderValue::value, text), {map});
    if (value == nullptr) {
        TNX_LOGE("failed to alloc memory for header value");
    }
    return value;
}

// All are out of the map before the first is freed: the name may be a part of one of them.
void RemoveSpellings(Tnx_Map *map, const char *name, const Tnx_MapEntry *except)
{
    Tnx_MapEntry *entry = TakeSpellings(map, name, except);
    while (entry != nullptr) {
        FreeValues(map, entry->value);
        FreePart(map, std::exchange(entry, entry->next));
    }
}

// What can fail comes first.
uint32_t ReplaceValue(Tnx_Map *map, const char *name, const char *value)
{
    HeaderValuePtr made = MakeHeaderValue(map, value);
    if (made == nullptr) {
        return TNX_ERR_OUT_OF_MEMORY;
    }
    Tnx_MapEntry *entry = FindMapEntry(map, name);
    void *old = nullptr;
    if (entry != nullptr) {
        old = std::exchange(entry->value, made.get());
    } else {
        const uint32_t code = OVX_Tnx_PutMapEntry(map, name, made.get());
        if (code != TNX_OK) {
            return code;
        }
        entry = FindMapEntry(map, name);
    }
    static_cast<void>(made.release());
    RemoveSpellings(map, entry->key, entry);
    FreeValues(map, old);
    return TNX_OK;
}

} // namespace

bool IsToken(std::string_view name)
{
    constexpr std::string_view PUNCTUATION = "!#$%&'*+-.^_`|~";
    return !name.empty() && std::all_of(name.begin(), name.end(), [&](char c) {
        return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
               PUNCTUATION.find(c) != std::string_view::npos;
    });
}

size_t RoomForHeader(size_t nameLength, size_t valueLength) noexcept
{
    return RoomFor<Tnx_MapEntry>(nameLength) + RoomFor<Tnx_HeaderValue>(valueLength);
}

Tnx_Headers *CreateHeaders(size_t room) noexcept
{
    return CreateMapRecord<Tnx_Headers>("failed to alloc for headers",
                                        "failed to alloc memory for headerMap", room);
}

uint32_t AddHeader(Tnx_Map *fields, std::string_view name, std::string_view value) noexcept
{
    return AddValue<Tnx_HeaderValue>(
        fields, name,
        [value](const Tnx_HeaderValue &other) {
            return std::strcmp(other.value, value.data()) == 0;
        },
        [fields, value] { return MakeHeaderValue(fields, value); });
}

} // namespace OHOS::Pelloria::TnxC

using namespace OHOS::Pelloria::TnxC;

Tnx_Headers *OVX_Tnx_CreateHeaders() noexcept
{
    return CreateHeaders(0);
}

uint32_t OVX_Tnx_SetHeaderValue(Tnx_Headers *headers, const char *name, const char *value) noexcept
{
    if (headers == nullptr || name == nullptr || value == nullptr || headers->fields == nullptr) {
        return TNX_ERR_PARAMETER;
    }
    return AddHeader(headers->fields, name, value);
}

const char *OVX_Tnx_FindHeader(const Tnx_Headers *headers, const char *name) noexcept
{
    if (headers == nullptr || name == nullptr || !IsUsable(headers->fields)) {
        return nullptr;
    }
    const Tnx_MapEntry *entry = FindSpelling(headers->fields, name);
    return entry == nullptr || entry->value == nullptr
               ? nullptr
               : static_cast<const Tnx_HeaderValue *>(entry->value)->value;
}

uint32_t OVX_Tnx_ReplaceHeaderValue(Tnx_Headers *headers, const char *name,
                                    const char *value) noexcept
{
    if (headers == nullptr || name == nullptr || value == nullptr || !IsUsable(headers->fields) ||
        !IsToken(name) || std::strpbrk(value, "\r\n") != nullptr) {
        return TNX_ERR_PARAMETER;
    }
    return ReplaceValue(headers->fields, name, value);
}

uint32_t OVX_Tnx_RemoveHeader(Tnx_Headers *headers, const char *name) noexcept
{
    if (headers == nullptr || name == nullptr || !IsUsable(headers->fields)) {
        return TNX_ERR_PARAMETER;
    }
    RemoveSpellings(headers->fields, name, nullptr);
    return TNX_OK;
}

void OVX_Tnx_DestroyHeaders(Tnx_Headers *headers) noexcept
{
    if (headers != nullptr) {
        DestroyMap(headers->fields, FreeValues);
        std::free(headers);
    }
}

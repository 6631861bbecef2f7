// Header fields: under each name the list of its values.
#include "objects/tnx_headers.h"

#include "objects/map_block.h"
#include "objects/map_record.h"

#include <cstring>
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

} // namespace

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

void OVX_Tnx_DestroyHeaders(Tnx_Headers *headers) noexcept
{
    if (headers != nullptr) {
        DestroyMap(headers->fields, FreeValues);
        std::free(headers);
    }
}

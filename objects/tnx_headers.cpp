// Header fields: under each name the list of its values.
#include "objects/map_record.h"
#include "objects/value_lists.h"

#include <cstring>
#include <utility>

namespace OHOS::Pelloria::TnxC
{
namespace
{

using HeaderValuePtr = std::unique_ptr<Tnx_HeaderValue, DestroyWith<&OVX_Tnx_DestroyHeaderValue>>;

HeaderValuePtr MakeHeaderValue(const char *text)
{
    HeaderValuePtr value(AllocateRecord<Tnx_HeaderValue>().release());
    if (value == nullptr) {
        TNX_LOGE("failed to alloc memory for header value");
        return nullptr;
    }
    value->value = strdup(text);
    return value->value == nullptr ? nullptr : std::move(value);
}

} // namespace
} // namespace OHOS::Pelloria::TnxC

using namespace OHOS::Pelloria::TnxC;

Tnx_Headers *OVX_Tnx_CreateHeaders() noexcept
{
    return CreateMapRecord<Tnx_Headers>("failed to alloc for headers",
                                        "failed to alloc memory for headerMap");
}

uint32_t OVX_Tnx_SetHeaderValue(Tnx_Headers *headers, const char *name, const char *value) noexcept
{
    if (headers == nullptr || name == nullptr || value == nullptr || headers->fields == nullptr) {
        return TNX_ERR_PARAMETER;
    }
    return AddValue<Tnx_HeaderValue>(
        headers->fields, name,
        [value](const Tnx_HeaderValue &other) { return std::strcmp(other.value, value) == 0; },
        [value] { return MakeHeaderValue(value); });
}

void OVX_Tnx_DestroyHeaders(Tnx_Headers *headers) noexcept
{
    DestroyMapRecord(headers, OVX_Tnx_DestroyHeaderValue);
}

void OVX_Tnx_DestroyHeaderValue(void *firstValue) noexcept
{
    auto *value = static_cast<Tnx_HeaderValue *>(firstValue);
    while (value != nullptr) {
        std::free(value->value);
        std::free(std::exchange(value, value->next));
    }
}

// URL-encoded forms: under each field name the list of its typed values.
#include "objects/map_record.h"
#include "objects/tnx_form_value.h"
#include "objects/value_lists.h"

#include <utility>

namespace OHOS::Pelloria::TnxC
{
namespace
{

CPtr<Tnx_FormFieldValue> MakeFormValue(const Tnx_FormFieldValue &source)
{
    CPtr<Tnx_FormFieldValue> value = AllocateRecord<Tnx_FormFieldValue>();
    if (value != nullptr) {
        value->type = source.type;
        value->value = source.value;
    }
    return value;
}

} // namespace

bool IsSameFormValue(const Tnx_FormFieldValue &a, const Tnx_FormFieldValue &b) noexcept
{
    if (a.type != b.type) {
        return false;
    }
    switch (a.type) {
    case TNX_FORM_FIELD_VALUE_INT32:
        return a.value.int32Value == b.value.int32Value;
    case TNX_FORM_FIELD_VALUE_INT64:
        return a.value.int64Value == b.value.int64Value;
    case TNX_FORM_FIELD_VALUE_BOOL:
        return a.value.boolValue == b.value.boolValue;
    case TNX_FORM_FIELD_VALUE_STRING:
        return a.value.stringValue.data == b.value.stringValue.data &&
               a.value.stringValue.length == b.value.stringValue.length;
    case TNX_FORM_FIELD_VALUE_DOUBLE:
        return a.value.doubleValue == b.value.doubleValue;
    default:
        return false;
    }
}

} // namespace OHOS::Pelloria::TnxC

using namespace OHOS::Pelloria::TnxC;

Tnx_Form *OVX_Tnx_CreateForm() noexcept
{
    return CreateMapRecord<Tnx_Form>("failed to alloc memory for form",
                                     "failed to createMap for Tnx_Form");
}

uint32_t OVX_Tnx_SetFormValue(Tnx_Form *form, const char *name,
                              const Tnx_FormFieldValue *value) noexcept
{
    if (form == nullptr || name == nullptr || value == nullptr || form->fields == nullptr) {
        return TNX_ERR_PARAMETER;
    }
    return AddValue<Tnx_FormFieldValue>(
        form->fields, name,
        [value](const Tnx_FormFieldValue &other) { return IsSameFormValue(other, *value); },
        [value] { return MakeFormValue(*value); });
}

void OVX_Tnx_DestroyForm(Tnx_Form *form) noexcept
{
    DestroyMapRecord(form, OVX_Tnx_DestroyFormValue);
}

void OVX_Tnx_DestroyFormValue(void *firstValue) noexcept
{
    auto *value = static_cast<Tnx_FormFieldValue *>(firstValue);
    while (value != nullptr) {
        std::free(std::exchange(value, value->next));
    }
}

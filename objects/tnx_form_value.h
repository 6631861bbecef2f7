// Comparing form values: forms and the plain values of multipart forms are compared alike.
#ifndef TNX_OBJECTS_TNX_FORM_VALUE_H
#define TNX_OBJECTS_TNX_FORM_VALUE_H

#include "tnx_c/form.h"

namespace OHOS::Pelloria::TnxC
{

// Same type and value; strings by address and length. Values of an unknown type equal none.
bool IsSameFormValue(const Tnx_FormFieldValue &a, const Tnx_FormFieldValue &b) noexcept;

} // namespace OHOS::Pelloria::TnxC

#endif

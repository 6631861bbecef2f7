// Form fields as text: typed values, and the URL-encoded form of the WHATWG URL standard.
#ifndef TNX_ENGINE_FORM_ENCODING_H
#define TNX_ENGINE_FORM_ENCODING_H

#include <string>

#include "tnx_native/content.h"

namespace OHOS::Pelloria::Tnx
{

// The text of a value, independent of the locale.
std::string FormValueText(const FormFieldValue &value);

// The body of application/x-www-form-urlencoded: fields in byte order of their names.
std::string EncodeForm(const Form &form);

} // namespace OHOS::Pelloria::Tnx

#endif

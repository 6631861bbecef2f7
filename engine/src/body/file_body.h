// A file as a body.
#ifndef TNX_ENGINE_FILE_BODY_H
#define TNX_ENGINE_FILE_BODY_H

#include <optional>
#include <string>

#include "event/delivery.h"
#include "tnx_native/content.h"

namespace OHOS::Pelloria::Tnx
{

// Opens a file, of which as much is sent as there is now. Nothing, and why, where it cannot be read
// or is none that can be read again.
std::optional<BodySource> OpenBody(const std::string &path, Delivery &delivery, std::string &why);

} // namespace OHOS::Pelloria::Tnx

#endif

// What the extensions of the interface keep of a request, in room behind its record.
#ifndef TNX_OBJECTS_REQUEST_EXTENSION_H
#define TNX_OBJECTS_REQUEST_EXTENSION_H

#include "tnx_c/request.h"

#include <type_traits>

namespace OHOS::Pelloria::TnxC
{

struct ExtendedRequest {
    Tnx_Request record; // first: the application holds its address
    bool failOnHttpError;
};

static_assert(std::is_standard_layout_v<ExtendedRequest>);

// Null for a record that OVX_Tnx_CreateRequest has not made: it has no room.
inline const ExtendedRequest *ExtensionOf(const Tnx_Request *request)
{
    const bool own = request != nullptr && request->onDataRecvCallback != nullptr;
    return own ? reinterpret_cast<const ExtendedRequest *>(request) : nullptr;
}

} // namespace OHOS::Pelloria::TnxC

#endif

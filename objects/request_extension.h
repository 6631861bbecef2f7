// What the extensions of the interface keep of a request, in room behind its record.
#ifndef TNX_OBJECTS_REQUEST_EXTENSION_H
#define TNX_OBJECTS_REQUEST_EXTENSION_H

#include "common/guard.h"
#include "objects/request_body.h"
#include "objects/request_limits.h"
#include "tnx_c/request.h"
#include "tnx_c_ext/trace.h"

#include <string>
#include <type_traits>
#include <vector>

namespace OHOS::Pelloria::TnxC
{

// What few requests have. Made when the first of it is set, goes with the request.
struct RequestExtras {
    struct {
        Tnx_OnTraceCallback callback;
        void *usrCtx;
    } trace = {};
    bool collectConnectionInfo = false;
    RequestLimits limits;
    RequestBody body;
    std::vector<std::string> omittedHeaders; // in lower case
    std::string target;                      // empty: the URL's
};

struct ExtendedRequest {
    Tnx_Request record; // first: the application holds its address
    bool failOnHttpError;
    RequestExtras *extras;
};

static_assert(std::is_standard_layout_v<ExtendedRequest>);

// Null for a record that OVX_Tnx_CreateRequest has not made: it has no room.
inline const ExtendedRequest *ExtensionOf(const Tnx_Request *request)
{
    const bool own = request != nullptr && request->onDataRecvCallback != nullptr;
    return own ? reinterpret_cast<const ExtendedRequest *>(request) : nullptr;
}

inline ExtendedRequest *ExtensionOf(Tnx_Request *request)
{
    return const_cast<ExtendedRequest *>(ExtensionOf(static_cast<const Tnx_Request *>(request)));
}

// Changes what a request has beside its record: `set` takes its extras. Returns what `set` does,
// TNX_ERR_PARAMETER for a record that has no room, or TNX_ERR_OUT_OF_MEMORY, also where `set`
// throws bad_alloc.
template <class Set> uint32_t ChangeExtras(Tnx_Request *request, Set set) noexcept
{
    ExtendedRequest *extended = ExtensionOf(request);
    if (extended == nullptr) {
        return TNX_ERR_PARAMETER;
    }
    return Guarded([&] {
        if (extended->extras == nullptr) {
            extended->extras = new RequestExtras;
        }
        return set(*extended->extras);
    });
}

} // namespace OHOS::Pelloria::TnxC

#endif

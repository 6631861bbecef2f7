// Takes sources and paths, and lets go of them.
#include "objects/request_body.h"

#include "objects/request_extension.h"

#include <utility>

namespace OHOS::Pelloria::TnxC
{

void RequestBody::Set(const Tnx_BodySource &source, std::string path) noexcept
{
    const Tnx_BodySource old = std::exchange(source_, source);
    path_ = std::move(path);
    if (old.release != nullptr) { // last: it may set another one
        GuardedCall([&old] { old.release(old.usrCtx); });
    }
}

} // namespace OHOS::Pelloria::TnxC

using namespace OHOS::Pelloria::TnxC;

uint32_t OVX_Tnx_SetRequestBodySource(Tnx_Request *request, const Tnx_BodySource *source) noexcept
{
    if (source != nullptr && (source->read == nullptr || source->length < 0)) {
        return TNX_ERR_PARAMETER;
    }
    return ChangeExtras(request, [&](RequestExtras &extras) -> uint32_t {
        extras.body.Set(source != nullptr ? *source : Tnx_BodySource{}, {});
        return TNX_OK;
    });
}

uint32_t OVX_Tnx_SetRequestBodyFile(Tnx_Request *request, const char *path) noexcept
{
    if (path != nullptr && *path == '\0') {
        return TNX_ERR_PARAMETER;
    }
    return ChangeExtras(request, [&](RequestExtras &extras) -> uint32_t {
        extras.body.Set({}, path != nullptr ? path : "");
        return TNX_OK;
    });
}

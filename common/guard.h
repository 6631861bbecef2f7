// The edge of the C interface, which no exception crosses: what is thrown below an exported
// function, by this library or by a callback of the application, becomes a code.
#ifndef TNX_COMMON_GUARD_H
#define TNX_COMMON_GUARD_H

#include "common/log.h"
#include "tnx_c/base.h"

#include <new>
#include <system_error>
#include <type_traits>

namespace OHOS::Pelloria::TnxC
{

// For what returns a code, or nothing.
template <class Body> uint32_t Guarded(const Body &body) noexcept
{
    try {
        if constexpr (std::is_void_v<decltype(body())>) {
            body();
            return TNX_OK;
        } else {
            return body();
        }
    } catch (const std::bad_alloc &) {
        return TNX_ERR_OUT_OF_MEMORY;
    } catch (const std::system_error &) { // no thread, no descriptor
        return TNX_ERR_INIT_FAILED;
    } catch (...) { // only the application throws anything else
        return TNX_ERR_CALLBACK;
    }
}

// For what returns a pointer, and a code beside it.
template <class Body> auto Guarded(uint32_t *errCode, const Body &body) noexcept -> decltype(body())
{
    decltype(body()) result = nullptr;
    const uint32_t thrown = Guarded([&] { result = body(); });
    if (thrown != TNX_OK) {
        *errCode = thrown;
    }
    return result;
}

// For callbacks that tell the end of something, after which nobody takes a code.
template <class Body> void GuardedCall(const Body &body) noexcept
{
    if (Guarded([&body] { body(); }) != TNX_OK) {
        TNX_LOGE("a callback threw an exception");
    }
}

} // namespace OHOS::Pelloria::TnxC

#endif

// The versions of the library and of what it stands on.
#include "tnx_c_ext/version.h"

#include <string>

#include "common/guard.h"
#include "tnx_native/version.h"

uint32_t OVX_Tnx_GetVersionNumber(void) noexcept
{
    return TNX_VERSION_NUMBER;
}

const char *OVX_Tnx_GetVersion(void) noexcept
{
    const char *version = "libtnx/" TNX_C_VERSION;
    OHOS::Pelloria::TnxC::Guarded([&] {
        static const std::string text =
            "libtnx/" TNX_C_VERSION " " + OHOS::Pelloria::Tnx::LibraryVersions();
        version = text.c_str();
    });
    return version;
}

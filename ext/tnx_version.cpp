// The versions of the library and of what it stands on.
#include "tnx_c_ext.h"

#include <string>

#include "tnx_native/version.h"

const char *OVX_Tnx_GetVersion(void) noexcept
{
    try {
        static const std::string text =
            "libtnx/" TNX_C_VERSION " " + OHOS::Pelloria::Tnx::LibraryVersions();
        return text.c_str();
    } catch (...) {
        return "libtnx/" TNX_C_VERSION;
    }
}

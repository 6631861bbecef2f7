// What the engine stands on, and its words for failures.
#ifndef TNX_NATIVE_VERSION_H
#define TNX_NATIVE_VERSION_H

#include <cstdint>
#include <string>

#include "export.h"

namespace OHOS::Pelloria::Tnx
{

// The libraries with their versions: "libcurl/7.88.1 OpenSSL/3.0.15 nghttp2/1.52.0 c-ares/1.18.1".
TNX_NATIVE_API std::string LibraryVersions();

// The words for an error code above ERR_TRANSFER_BASE; never null. Thread-safe.
TNX_NATIVE_API const char *TransferErrorText(uint32_t code) noexcept;

} // namespace OHOS::Pelloria::Tnx

#endif

// The platform's permissions. On a host each is granted, unless TNX_INTERNET_PERMISSION is 0.
#ifndef TNX_PLATFORM_PERMISSION_H
#define TNX_PLATFORM_PERMISSION_H

#pragma GCC visibility push(default)

namespace OHOS::Pelloria::CommonUtils
{

// Whether the application may use the internet.
bool HasInternetPermission() noexcept;

} // namespace OHOS::Pelloria::CommonUtils

#pragma GCC visibility pop

#endif

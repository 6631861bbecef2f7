// Whether there is anything to hide: a process that has never seen a secret need not wipe the
// memory that libcurl releases.
#ifndef TNX_ENGINE_SECRETS_H
#define TNX_ENGINE_SECRETS_H

#include <atomic>

namespace OHOS::Pelloria::Tnx
{

inline std::atomic<bool> g_secretSeen = false;

// A secret is about to be copied to where it cannot be followed. From any thread.
inline void SecretSeen() noexcept
{
    g_secretSeen.store(true, std::memory_order_relaxed);
}

// Whether that has ever happened.
inline bool SecretsAbout() noexcept
{
    return g_secretSeen.load(std::memory_order_relaxed);
}

} // namespace OHOS::Pelloria::Tnx

#endif

// Whether there is anything to hide: a process that has never seen a secret need not wipe the
// memory that libcurl releases.
#ifndef TNX_ENGINE_SECRETS_H
#define TNX_ENGINE_SECRETS_H

namespace OHOS::Pelloria::Tnx
{

// A secret is about to be copied to where it cannot be followed. From any thread.
void SecretSeen() noexcept;

// Whether that has ever happened.
bool SecretsAbout() noexcept;

} // namespace OHOS::Pelloria::Tnx

#endif

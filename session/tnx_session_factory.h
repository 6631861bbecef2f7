// The process's one factory of engine sessions.
#ifndef TNX_SESSION_TNX_SESSION_FACTORY_H
#define TNX_SESSION_TNX_SESSION_FACTORY_H

#include "tnx_native/session.h"

#include <memory>

namespace OHOS::Pelloria::TnxC
{

// Puts a factory in place of the one that is there, which is returned. Not thread-safe: done when
// the library is loaded, before there are sessions.
std::unique_ptr<Tnx::SessionFactory>
TnxExchangeSessionFactory(std::unique_ptr<Tnx::SessionFactory> factory) noexcept;

// Empty when there is no factory.
std::shared_ptr<Tnx::Session>
TnxCreateEngineSession(const std::shared_ptr<Tnx::SessionConfiguration> &configuration);

} // namespace OHOS::Pelloria::TnxC

#endif

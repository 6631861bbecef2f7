// Holds the factory from load to exit. Constant-initialised: it is filled before the initialisers
// of this library run.
#include "session/tnx_session_factory.h"

#include <utility>

namespace OHOS::Pelloria::TnxC
{
namespace
{

constinit std::unique_ptr<Tnx::SessionFactory> g_factory;

} // namespace

std::unique_ptr<Tnx::SessionFactory>
TnxExchangeSessionFactory(std::unique_ptr<Tnx::SessionFactory> factory) noexcept
{
    return std::exchange(g_factory, std::move(factory));
}

std::shared_ptr<Tnx::Session>
TnxCreateEngineSession(const std::shared_ptr<Tnx::SessionConfiguration> &configuration)
{
    return g_factory == nullptr ? nullptr : g_factory->CreateSession(configuration);
}

} // namespace OHOS::Pelloria::TnxC

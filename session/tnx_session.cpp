// The exported session functions: each finds the operations of the session's type and calls them.
#include "tnx_c/session.h"

#include "common/guard.h"
#include "ext/tnx_closing.h"

#include <array>

using OHOS::Pelloria::TnxC::Closing;
using OHOS::Pelloria::TnxC::Guarded;

namespace
{

std::array<Tnx_SessionOps *, TNX_MAX_SESSION_TYPE + 1> g_sessionOps;

bool IsOpen(const Tnx_Session *session)
{
    return session != nullptr && session->ops != nullptr;
}

} // namespace

// The type is trusted here, not in the lookup.
void OVX_Tnx_RegisterSessionOps(int32_t type, Tnx_SessionOps *ops) noexcept
{
    g_sessionOps.data()[type] = ops;
}

Tnx_SessionOps *OVX_Tnx_GetSessionOps(int32_t type) noexcept
{
    const auto index = static_cast<uint32_t>(type);
    return index <= TNX_MAX_SESSION_TYPE ? g_sessionOps[index] : nullptr;
}

Tnx_Session *OVX_Tnx_CreateSession(const Tnx_SessionConfiguration *config,
                                   uint32_t *errCode) noexcept
{
    if (errCode == nullptr) {
        return nullptr;
    }
    *errCode = TNX_OK;
    const uint32_t type = config == nullptr ? TNX_SESSION_TYPE_HTTP : config->sessionType;
    Tnx_SessionOps *ops = OVX_Tnx_GetSessionOps(static_cast<int32_t>(type));
    if (ops == nullptr) {
        *errCode = TNX_ERR_PARAMETER;
        return nullptr;
    }
    Tnx_Session *session = Guarded(errCode, [&] { return ops->create(ops, config, errCode); });
    Closing::Forget(session);
    return session;
}

const char *OVX_Tnx_GetSessionId(Tnx_Session *session) noexcept
{
    return IsOpen(session) ? session->ops->getSessionId(session) : nullptr;
}

const Tnx_SessionConfiguration *OVX_Tnx_GetSessionConfiguration(Tnx_Session *session) noexcept
{
    return IsOpen(session) ? session->ops->getSessionConfiguration(session) : nullptr;
}

Tnx_Response *OVX_Tnx_FetchSync(Tnx_Session *session, Tnx_Request *request,
                                uint32_t *errCode) noexcept
{
    if (errCode == nullptr) {
        return nullptr;
    }
    if (!IsOpen(session)) {
        *errCode = TNX_ERR_SESSION_CLOSED;
        return nullptr;
    }
    *errCode = TNX_OK;
    return Guarded(errCode, [&] { return session->ops->fetchSync(session, request, errCode); });
}

uint32_t OVX_Tnx_Fetch(Tnx_Session *session, Tnx_Request *request,
                       const Tnx_ResponseCallbackObject *callback) noexcept
{
    if (!IsOpen(session)) {
        return TNX_ERR_SESSION_CLOSED;
    }
    return Guarded([&] { return session->ops->fetch(session, request, callback); });
}

uint32_t OVX_Tnx_CancelRequest(Tnx_Session *session, const Tnx_Request *request) noexcept
{
    if (!IsOpen(session)) {
        return TNX_ERR_SESSION_CLOSED;
    }
    return Guarded([&] { return session->ops->cancelRequest(session, request); });
}

uint32_t OVX_Tnx_CancelSession(Tnx_Session *session) noexcept
{
    if (!IsOpen(session)) {
        return TNX_ERR_SESSION_CLOSED;
    }
    return Guarded([&] { return session->ops->cancelSession(session); });
}

uint32_t OVX_Tnx_CloseSession(Tnx_Session **session) noexcept
{
    if (session == nullptr || !IsOpen(*session)) {
        return TNX_ERR_SESSION_CLOSED;
    }
    Closing closing(*session);
    const uint32_t code = Guarded([&] { return (*session)->ops->closeSession(session); });
    if (code == TNX_OK) {
        closing.Done();
    }
    return code;
}

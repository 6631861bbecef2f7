// Callbacks where the application wants them.
#include "tnx_c_ext/executor.h"

#include "common/guard.h"
#include "session/tnx_http_session.h"

#include <functional>
#include <memory>
#include <utility>

using namespace OHOS::Pelloria;
using namespace OHOS::Pelloria::TnxC;

namespace
{

using Task = std::function<void()>;

void RunTask(void *task) noexcept
{
    const std::unique_ptr<Task> owned(static_cast<Task *>(task));
    (*owned)();
}

} // namespace

uint32_t OVX_Tnx_SetSessionExecutor(Tnx_Session *session, Tnx_PostCallback post,
                                    void *usrCtx) noexcept
{
    if (session == nullptr || session->ops == nullptr) {
        return TNX_ERR_SESSION_CLOSED;
    }
    if (post == nullptr || session->ops->fetch != TnxHttpFetch) {
        return TNX_ERR_PARAMETER;
    }
    return Guarded([&] {
        const bool set =
            TnxHttpSessionOf(session)->engineSession->SetTaskRunner([post, usrCtx](Task task) {
                auto kept = std::make_unique<Task>(std::move(task));
                const bool taken = post(usrCtx, RunTask, kept.get());
                static_cast<void>(taken ? kept.release() : nullptr); // may have run already
                return taken;
            });
        return set ? uint32_t{TNX_OK} : uint32_t{TNX_ERR_PARAMETER};
    });
}

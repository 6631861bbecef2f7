// What handles of fetches have to know of sessions that end and begin.
#ifndef TNX_EXT_TNX_CLOSING_H
#define TNX_EXT_TNX_CLOSING_H

#include "tnx_c_ext/transfer.h"

#include <memory>

namespace OHOS::Pelloria::TnxC
{

// Stands around the closing of a session, on the stack of who closes. A close completes nothing by
// itself, so the session's transfers are canceled before, and none can start meanwhile.
struct Closing {
    explicit Closing(const Tnx_Session *closed) noexcept;
    ~Closing();
    Closing(const Closing &) = delete;
    Closing &operator=(const Closing &) = delete;

    // The session is closed: ends what no answer to the cancel has ended.
    void Done() noexcept;

    // A session was made, perhaps in the place of one whose closing is not over yet.
    static void Forget(const Tnx_Session *session) noexcept;

    const Tnx_Session *session;
    std::shared_ptr<Tnx_Transfer> transfers; // that went on, each with the next one
    Closing *next = nullptr;
};

} // namespace OHOS::Pelloria::TnxC

#endif

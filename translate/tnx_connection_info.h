// How a fetch reached its server, as a record.
#ifndef TNX_TRANSLATE_TNX_CONNECTION_INFO_H
#define TNX_TRANSLATE_TNX_CONNECTION_INFO_H

#include "tnx_c_ext/connection.h"
#include "tnx_native/connection_info.h"

#include <memory>
#include <vector>

namespace OHOS::Pelloria::TnxC
{

// The record, and the lists that it points to.
struct ConnectionRecord {
    Tnx_ConnectionInfo info = {};
    std::vector<Tnx_HopInfo> hops;
    std::vector<Tnx_AddressAttempt> attempts;
};

// Borrows the texts of `info`. Null for null, and when memory runs out.
std::unique_ptr<const ConnectionRecord>
TnxToCConnectionInfo(const Tnx::ConnectionInfo *info) noexcept;

} // namespace OHOS::Pelloria::TnxC

#endif

// The header fields of one hop, as libcurl wants them.
#ifndef TNX_ENGINE_HEADER_LIST_H
#define TNX_ENGINE_HEADER_LIST_H

#include <cstdint>
#include <optional>
#include <string>

#include "curl/line_list.h"
#include "fetch_cookies.h"
#include "hop.h"
#include "tnx_native/request.h"

namespace OHOS::Pelloria::Tnx
{

// The fields to send, and what the options of libcurl take over.
struct HeaderList {
    LineList lines;
    std::optional<uint64_t> contentLength; // the application's own
    bool ownEncoding = false;              // it decodes, or wants the bytes as they come
    std::string ranges;                    // the bytes that are asked for, empty for all
};

void BuildHeaderList(const Request &request, const Hop &hop, const FetchCookies &cookies,
                     HeaderList &list);

} // namespace OHOS::Pelloria::Tnx

#endif

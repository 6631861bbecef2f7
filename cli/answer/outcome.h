// What came of one transfer.
#ifndef TNX_CLI_OUTCOME_H
#define TNX_CLI_OUTCOME_H

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include "base/handles.h"
#include "base/url.h"
#include "conversation.h"

namespace TnxTool
{

struct Outcome {
    size_t number = 0;    // of the transfer, from 0
    size_t urlNumber = 0; // of the URL that it comes from
    size_t run = 0;       // which of several runs of the same URL, from 0
    bool beside = false;  // others run at the same time
    std::string url;
    std::string method;
    std::string file; // where the body went; empty for standard output
    std::chrono::system_clock::time_point started;

    uint32_t errorCode = TNX_OK; // of the library
    int status = 0;              // the exit status that this transfer asks for
    std::string error;           // why, in words
    ResponseHandle response;     // may be empty
    Conversation conversation;
    uint64_t bodyLength = 0;
    std::optional<std::string> body; // for an archive, where it is small enough
    uint64_t uploaded = 0;
    uint32_t retries = 0;

    int HttpStatus() const { return response ? response->statusCode : 0; }
    std::string EffectiveUrl() const
    {
        return response && response->effectiveUrl != nullptr ? response->effectiveUrl : url;
    }
};

// A field of the last answer; null where it is not there.
inline const char *FindHeader(const Outcome &outcome, const char *name)
{
    return outcome.response ? OVX_Tnx_FindHeader(outcome.response->headers, name) : nullptr;
}

// Stands before what is told of a transfer that runs beside others: their lines come in any order.
inline std::string WhichOf(const Outcome &outcome)
{
    return outcome.beside ? WithoutUser(outcome.url) + ": " : "";
}

} // namespace TnxTool

#endif

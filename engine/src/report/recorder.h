// Debug information of one fetch, and the cause of its failure in words.
#ifndef TNX_ENGINE_RECORDER_H
#define TNX_ENGINE_RECORDER_H

#include <string>
#include <string_view>
#include <vector>

#include <curl/curl.h>

#include "tnx_native/response.h"
#include "trace.h"

namespace OHOS::Pelloria::Tnx
{

// libcurl tells in its texts the name that it logs in with, the URL with the credential in it, and
// the fields of HTTP/2. Whoever wants to see fields asks for them by their own kind.
std::string WithoutSecrets(std::string_view text);

class Recorder
{
public:
    // What it records it tells the trace too, which wants every kind.
    Recorder(const TracingConfiguration &tracing, Trace &trace)
        : tracing_(tracing)
        , trace_(trace)
    {
    }

    // Whether libcurl is to report what happens.
    bool Wanted() const { return tracing_.debug || trace_.Wanted(); }

    // One report of libcurl.
    void Record(curl_infotype type, std::string_view data);

    // A header line that libcurl hands over, which it may not report: the empty line that ends an
    // interim response or one that is an error goes nowhere else.
    void SeeHeaderLine(std::string_view line);

    // A text of the engine's own.
    void Note(std::string_view text);

    // Ends the list with the cause of a failure, whatever is switched on.
    void Cause(std::string_view text);

    std::vector<DebugInfo> Take() { return std::move(entries_); }

private:
    bool Wants(uint32_t kind) const { return tracing_.debugKinds[kind] || trace_.Wanted(); }
    void Keep(uint32_t kind, std::string_view data);

    const TracingConfiguration &tracing_;
    Trace &trace_;
    std::vector<DebugInfo> entries_;
    size_t dataBytes_ = 0;
    bool inHeaders_ = false; // a header section has begun, and not ended
};

} // namespace OHOS::Pelloria::Tnx

#endif

// What the scenes stand on: owning handles, waiting for responses, printing.
#ifndef TNX_EXAMPLES_DEMO_STAGE_H
#define TNX_EXAMPLES_DEMO_STAGE_H

#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include <tnx_c.h>
#include <tnx_c_ext.h>

struct Closer {
    void operator()(Tnx_Session *session) const { OVX_Tnx_CloseSession(&session); }
    void operator()(Tnx_Request *request) const { OVX_Tnx_DestroyRequest(request); }
    void operator()(Tnx_Headers *headers) const { OVX_Tnx_DestroyHeaders(headers); }
    void operator()(Tnx_Response *response) const { response->destroyResponse(response); }
};
using SessionPtr = std::unique_ptr<Tnx_Session, Closer>;
using RequestPtr = std::unique_ptr<Tnx_Request, Closer>;
using HeadersPtr = std::unique_ptr<Tnx_Headers, Closer>;
using ResponsePtr = std::unique_ptr<Tnx_Response, Closer>;

// How one fetch came out.
struct Outcome {
    ResponsePtr response; // none after a cancel
    uint32_t code = TNX_OK;
};

// The configurations of a session, together because the session borrows both. Phase times are on.
struct Setup {
    Tnx_Configuration requests{};
    Tnx_SessionConfiguration session{};

    Setup();
    SessionPtr Open();
};

// Takes the outcomes of asynchronous fetches.
class Inbox
{
public:
    Tnx_ResponseCallbackObject Callback() { return {Take, this}; }
    // Waits for so many outcomes, at most ten seconds.
    std::vector<Outcome> Wait(size_t count);

private:
    static void Take(void *self, Tnx_Response *response, uint32_t code);

    std::mutex mutex_;
    std::condition_variable arrived_;
    std::vector<Outcome> outcomes_;
};

void Title(const std::string &text);
// The status line and the phases of an outcome.
void Print(const std::string &what, const Outcome &outcome);
// A note below it.
void Note(const std::string &text);
// The lines of a body that begin with one of the names.
void PrintLines(const Outcome &outcome, const std::vector<std::string> &names);

std::string_view Body(const Outcome &outcome);
bool IsOk(const Outcome &outcome, int32_t status = 200);

#endif

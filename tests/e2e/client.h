// An application as the tests need it: requests with all they borrow, outcomes copied out of the
// records, and the servers that all tests of a program share.
#ifndef TNX_TESTS_E2E_CLIENT_H
#define TNX_TESTS_E2E_CLIENT_H

#include "common/c_ptr.h"
#include "nginx_server.h"
#include "scripted_server.h"
#include "tnx_c.h"

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

namespace EndToEnd
{

using namespace OHOS::Pelloria::TnxC;
using namespace OHOS::Pelloria::TnxTest;

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr bool SANITIZED = true;
#else
inline constexpr bool SANITIZED = false;
#endif

ScriptedServer &Scripted();
NginxServer &Nginx(); // its /scripted/ leads to Scripted()

// Waits for something to become true, for as long as a test may hang.
bool Eventually(const std::function<bool()> &condition);

// What a response told. Taking it releases the record.
struct Outcome {
    Outcome() = default;
    Outcome(Tnx_Response *response, uint32_t errorCode);

    uint32_t code = 0;
    bool empty = true; // no response
    int32_t status = 0;
    std::string url;
    std::string body;
    std::map<std::string, std::string> headers; // values joined with "|"
    std::vector<std::pair<uint32_t, std::string>> debug;
    std::optional<Tnx_TimeInfo> times;
    std::vector<std::string> cookies; // name=value

    // The last text, which tells the cause of a failure.
    std::string Why() const { return debug.empty() ? "" : debug.back().second; }
    // Everything of one kind.
    std::string Debug(uint32_t kind) const;
};

// One request that trusts the tests' authority. Fill it, then fetch it once or several times.
class Call
{
public:
    explicit Call(const std::string &url, const char *method = "GET");
    ~Call();
    Call(const Call &) = delete;
    Call &operator=(const Call &) = delete;

    Call &Header(const std::string &name, const std::string &value);
    Call &Cookie(const std::string &name, const std::string &value);
    Call &Body(std::string body);
    Call &Pull(Tnx_GetDataCallback callback);
    Call &Form(FormPtr form);
    Call &Multipart(MultipartFormPtr form);
    Call &Range(const Tnx_TransferRange &range); // one more
    Call &OnData(std::function<size_t(std::string_view)> consumer);

    Outcome FetchSync(Tnx_Session *session);
    uint32_t Start(Tnx_Session *session);
    Outcome Wait(); // aborts the program when nothing comes
    Outcome Fetch(Tnx_Session *session)
    {
        Start(session);
        return Wait();
    }
    // Sees the response itself, if there is one, before it is taken.
    std::function<void(const Tnx_Response *)> look;
    // Runs in the response callback, after the outcome was taken.
    std::function<void(const Outcome &)> then;

    Tnx_Request *Get() { return request_.get(); }
    size_t Answers() const; // how often the callback ran

    Tnx_Configuration configuration = {};
    Tnx_RequestContent content = {};

private:
    struct State;
    static void Respond(void *self, Tnx_Response *response, uint32_t code);
    static size_t TakeData(void *self, const Tnx_Buffer *data);

    RequestPtr request_;
    HeadersPtr headers_;
    RequestCookiesPtr cookies_;
    FormPtr form_;
    MultipartFormPtr multipart_;
    std::string body_;
    std::vector<std::unique_ptr<Tnx_TransferRange>> ranges_;
    std::function<size_t(std::string_view)> consumer_;
    std::unique_ptr<State> state_;
};

// Gives each test a session of its own.
class EndToEndTest : public testing::Test
{
protected:
    ~EndToEndTest() override { Close(); }

    Tnx_Session *Session()
    {
        if (session_ == nullptr) {
            uint32_t code = 1;
            session_ = OVX_Tnx_CreateSession(&configuration_, &code);
            EXPECT_EQ(code, 0U);
        }
        return session_;
    }

    void Close()
    {
        if (session_ != nullptr) {
            OVX_Tnx_CloseSession(&session_);
        }
    }

    // Fetches both ways: `check` looks at each outcome.
    void Both(const std::function<void(Call &)> &fill, const std::string &url, const char *method,
              const std::function<void(const Outcome &)> &check);

    Tnx_SessionConfiguration configuration_ = {};
    Tnx_Session *session_ = nullptr;
};

} // namespace EndToEnd

#endif

// bench_overhead: what the library itself takes of a fetch: translation, registries, chains, usage
// events. Under it is an engine that answers at once, from memory.
#include <cstdio>
#include <memory>
#include <utility>

#include <tnx_c.h>

#include "session/tnx_session_factory.h"
#include "tnx_native/session.h"

#include "harness.h"

namespace
{

using namespace OHOS::Pelloria;

class NoSession final : public Tnx::Session
{
public:
    const std::string &GetId() const override { return id_; }
    void Fetch(const std::shared_ptr<Tnx::Request> &request,
               Tnx::ResponseCallback completion) override
    {
        request_ = request;
        completion_ = std::move(completion);
    }
    std::shared_ptr<Tnx::Response> FetchSync(const std::shared_ptr<Tnx::Request> &request,
                                             uint32_t *errorCode) override
    {
        *errorCode = 0;
        return Answer(request);
    }
    void CancelRequest(const std::shared_ptr<Tnx::Request> &) override {}
    void CancelAll() override {}
    void Close() override {}

    // Completes the last fetch.
    void Complete() { std::exchange(completion_, {})(Answer(std::exchange(request_, {})), 0); }

private:
    static std::shared_ptr<Tnx::Response> Answer(const std::shared_ptr<Tnx::Request> &request)
    {
        static const Tnx::HeaderFields headers = {{"content-type", "text/plain"},
                                                  {"content-length", "1024"}};
        auto response = std::make_shared<Tnx::Response>(request);
        response->SetStatusCode(200);
        response->SetHeaders(headers);
        return response;
    }

    const std::string id_ = "none";
    std::shared_ptr<Tnx::Request> request_;
    Tnx::ResponseCallback completion_;
};

class NoFactory final : public Tnx::SessionFactory
{
public:
    explicit NoFactory(std::shared_ptr<NoSession> session)
        : session_(std::move(session))
    {
    }
    std::shared_ptr<Tnx::Session>
    CreateSession(const std::shared_ptr<Tnx::SessionConfiguration> &) override
    {
        return session_;
    }

private:
    std::shared_ptr<NoSession> session_;
};

// A session of the library over the engine that does nothing, and ten headers for each request.
struct Setup {
    std::shared_ptr<NoSession> engine = std::make_shared<NoSession>();
    Tnx_Headers *headers = OVX_Tnx_CreateHeaders();
    Tnx_Session *session = nullptr;

    Setup()
    {
        TnxC::TnxExchangeSessionFactory(std::make_unique<NoFactory>(engine));
        for (int i = 0; i < 10; ++i) {
            const std::string number = std::to_string(i);
            OVX_Tnx_SetHeaderValue(headers, ("x-header-" + number).c_str(),
                                   ("value " + number).c_str());
        }
        uint32_t code = TNX_OK;
        session = OVX_Tnx_CreateSession(nullptr, &code);
    }
    Tnx_Request *MakeRequest() const
    {
        Tnx_Request *request = OVX_Tnx_CreateRequest("http://127.0.0.1/path");
        request->headers = headers;
        return request;
    }
};

void Release(void *request, Tnx_Response *response, uint32_t)
{
    response->destroyResponse(response);
    OVX_Tnx_DestroyRequest(static_cast<Tnx_Request *>(request));
}

} // namespace

int main()
{
    using namespace TnxBench;
    constexpr uint64_t COUNT = 200000;
    Compare({.title = "The library alone, ten headers (aim: under 2 us)", .count = COUNT},
            {{"synchronous",
              []() -> Run {
                  return [setup = std::make_shared<Setup>()](uint64_t count) {
                      for (uint64_t i = 0; i < count; ++i) {
                          uint32_t code = TNX_OK;
                          Tnx_Request *request = setup->MakeRequest();
                          Release(request, OVX_Tnx_FetchSync(setup->session, request, &code), code);
                      }
                  };
              }},
             {"asynchronous", []() -> Run {
                  return [setup = std::make_shared<Setup>()](uint64_t count) {
                      for (uint64_t i = 0; i < count; ++i) {
                          Tnx_Request *request = setup->MakeRequest();
                          const Tnx_ResponseCallbackObject callback{Release, request};
                          OVX_Tnx_Fetch(setup->session, request, &callback);
                          setup->engine->Complete();
                      }
                  };
              }}});
}

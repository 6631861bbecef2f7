// The library as an application uses it, for the benchmarks.
#ifndef TNX_BENCH_TNX_CLIENT_H
#define TNX_BENCH_TNX_CLIENT_H

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <string>

#include <tnx_c.h>

namespace TnxBench
{

struct TnxOptions {
    std::string url{};
    std::string ca{};
    std::string body{};
    int64_t connections = 64;
    Tnx_OnBinaryDataRecvCallback onData = nullptr;
    void *usrCtx = nullptr;
    bool heads = false; // the heads of requests stand in the debug information
};

// A session with what it borrows. Requests are made and destroyed one by one, as applications do.
class TnxClient
{
public:
    explicit TnxClient(const TnxOptions &options);
    ~TnxClient();
    TnxClient(const TnxClient &) = delete;
    TnxClient &operator=(const TnxClient &) = delete;

    void Close() { OVX_Tnx_CloseSession(&session_); }
    Tnx_Session *Session() const { return session_; }
    Tnx_Request *MakeRequest();

private:
    TnxOptions options_;
    Tnx_Configuration configuration_{};
    Tnx_SessionConfiguration sessionConfiguration_{};
    Tnx_RequestContent content_{};
    Tnx_Session *session_ = nullptr;
};

// Performs requests one after another.
class TnxSync
{
public:
    TnxSync(const TnxOptions &options, uint64_t expected)
        : client_(options)
        , expected_(expected)
    {
    }
    void Run(uint64_t count);

private:
    TnxClient client_;
    uint64_t expected_;
};

// Keeps `width` requests in flight: each response callback starts the next one.
class TnxParallel
{
public:
    TnxParallel(const TnxOptions &options, size_t width)
        : client_(options)
        , width_(width)
    {
    }
    void Run(uint64_t count);

private:
    static void OnResponse(void *self, Tnx_Response *response, uint32_t code);
    void Start();

    TnxClient client_;
    const size_t width_;
    std::mutex mutex_;
    std::condition_variable done_;
    uint64_t toStart_ = 0;
    uint64_t toFinish_ = 0;
};

} // namespace TnxBench

#endif

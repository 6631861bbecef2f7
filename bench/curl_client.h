// The leanest hand-written users of libcurl that ask for the same with the same lines: what the
// library is measured against.
#ifndef TNX_BENCH_CURL_CLIENT_H
#define TNX_BENCH_CURL_CLIENT_H

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <curl/curl.h>

namespace TnxBench
{

struct CurlDeleter {
    void operator()(CURL *easy) const { curl_easy_cleanup(easy); }
};
using CurlEasy = std::unique_ptr<CURL, CurlDeleter>;

struct CurlOptions {
    std::string url{};
    std::string ca{};   // with it the request is HTTP/2 over TLS
    std::string body{}; // with it the request is a POST
    long buffer = 65536;
    std::string *head = nullptr; // with it the heads of requests are appended there
};

// Performs requests one after another on a kept handle. Fails unless each brings `expected` bytes.
class CurlSync
{
public:
    CurlSync(const CurlOptions &options, uint64_t expected);
    void Run(uint64_t count);

private:
    CurlEasy easy_;
    uint64_t expected_;
    uint64_t received_ = 0;
};

// Keeps `width` requests in flight over the multi-socket interface and epoll.
class CurlParallel
{
public:
    CurlParallel(const CurlOptions &options, size_t width);
    ~CurlParallel();
    void Run(uint64_t count);

private:
    static int OnSocket(CURL *easy, curl_socket_t fd, int what, void *self, void *socket);
    static int OnTimer(CURLM *multi, long milliseconds, void *self);
    static curl_socket_t OnOpen(void *self, curlsocktype purpose, curl_sockaddr *address);
    void Reap();
    void Start(CURL *easy);

    CURLM *multi_;
    int epoll_;
    long timeout_ = -1;
    std::vector<uint32_t> registered_; // by descriptor: the events that epoll knows
    std::vector<CurlEasy> handles_;
    std::vector<CURL *> idle_;
    uint64_t toStart_ = 0;
    uint64_t toFinish_ = 0;
};

} // namespace TnxBench

#endif

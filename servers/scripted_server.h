// An HTTP/1.1 server in the test's own process whose faults stand in the URL, so that a failing
// case can be repeated by hand. `/` lists them; routes.cpp and routes_faults.cpp tell each.
#ifndef TNX_TESTS_SERVERS_SCRIPTED_SERVER_H
#define TNX_TESTS_SERVERS_SCRIPTED_SERVER_H

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "received_request.h"
#include "script.h"

namespace OHOS::Pelloria::TnxTest
{

// One thread, whatever the number of connections. Listens when the constructor returns; the
// destructor ends every connection at once.
class ScriptedServer
{
public:
    // `address` is an IPv4 or IPv6 literal, where port 0 takes a free one, or the path of a socket.
    explicit ScriptedServer(const std::string &address = "127.0.0.1", uint16_t port = 0);
    ~ScriptedServer();

    uint16_t Port() const;
    std::string Url(const std::string &target = "/") const; // http://address:port/target

    // What /played does from now on, and every request over HTTP/2 with prior knowledge.
    void Play(Script script);

    // The requests so far, in the order in which their heads arrived.
    std::vector<ReceivedRequest> Requests() const;
    ReceivedRequest LastRequest() const;
    void ForgetRequests();
    uint32_t AcceptedConnections() const;
    uint32_t OpenConnections() const;

    // Waits until so many requests have arrived whole since the last ForgetRequests(). False when
    // the time is over.
    bool WaitForRequests(size_t count,
                         std::chrono::milliseconds atMost = std::chrono::seconds(10)) const;
    bool WaitForOpenConnections(uint32_t count,
                                std::chrono::milliseconds atMost = std::chrono::seconds(10)) const;

private:
    class Loop;
    std::unique_ptr<Loop> loop_;
};

} // namespace OHOS::Pelloria::TnxTest

#endif

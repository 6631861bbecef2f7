// tinyproxy, socat, microsocks and dnsmasq with the smallest configuration that does.
#include "proxy_servers.h"

#include <stdexcept>

#include "certificates.h"
#include "ports.h"

namespace OHOS::Pelloria::TnxTest
{

namespace
{

constexpr int ATTEMPTS = 3; // a free port may be taken by somebody else before the child has it

// Starts a child on a free port until it accepts there.
template <class MakeCommand>
std::unique_ptr<ChildProcess> StartOnFreePort(uint16_t &port, const std::string &log,
                                              MakeCommand makeCommand)
{
    for (int attempt = 0; attempt < ATTEMPTS; ++attempt) {
        port = FreePort();
        auto process = std::make_unique<ChildProcess>(makeCommand(std::to_string(port)), log);
        while (process->Running()) {
            if (WaitForPort(port, std::chrono::milliseconds(500))) {
                return process;
            }
        }
    }
    throw std::runtime_error("a server does not start:\n" + ReadFile(log));
}

} // namespace

ForwardProxy::ForwardProxy(const Credentials &credentials)
{
    const std::string config = directory_.Path("tinyproxy.conf");
    const std::string log = directory_.Path("log");
    process_ = StartOnFreePort(port_, directory_.Path("output"), [&](const std::string &port) {
        std::string text = "Port " + port + "\nListen 127.0.0.1\nTimeout 60\nMaxClients 200\n" +
                           "LogLevel Connect\nLogFile \"" + log + "\"\n";
        if (!credentials.first.empty()) {
            text += "BasicAuth " + credentials.first + " " + credentials.second + "\n";
        }
        WriteFile(config, text);
        return std::vector<std::string>{"tinyproxy", "-d", "-c", config};
    });
}

TlsFront::TlsFront(uint16_t server, const std::string &certificate)
{
    process_ = StartOnFreePort(port_, directory_.Path("output"), [&](const std::string &port) {
        return std::vector<std::string>{
            "socat",
            "OPENSSL-LISTEN:" + port + ",bind=127.0.0.1,reuseaddr,fork,verify=0,cert=" +
                Certificate(certificate + ".pem") + ",key=" + Certificate(certificate + ".key"),
            "TCP4:127.0.0.1:" + std::to_string(server)};
    });
}

SocksProxy::SocksProxy(const Credentials &credentials)
{
    process_ = StartOnFreePort(port_, directory_.Path("log"), [&](const std::string &port) {
        // It tries one address of a name, of the family that it binds to.
        std::vector<std::string> command = {"microsocks", "-i", "127.0.0.1", "-b",
                                            "127.0.0.1",  "-p", port};
        if (!credentials.first.empty()) {
            command.insert(command.end(), {"-u", credentials.first, "-P", credentials.second});
        }
        return command;
    });
}

RealNameServer::RealNameServer(const std::vector<std::pair<std::string, std::string>> &addresses)
{
    process_ = StartOnFreePort(port_, directory_.Path("output"), [&](const std::string &port) {
        std::vector<std::string> command = {
            "dnsmasq",        "--keep-in-foreground", "--conf-file=/dev/null",
            "--no-resolv",    "--no-hosts",           "--bind-interfaces",
            "--user=",        "--pid-file=",          "--listen-address=127.0.0.1",
            "--port=" + port, "--log-queries",        "--log-facility=" + directory_.Path("log")};
        for (const auto &[host, address] : addresses) {
            command.push_back("--host-record=" + host + "," + address);
        }
        return command;
    });
}

} // namespace OHOS::Pelloria::TnxTest

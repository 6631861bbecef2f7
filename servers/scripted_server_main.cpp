// tnx_scripted_server [PORT]: the scripted server as a program. Prints its URL and serves until it
// gets SIGINT or SIGTERM.
#include <csignal>
#include <cstdio>
#include <cstdlib>

#include "scripted_server.h"

int main(int argc, char **argv)
{
    sigset_t ends;
    sigemptyset(&ends);
    sigaddset(&ends, SIGINT);
    sigaddset(&ends, SIGTERM);
    sigprocmask(SIG_BLOCK, &ends, nullptr);
    const auto port = static_cast<uint16_t>(argc > 1 ? std::atoi(argv[1]) : 0);
    const OHOS::Pelloria::TnxTest::ScriptedServer server("127.0.0.1", port);
    std::printf("%s\n", server.Url().c_str());
    std::fflush(stdout);
    int signal = 0;
    return sigwait(&ends, &signal);
}

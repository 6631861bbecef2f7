// How the engine behaves in its process: threads, signals, forks and exits.
#include "engine_client.h"
#include "scripted_server.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <system_error>

#include <pthread.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

using namespace EndToEnd;
using OHOS::Pelloria::TnxTest::ScriptedServer;

std::ptrdiff_t Threads()
{
    using std::filesystem::directory_iterator;
    return std::distance(directory_iterator("/proc/self/task"), directory_iterator());
}

// Before any other test has made a session.
const std::ptrdiff_t g_threadsAtStart = Threads();

TEST(ProcessTest, ThreadsStartAtTheFirstNeedAndBlockEverySignal)
{
#if !defined(__SANITIZE_THREAD__) // which has a thread of its own
    EXPECT_EQ(g_threadsAtStart, 1);
#endif
    ScriptedServer server;
    const auto session = NewSession();
    struct sigaction before = {};
    sigaction(SIGPIPE, nullptr, &before);
    std::promise<std::string> mask;
    session->Fetch(NewRequest(server.Url("/bytes")), [&mask](const auto &, uint32_t) {
        std::ifstream status("/proc/thread-self/status");
        std::string line;
        while (std::getline(status, line) && !line.starts_with("SigBlk:")) {
        }
        mask.set_value(line);
    });
    // All but SIGKILL, SIGSTOP and the two that the C library keeps for itself.
    EXPECT_EQ(mask.get_future().get(), "SigBlk:\tfffffffe7ffbfeff");
    struct sigaction after = {};
    sigaction(SIGPIPE, nullptr, &after);
    EXPECT_EQ(before.sa_handler, after.sa_handler);
    session->Close();
}

// The peer resets while a body is on its way: writing to that raises SIGPIPE, which would kill.
TEST(ProcessTest, SigpipeNeverReachesTheApplication)
{
    ScriptedServer server;
    const auto session = NewSession();
    for (int i = 0; i < 10; ++i) {
        for (const bool synchronous : {false, true}) {
            const auto request = NewRequest(server.Url("/early-answer?close=1"));
            request->SetMethod("POST");
            const auto content = std::make_shared<RequestContent>();
            content->SetString(std::make_shared<std::string>(4000000, 'x'));
            request->SetContent(content);
            uint32_t code = 0;
            if (synchronous) {
                session->FetchSync(request, &code);
            } else {
                code = Flight(*session, request).Wait().second;
            }
            EXPECT_NE(code, ERR_REQUEST_CANCELED);
        }
    }
    session->Close();
}

#if !defined(__SANITIZE_THREAD__) // which allows a forked child no threads

// In a child: an inherited session answers that it is closed, a new one works.
int UseSessionsInChild(Session &inherited, const std::string &url)
{
    const auto [response, code] = Flight(inherited, NewRequest(url)).Wait();
    uint32_t syncCode = 0;
    const auto syncResponse = inherited.FetchSync(NewRequest(url), &syncCode);
    inherited.CancelAll();
    inherited.Close();
    if (code != ERR_SESSION_CLOSED || response == nullptr || syncCode != ERR_SESSION_CLOSED ||
        syncResponse == nullptr) {
        return 1;
    }
    const auto fresh = NewSession();
    if (Flight(*fresh, NewRequest(url)).Wait().second != 0) {
        return 2;
    }
    fresh->FetchSync(NewRequest(url), &syncCode);
    fresh->Close();
    return syncCode == 0 ? 0 : 3;
}

TEST(ProcessTest, AForkedChildStartsAnew)
{
    ScriptedServer server;
    const std::string url = server.Url("/bytes?n=10");
    const auto session = NewSession();
    ASSERT_EQ(Flight(*session, NewRequest(url)).Wait().second, 0U);
    Flight running(*session, NewRequest(server.Url("/stall?ms=200")));
    const pid_t child = fork();
    if (child == 0) {
        alarm(60);
        _exit(UseSessionsInChild(*session, url));
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0);
    EXPECT_EQ(running.Wait().second, 0U); // the parent's are as they were
    session->Close();
}

// Runs in a child of its own: leaves a session open, with a fetch in flight and one that waits in
// its callback.
[[noreturn]] void ExitInTheMiddle(const std::string &root)
{
    alarm(60);
    static auto *const session = new std::shared_ptr<Session>(NewSession()); // never closed
    static std::atomic<bool> inside = false;
    (*session)->Fetch(NewRequest(root + "/stall?ms=60000"), [](const auto &, uint32_t) {});
    (*session)->Fetch(NewRequest(root + "/bytes"), [](const auto &, uint32_t) {
        inside = true;
        inside.notify_one();
        pause();
    });
    inside.wait(false);
    std::exit(7);
}

TEST(ProcessTest, AnExitWithOpenSessionsNeitherHangsNorCrashes)
{
    ScriptedServer server;
    const pid_t child = fork();
    if (child == 0) {
        ExitInTheMiddle(server.Url(""));
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status)) << status;
    EXPECT_EQ(WEXITSTATUS(status), 7);
}

// In a child: no thread can be started, because none gets its stack.
int LiveWithoutThreads(const std::string &url)
{
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, size_t{1} << 46);
    if (pthread_setattr_default_np(&attributes) != 0) {
        return 1;
    }
    int canceled = 0;
    int closed = 0;
    SessionConfiguration configuration;
    configuration.onSessionCanceled = [&canceled] { ++canceled; };
    configuration.onSessionClosed = [&closed] { ++closed; };
    const auto session = NewSession(configuration);
    uint32_t code = 0;
    const auto response = session->FetchSync(NewRequest(url), &code);
    if (response == nullptr || code != ERR_TRANSFER_BASE + 2) {
        return 2;
    }
    try {
        session->Fetch(NewRequest(url), [](const auto &, uint32_t) { std::abort(); });
        return 3;
    } catch (const std::system_error &) {
    }
    session->CancelAll();
    session->Close();
    session->Close();
    return canceled == 1 && closed == 1 ? 0 : 4;
}

TEST(ProcessTest, WithoutThreadsASessionTellsSo)
{
    ScriptedServer server;
    const std::string url = server.Url("/bytes");
    const pid_t child = fork();
    if (child == 0) {
        alarm(60);
        _exit(LiveWithoutThreads(url));
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status)) << status;
    EXPECT_EQ(WEXITSTATUS(status), 0);
}

#endif

} // namespace

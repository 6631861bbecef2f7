// A machine that has no more: of descriptors, threads, memory, ports, network, undisturbed system
// calls or a steady clock. A fetch meanwhile ends with a code and a text, and the same session
// works when the want is over. Each row runs in a process of its own.
#include "client.h"

#include <algorithm>
#include <atomic>
#include <csignal>
#include <ctime>
#include <filesystem>
#include <fstream>

#include <fcntl.h>
#include <net/if.h>
#include <pthread.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

std::atomic<time_t> g_jump = 0; // of the wall clock, seconds

} // namespace

// The wall clock of the whole process goes by this.
extern "C" int clock_gettime(clockid_t clock, timespec *time) noexcept
{
    const auto result = static_cast<int>(syscall(SYS_clock_gettime, clock, time));
    if (result == 0 && clock == CLOCK_REALTIME) {
        time->tv_sec += g_jump;
    }
    return result;
}

extern "C" time_t time(time_t *result) noexcept
{
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    if (result != nullptr) {
        *result = now.tv_sec;
    }
    return now.tv_sec;
}

extern "C" int gettimeofday(timeval *result, void *) noexcept
{
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    *result = {.tv_sec = now.tv_sec, .tv_usec = now.tv_nsec / 1000};
    return 0;
}

namespace
{

using namespace EndToEnd;

constexpr int NOT_ALLOWED = 77;

// The servers and the session that a row has, once its process is as it needs it.
struct World {
    World()
    {
        uint32_t code = 1;
        session = OVX_Tnx_CreateSession(nullptr, &code);
        Works();
    }
    ~World() { OVX_Tnx_CloseSession(&session); }

    // Both ways.
    void Fetch(const std::string &url, const std::vector<uint32_t> &codes, const char *told = "")
    {
        for (const bool synchronous : {true, false}) {
            SCOPED_TRACE(synchronous ? "synchronous" : "asynchronous");
            Call call(url);
            const Outcome outcome = synchronous ? call.FetchSync(session) : call.Fetch(session);
            EXPECT_TRUE(std::ranges::count(codes, outcome.code) > 0)
                << outcome.code << ' ' << outcome.Why();
            if (outcome.code != TNX_ERR_OUT_OF_MEMORY) { // which may not suffice for words either
                EXPECT_EQ(outcome.code == TNX_OK, outcome.Why().empty());
            }
            EXPECT_NE(outcome.Why().find(told), std::string::npos) << outcome.Why();
        }
    }

    void Works()
    {
        SCOPED_TRACE("before or after");
        Fetch(server.Url("/bytes?n=3"), {TNX_OK});
        Fetch(other.Url("/bytes?n=3"), {TNX_OK});
    }

    ScriptedServer server;
    ScriptedServer other;
    Tnx_Session *session = nullptr;
};

// A limit of the process, until the scope ends.
class Limit
{
public:
    Limit(__rlimit_resource what, rlim_t limit)
        : what_(what)
    {
        getrlimit(what, &before_);
        const rlimit now{.rlim_cur = limit, .rlim_max = before_.rlim_max};
        setrlimit(what, &now);
    }
    ~Limit() { setrlimit(what_, &before_); }

private:
    const __rlimit_resource what_;
    rlimit before_{};
};

void Descriptors()
{
    World world;
    std::vector<int> taken;
    {
        const Limit limit(RLIMIT_NOFILE, 64);
        for (int fd = dup(0); fd >= 0; fd = dup(0)) {
            taken.push_back(fd);
        }
        uint32_t code = 1;
        Tnx_Session *fresh = OVX_Tnx_CreateSession(nullptr, &code); // has no connection yet
        Tnx_Session *const warm = std::exchange(world.session, fresh);
        world.Fetch(world.other.Url("/bytes"), {TNX_ERR_CONNECT}, "Too many open files");
        world.session = warm;
        OVX_Tnx_CloseSession(&fresh);
    }
    for (const int fd : taken) {
        close(fd);
    }
    world.Works();
}

// None gets its stack.
void Threads()
{
    World world;
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, size_t{1} << 46);
    ASSERT_EQ(pthread_setattr_default_np(&attributes), 0);
    for (int i = 0; i < 20; ++i) {
        world.Works();
    }
}

void AddressSpace()
{
    World world;
    std::ifstream file("/proc/self/statm");
    rlim_t pages = 0;
    file >> pages;
    {
        const Limit limit(RLIMIT_AS, pages * 4096 + (16U << 20));
        world.Fetch(world.server.Url("/bytes?n=100000000"), {TNX_ERR_OUT_OF_MEMORY});
    }
    world.Works();
}

// A network of the process's own, in which nothing else is: not every machine allows it.
void OwnNetwork()
{
    const int flags = geteuid() == 0 ? CLONE_NEWNET : CLONE_NEWUSER | CLONE_NEWNET;
    if (unshare(flags) != 0) {
        _exit(NOT_ALLOWED);
    }
}

void SetLoopback(bool up)
{
    ifreq request{};
    strcpy(request.ifr_name, "lo");
    const int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    ioctl(fd, SIOCGIFFLAGS, &request);
    request.ifr_flags =
        static_cast<short>(up ? request.ifr_flags | IFF_UP : request.ifr_flags & ~IFF_UP);
    EXPECT_EQ(ioctl(fd, SIOCSIFFLAGS, &request), 0);
    close(fd);
}

void Ports()
{
    OwnNetwork();
    SetLoopback(true);
    World world;
    std::ofstream("/proc/sys/net/ipv4/ip_local_port_range") << "40000 40000";
    OVX_Tnx_CloseSession(&world.session);
    uint32_t code = 1;
    world.session = OVX_Tnx_CreateSession(nullptr, &code);
    Call busy(world.server.Url("/stall?ms=300"));
    busy.Start(world.session);
    ASSERT_TRUE(world.server.WaitForOpenConnections(1));
    EXPECT_TRUE(world.server.WaitForRequests(1));
    world.Fetch(world.server.Url("/bytes"), {TNX_ERR_CONNECT}, "Cannot assign");
    EXPECT_EQ(busy.Wait().code, TNX_OK);
    std::ofstream("/proc/sys/net/ipv4/ip_local_port_range") << "40000 50000";
    world.Works();
}

void Network()
{
    OwnNetwork();
    SetLoopback(true);
    World world;
    world.Fetch("http://192.0.2.1/", {TNX_ERR_CONNECT}, "unreachable");
    world.Fetch("http://[2001:db8::1]/", {TNX_ERR_CONNECT}, "unreachable");
    world.Fetch("http://name.example/", {TNX_ERR_RESOLVE_HOST}, "name.example");
    SetLoopback(false);
    world.Fetch("http://192.0.2.1/", {TNX_ERR_CONNECT}, "unreachable");
    SetLoopback(true);
    world.Works();
}

void Interruptions()
{
    World world;
    struct sigaction action {
    };
    action.sa_handler = [](int) {};
    sigaction(SIGALRM, &action, nullptr);
    const itimerval often{.it_interval = {0, 1000}, .it_value = {0, 1000}};
    setitimer(ITIMER_REAL, &often, nullptr);
    for (int i = 0; i < 20; ++i) {
        world.Fetch(world.server.Url("/bytes?n=1000000"), {TNX_OK});
        world.Fetch("http://localhost:" + std::to_string(world.server.Port()) + "/stall?ms=5",
                    {TNX_OK});
        Call post(world.server.Url("/echo"), "POST");
        post.Body(std::string(1000000, 'x'));
        EXPECT_EQ(post.FetchSync(world.session).code, TNX_OK);
    }
    const itimerval never{};
    setitimer(ITIMER_REAL, &never, nullptr);
    world.Works();
}

void WallClock()
{
    World world;
    std::atomic<bool> over = false;
    std::thread jumper([&over] {
        for (time_t jump = 86400; !over; jump = -jump) {
            g_jump = jump;
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    });
    for (int i = 0; i < 20; ++i) {
        Call call(world.server.Url("/stall?ms=20"));
        call.configuration.transfer.transferTimeout = 10000;
        call.configuration.tracing.collectTimeInfo = true;
        const Outcome outcome =
            i % 2 == 0 ? call.FetchSync(world.session) : call.Fetch(world.session);
        EXPECT_EQ(outcome.code, TNX_OK) << outcome.Why();
        ASSERT_TRUE(outcome.times.has_value());
        EXPECT_GE(outcome.times->total, 15000);
        EXPECT_LT(outcome.times->total, 10000000);
    }
    Call late(world.server.Url("/stall?ms=60000"));
    late.configuration.transfer.transferTimeout = 100;
    EXPECT_EQ(late.FetchSync(world.session).code, TNX_ERR_TIMEOUT);
    over = true;
    jumper.join();
    world.Works();
}

struct Row {
    const char *name;
    void (*run)();
};

class ExhaustedMachineTest : public testing::TestWithParam<Row>
{
};

TEST_P(ExhaustedMachineTest, EndsInACodeAndATextAndIsOver)
{
    const pid_t child = fork();
    if (child == 0) {
        alarm(100);
        GetParam().run();
        _exit(HasFailure() ? 1 : 0);
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status)) << status;
    if (WEXITSTATUS(status) == NOT_ALLOWED) {
        GTEST_SKIP() << "This machine gives no network of its own";
    }
    EXPECT_EQ(WEXITSTATUS(status), 0);
}

INSTANTIATE_TEST_SUITE_P(All, ExhaustedMachineTest,
                         testing::Values(Row{"Descriptors", Descriptors}, Row{"Threads", Threads},
                                         Row{"AddressSpace", AddressSpace}, Row{"Ports", Ports},
                                         Row{"Network", Network},
                                         Row{"Interruptions", Interruptions},
                                         Row{"WallClock", WallClock}),
                         [](const auto &row) { return std::string(row.param.name); });

} // namespace

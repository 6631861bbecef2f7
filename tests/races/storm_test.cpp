// Threads that fetch, cancel and close at random, against a server that answers, drips, stalls and
// resets: every accepted fetch is answered exactly once, and nothing is left behind.
//
// TNX_STORM_REQUESTS sets how many requests; the default suits every build.
#include "tests/e2e/client.h"
#include "tnx_c_ext/cookie_jar.h"

#include <array>
#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <random>

namespace EndToEnd
{
namespace
{

constexpr size_t THREADS = 8;
constexpr size_t MOST_IN_FLIGHT = 24; // a thread

size_t CountEntries(const char *directory)
{
    const std::filesystem::directory_iterator entries(directory);
    return static_cast<size_t>(std::distance(begin(entries), end(entries)));
}

size_t RequestsInAll()
{
    const char *const text = std::getenv("TNX_STORM_REQUESTS");
    return text != nullptr ? std::strtoul(text, nullptr, 10) : 6000;
}

// A request with the count of its answers.
struct Shot {
    explicit Shot(const std::string &url)
        : request(OVX_Tnx_CreateRequest(url.c_str()))
    {
        request->configuration = &configuration;
        configuration.transfer.transferTimeout = 20000;
    }
    ~Shot() { OVX_Tnx_DestroyRequest(request); }

    static void Answer(void *self, Tnx_Response *response, uint32_t)
    {
        if (response != nullptr) {
            response->destroyResponse(response);
        }
        ++static_cast<Shot *>(self)->answers;
    }

    Tnx_Request *request;
    Tnx_Configuration configuration = {};
    std::atomic<int> answers = 0;
};

class Thrower
{
public:
    Thrower(Tnx_Session *shared, size_t requests, unsigned seed)
        : shared_(shared)
        , left_(requests)
        , random_(seed)
    {
    }

    void Run()
    {
        uint32_t code = 0;
        own_ = OVX_Tnx_CreateSession(nullptr, &code);
        while (left_ > 0) {
            Step();
        }
        EXPECT_TRUE(Eventually([this] { return Unanswered(ofShared_) == 0; }));
        OVX_Tnx_CancelSession(own_);
        OVX_Tnx_CloseSession(&own_);
        Settle(ofShared_, true);
        Settle(ofOwn_, true);
    }

private:
    using Shots = std::vector<std::unique_ptr<Shot>>;

    size_t Pick(size_t below)
    {
        return std::uniform_int_distribution<size_t>(0, below - 1)(random_);
    }

    static size_t Unanswered(const Shots &shots)
    {
        size_t count = 0;
        for (const auto &shot : shots) {
            count += shot->answers == 0 ? 1 : 0;
        }
        return count;
    }

    // Lets go of what was answered. `all`: each must have been, exactly once.
    static void Settle(Shots &shots, bool all)
    {
        std::erase_if(shots, [all](const auto &shot) {
            const int answers = shot->answers;
            EXPECT_LE(answers, 1);
            EXPECT_TRUE(!all || answers == 1);
            return answers == 1;
        });
    }

    void Step()
    {
        const size_t dice = Pick(1000);
        if (dice < 900) {
            FetchOne();
        } else if (dice < 990) {
            CancelOne();
        } else if (dice < 996) {
            OVX_Tnx_CancelSession(dice % 2 == 0 ? shared_ : own_);
        } else {
            CloseOwn();
        }
        if (ofShared_.size() + ofOwn_.size() >= MOST_IN_FLIGHT) {
            EXPECT_TRUE(Eventually([this] {
                Settle(ofShared_, false);
                Settle(ofOwn_, false);
                return ofShared_.size() + ofOwn_.size() < MOST_IN_FLIGHT;
            }));
        }
    }

    void FetchOne()
    {
        static constexpr std::array<const char *, 8> TARGETS = {
            "/bytes?n=100",   "/bytes?n=100000",       "/bytes?n=1&line=Set-Cookie:%20a=b",
            "/drip?n=5&ms=1", "/stall?ms=20",          "/reset?after=100",
            "/close",         "/truncate?n=10&of=1000"};
        const bool useShared = Pick(2) == 0;
        auto shot = std::make_unique<Shot>(Scripted().Url(TARGETS[Pick(TARGETS.size())]));
        const Tnx_ResponseCallbackObject callback = {Shot::Answer, shot.get()};
        ASSERT_EQ(OVX_Tnx_Fetch(useShared ? shared_ : own_, shot->request, &callback), 0U);
        (useShared ? ofShared_ : ofOwn_).push_back(std::move(shot));
        --left_;
    }

    void CancelOne()
    {
        const bool useShared = Pick(2) == 0;
        Shots &shots = useShared ? ofShared_ : ofOwn_;
        if (!shots.empty()) {
            OVX_Tnx_CancelRequest(useShared ? shared_ : own_, shots[Pick(shots.size())]->request);
        }
    }

    // A close completes nothing: who was not answered by then never is.
    void CloseOwn()
    {
        OVX_Tnx_CloseSession(&own_);
        const size_t unanswered = Unanswered(ofOwn_);
        uint32_t code = 0;
        own_ = OVX_Tnx_CreateSession(nullptr, &code);
        EXPECT_EQ(Unanswered(ofOwn_), unanswered);
        ofOwn_.clear();
    }

    Tnx_Session *const shared_;
    Tnx_Session *own_ = nullptr;
    size_t left_;
    std::mt19937 random_;
    Shots ofShared_;
    Shots ofOwn_;
};

void Storm(size_t requests)
{
    uint32_t code = 0;
    Tnx_Session *shared = OVX_Tnx_CreateSession(nullptr, &code);
    Tnx_CookieJar *jar = OVX_Tnx_CreateCookieJar(nullptr, &code);
    EXPECT_EQ(OVX_Tnx_UseCookieJar(shared, jar), 0U);
    OVX_Tnx_DestroyCookieJar(jar); // it stays with the session
    std::vector<std::thread> threads;
    for (unsigned i = 0; i < THREADS; ++i) {
        threads.emplace_back([=] { Thrower(shared, requests / THREADS, i + 1).Run(); });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    OVX_Tnx_CloseSession(&shared);
}

TEST(StormTest, EveryFetchIsAnsweredOnceAndNothingIsLeftBehind)
{
    Scripted();
    Storm(THREADS * 20); // the engine's own threads and descriptors
    ASSERT_TRUE(Scripted().WaitForOpenConnections(0));
    const size_t descriptors = CountEntries("/proc/self/fd");
    const size_t threads = CountEntries("/proc/self/task");
    Storm(RequestsInAll());
    ASSERT_TRUE(Scripted().WaitForOpenConnections(0));
    EXPECT_EQ(CountEntries("/proc/self/fd"), descriptors);
    EXPECT_TRUE(Eventually([=] { return CountEntries("/proc/self/task") <= threads + 1; }));
}

// Nothing that a fetch does reads the environment, which the application may change meanwhile.
TEST(StormTest, TheEnvironmentMayChangeMeanwhile)
{
    std::atomic<bool> over = false;
    std::thread changer([&over] {
        for (int i = 0; !over; ++i) {
            setenv(("TNX_TEST_" + std::to_string(i % 500)).c_str(), std::string(50, 'x').c_str(),
                   1);
            unsetenv(("TNX_TEST_" + std::to_string((i + 250) % 500)).c_str());
        }
    });
    Storm(RequestsInAll() / 4);
    over = true;
    changer.join();
}

} // namespace
} // namespace EndToEnd

// What is received: streams, ranges, encodings, and how much memory that takes.
#include "client.h"

#include "bodies.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <fstream>
#include <future>

namespace
{

using namespace EndToEnd;

constexpr size_t MAX_CHUNK = 524288;
constexpr uint64_t MEBIBYTE = 1024 * 1024;

// Kibibytes of a field of /proc/self/status.
long Memory(const std::string &field)
{
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with(field)) {
            return std::stol(line.substr(field.size() + 1));
        }
    }
    return 0;
}

class DownloadsTest : public EndToEndTest
{
protected:
    // The roots of HTTP/1.1 and HTTP/2.
    static std::vector<std::string> Roots()
    {
        return {Scripted().Url(""), Nginx().Url("/scripted", Site::TLS)};
    }
};

TEST_F(DownloadsTest, StreamsBringEveryByte)
{
    struct Target {
        std::string path;
        uint64_t length;
        bool zeros;
    };
    for (const std::string &root : Roots()) {
        for (const Target &one : {Target{"/bytes?n=3000000", 3000000, false},
                                  {"/chunked?n=100000&size=7000", 100000, false},
                                  {"/gzip?n=2000000", 2000000, false},
                                  {"/bomb?n=3145728", 3145728, true},
                                  {"/bytes?n=0", 0, false}}) {
            SCOPED_TRACE(root + one.path);
            uint64_t received = 0;
            bool good = true;
            const auto fill = [&](Call &call) {
                received = 0;
                call.OnData([&](std::string_view data) {
                    good = good && !data.empty() && data.size() <= MAX_CHUNK &&
                           data == (one.zeros ? std::string(data.size(), '\0')
                                              : Pattern(data.size(), received));
                    received += data.size();
                    return data.size();
                });
            };
            Both(fill, root + one.path, "GET", [&](const Outcome &outcome) {
                EXPECT_EQ(outcome.code, 0U) << outcome.Why();
                EXPECT_EQ(received, one.length);
                EXPECT_TRUE(good);
                EXPECT_EQ(outcome.body, ""); // not kept besides
            });
        }
    }
}

struct TextTaken {
    size_t calls = 0;
    size_t bytes = 0;
};

// The slot that sees text only: NUL bytes end it early, and that is no refusal.
TEST_F(DownloadsTest, TextIsCutAtItsFirstNul)
{
    for (const auto &[path, bytes] :
         {std::pair{"/bomb?n=1048576", size_t{0}}, {"/bytes?n=5000", size_t{5000}}}) {
        TextTaken taken;
        const auto fill = [&taken](Call &call) {
            taken = {};
            call.configuration.tracing.eventsHandler.onDataReceive = {
                [](void *ctx, const char *data) {
                    auto &self = *static_cast<TextTaken *>(ctx);
                    ++self.calls;
                    self.bytes += std::strlen(data);
                    return std::strlen(data);
                },
                &taken};
        };
        Both(fill, Scripted().Url(path), "GET", [&, bytes = bytes](const Outcome &outcome) {
            EXPECT_EQ(outcome.code, 0U) << outcome.Why();
            EXPECT_GT(taken.calls, 0U);
            EXPECT_EQ(taken.bytes, bytes);
        });
    }
}

TEST_F(DownloadsTest, AShortCountStopsTheTransfer)
{
    const struct {
        const char *path;
        std::string body{}; // to be echoed
    } cases[] = {{"/endless"},
                 {"/bytes?n=10"},
                 {"/bomb?n=1073741824"}, // a NUL at the start, in the middle, at the end
                 {"/echo", {"ab\0cd", 5}},
                 {"/echo", {"abc\0", 4}}};
    for (const std::string &root : Roots()) {
        for (const auto &one : cases) {
            SCOPED_TRACE(root + one.path);
            std::atomic<int> calls = 0;
            const auto fill = [&](Call &call) {
                calls = 0;
                call.Body(one.body).OnData([&calls](std::string_view data) {
                    ++calls;
                    return std::min(data.find('\0'), data.size() - 1);
                });
            };
            Both(fill, root + one.path, "POST", [&calls](const Outcome &outcome) {
                EXPECT_EQ(outcome.code, TNX_ERR_WRITE);
                EXPECT_EQ(outcome.status, 200);
                EXPECT_NE(outcome.Why().find("data callback"), std::string::npos) << outcome.Why();
                EXPECT_EQ(calls, 1);
            });
        }
    }
}

TEST_F(DownloadsTest, ABlockedReaderDelaysOnlyItself)
{
    for (const std::string &root : Roots()) {
        SCOPED_TRACE(root);
        std::promise<void> goOn;
        std::promise<void> blocked;
        bool first = true;
        uint64_t received = 0;
        Call reader(root + "/bytes?n=20000000"); // more than all buffers on the way hold
        reader.OnData([&](std::string_view data) {
            if (std::exchange(first, false)) {
                blocked.set_value();
                goOn.get_future().wait_for(std::chrono::seconds(60));
            }
            received += data.size();
            return data.size();
        });
        reader.Start(Session());
        ASSERT_EQ(blocked.get_future().wait_for(std::chrono::seconds(60)),
                  std::future_status::ready);
        for (int i = 0; i < 3; ++i) {
            Call sibling(root + "/bytes?n=1000000");
            EXPECT_EQ(sibling.Fetch(session_).body.size(), 1000000U);
        }
        EXPECT_EQ(reader.Answers(), 0U);
        goOn.set_value();
        EXPECT_EQ(reader.Wait().code, 0U);
        EXPECT_EQ(received, 20000000U);
        Close();
    }
}

TEST_F(DownloadsTest, ManyBlockedReadersBlockNobodyElse)
{
    constexpr size_t READERS = 40;
    configuration_.maxConnectionsPerHost = READERS + 1;
    std::promise<void> goOn;
    const std::shared_future<void> mayGoOn = goOn.get_future().share();
    std::atomic<size_t> blocked = 0;
    std::vector<std::unique_ptr<Call>> readers;
    for (size_t i = 0; i < READERS; ++i) {
        readers.push_back(std::make_unique<Call>(Scripted().Url("/bytes?n=10")));
        readers.back()->OnData([&](std::string_view data) {
            ++blocked;
            mayGoOn.wait_for(std::chrono::seconds(60));
            return data.size();
        });
        readers.back()->Start(Session());
    }
    EXPECT_TRUE(Eventually([&] { return blocked == READERS; }));
    EXPECT_EQ(Call(Scripted().Url("/bytes?n=3")).Fetch(session_).body, "abc");
    goOn.set_value();
    for (const auto &reader : readers) {
        EXPECT_EQ(reader->Wait().code, 0U);
    }
}

uint64_t g_left;

int PullZeros(char *buffer, unsigned int size)
{
    const uint64_t count = std::min<uint64_t>(g_left, size);
    std::memset(buffer, 0, count);
    g_left -= count;
    return static_cast<int>(count);
}

// A small version of what the benchmark does with ten times as much.
TEST_F(DownloadsTest, MemoryDoesNotGrowWithTheBody)
{
    constexpr uint64_t LENGTH = 128 * MEBIBYTE;
    constexpr long BOUND = 48 * 1024;
    Call(Nginx().Url("/64k", Site::TLS)).Fetch(Session()); // what is made once is there
    const long before = Memory("VmHWM:");
    for (const Site site : {Site::PLAIN, Site::TLS}) {
        uint64_t received = 0;
        Call download(Nginx().Url("/big", site));
        download.Range({0, true, static_cast<int64_t>(LENGTH - 1), true, nullptr});
        download.OnData([&received](std::string_view data) {
            received += data.size();
            return data.size();
        });
        const Outcome down = download.Fetch(session_);
        EXPECT_EQ(down.code, 0U) << down.Why();
        EXPECT_EQ(received, LENGTH);

        g_left = LENGTH;
        Call upload(Nginx().Url("/sink", site), "PUT"); // in a process of its own
        const Outcome up = upload.Pull(PullZeros).Fetch(session_);
        EXPECT_EQ(up.code, 0U) << up.Why();
        EXPECT_EQ(up.status, 200);
        EXPECT_EQ(g_left, 0U);
    }
    if (!SANITIZED) {
        EXPECT_LT(Memory("VmHWM:") - before, BOUND);
    }
}

TEST_F(DownloadsTest, RangesAreAskedForAndArriveAsTheyAre)
{
    const struct {
        std::vector<Tnx_TransferRange> ranges;
        const char *field;
        int32_t status;
        const char *body;
    } cases[] = {
        {{}, "", 200, nullptr},
        {{{0, false, 0, false, nullptr}}, "", 200, nullptr},
        {{{0, true, 4, true, nullptr}}, "bytes=0-4", 206, "abcde"},
        {{{0, false, 4, false, nullptr}}, "bytes=-4", 206, "ijkl"},
        {{{995, false, 0, false, nullptr}}, "bytes=995-", 206, "hijkl"},
        {{{1, false, 2, false, nullptr}}, "bytes=1-2", 206, "bc"},
        {{{0, true, 0, false, nullptr}}, "bytes=0-", 206, nullptr},
        {{{0, true, 0, true, nullptr}}, "bytes=0-0", 206, "a"},
        {{{2000, true, 0, false, nullptr}}, "bytes=2000-", 416, ""},
        {{{0, true, 1, true, nullptr},
          {5, true, 6, true, nullptr},
          {},
          {0, false, 1, false, nullptr}},
         "bytes=0-1,5-6,-1",
         206,
         "--part\r\nContent-Range: bytes 0-1/1000\r\n\r\nab\r\n"
         "--part\r\nContent-Range: bytes 5-6/1000\r\n\r\nfg\r\n"
         "--part\r\nContent-Range: bytes 999-999/1000\r\n\r\nl\r\n--part--\r\n"},
    };
    for (const auto &one : cases) {
        SCOPED_TRACE(one.field);
        const auto fill = [&one](Call &call) {
            for (const Tnx_TransferRange &range : one.ranges) {
                call.Range(range);
            }
        };
        Both(fill, Scripted().Url("/range?n=1000"), "GET", [&one](const Outcome &outcome) {
            EXPECT_EQ(outcome.code, 0U) << outcome.Why();
            EXPECT_EQ(outcome.status, one.status);
            EXPECT_EQ(outcome.body, one.body == nullptr ? Pattern(1000) : one.body);
            const ReceivedRequest request = Scripted().LastRequest();
            EXPECT_EQ(request.Field("range"), one.field);
            // A range of an encoding is of no use.
            EXPECT_EQ(request.Field("accept-encoding").empty(), *one.field != '\0');
        });
    }
}

TEST_F(DownloadsTest, EncodingsAreDecoded)
{
    for (const char *path : {"/gzip", "/deflate", "/br", "/zstd"}) {
        for (const std::string &root : Roots()) {
            SCOPED_TRACE(root + path);
            Both({}, root + path + "?n=300000", "GET", [](const Outcome &outcome) {
                EXPECT_EQ(outcome.code, 0U) << outcome.Why();
                EXPECT_TRUE(outcome.body == Pattern(300000));
            });
        }
    }
    // So long that it is kept in several blocks.
    Both({}, Scripted().Url("/chunked?n=40000000&size=500000"), "GET", [](const Outcome &outcome) {
        EXPECT_EQ(outcome.code, 0U) << outcome.Why();
        EXPECT_TRUE(outcome.body == Pattern(40000000));
    });
    // An application that names encodings decodes by itself.
    const auto own = [](Call &call) { call.Header("accept-encoding", "gzip"); };
    Both(own, Scripted().Url("/gzip?n=1000"), "GET", [](const Outcome &outcome) {
        EXPECT_EQ(outcome.body, Gzip(Pattern(1000)));
        EXPECT_EQ(outcome.headers.at("content-encoding"), "gzip");
    });
}

TEST_F(DownloadsTest, ABodyTooLargeForMemoryIsRefusedAtOnce)
{
    Both({}, Scripted().Url("/bytes?n=2147483648"), "GET", [](const Outcome &outcome) {
        EXPECT_EQ(outcome.code, TNX_ERR_BODY_TOO_LARGE);
        EXPECT_NE(outcome.Why().find("2147483647"), std::string::npos) << outcome.Why();
        EXPECT_EQ(outcome.status, 200);
        EXPECT_EQ(outcome.headers.at("content-length"), "2147483648");
    });
}

// A thousand bytes come out of each that arrives while nobody takes them: they must not pile up.
TEST_F(DownloadsTest, ABombWaitsForItsReader)
{
    constexpr uint64_t LENGTH = 150 * MEBIBYTE;
    constexpr long BOUND = 24 * 1024;
    for (const std::string &root : Roots()) {
        SCOPED_TRACE(root);
        const long before = Memory("VmHWM:");
        std::promise<void> goOn;
        std::promise<void> blocked;
        bool first = true;
        uint64_t received = 0;
        Call reader(root + "/bomb?n=" + std::to_string(LENGTH));
        reader.OnData([&](std::string_view data) {
            if (std::exchange(first, false)) {
                blocked.set_value();
                goOn.get_future().wait_for(std::chrono::seconds(60));
            }
            received += data.size();
            return data.size();
        });
        reader.Start(Session());
        ASSERT_EQ(blocked.get_future().wait_for(std::chrono::seconds(60)),
                  std::future_status::ready);
        EXPECT_EQ(Call(Scripted().Url("/bytes?n=3")).Fetch(session_).body, "abc");
        goOn.set_value();
        const Outcome outcome = reader.Wait();
        EXPECT_EQ(outcome.code, 0U) << outcome.Why();
        EXPECT_EQ(received, LENGTH);
        if (!SANITIZED) {
            EXPECT_LT(Memory("VmHWM:") - before, BOUND);
        }
    }
}

TEST_F(DownloadsTest, InterimResponsesAndTrailersStayOutOfTheHeaders)
{
    for (const char *path : {"/100-continue?n=2", "/100-continue?code=103"}) {
        Both([](Call &call) { call.Body("abc"); }, Scripted().Url(path), "POST",
             [](const Outcome &outcome) {
                 EXPECT_EQ(outcome.code, 0U) << outcome.Why();
                 EXPECT_EQ(outcome.status, 200);
                 EXPECT_EQ(outcome.headers.count("x-interim"), 0U);
             });
    }
    Both({}, Scripted().Url("/chunked?n=30&trailer=X-Late:%20yes&line=X-Early:%20yes"), "GET",
         [](const Outcome &outcome) {
             EXPECT_EQ(outcome.body, Pattern(30));
             EXPECT_EQ(outcome.headers.at("x-early"), "yes");
             EXPECT_EQ(outcome.headers.count("x-late"), 0U);
         });
    Both({}, Scripted().Url("/until-close?n=1000"), "GET",
         [](const Outcome &outcome) { EXPECT_EQ(outcome.body, Pattern(1000)); });
}

// A kept connection that has died meanwhile: repeated where that cannot do a thing twice.
TEST_F(DownloadsTest, ADeadConnectionIsNotTheApplicationsProblem)
{
    for (const char *query : {"", "?at-once=1", "?how=reset"}) {
        SCOPED_TRACE(query);
        const std::string url = Scripted().Url(std::string("/keep-alive-then-close") + query);
        for (int i = 0; i < 4; ++i) {
            Both({}, url, "GET", [](const Outcome &outcome) {
                EXPECT_EQ(outcome.code, 0U) << outcome.Why();
                EXPECT_EQ(outcome.body, "ok");
            });
        }
    }
    Call first(Scripted().Url("/keep-alive-then-close"));
    EXPECT_EQ(first.Fetch(Session()).code, 0U);
    Scripted().ForgetRequests();
    Call post(Scripted().Url("/keep-alive-then-close"), "POST");
    const Outcome outcome = post.Body("do it once").Fetch(session_);
    EXPECT_LE(Scripted().Requests().size(), 1U) << outcome.Why();
}

} // namespace

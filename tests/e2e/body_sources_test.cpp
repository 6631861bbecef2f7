// Bodies that are read from a source or a file: whole, again where they must be sent again, and
// refused where they are not what was announced.
#include "child_process.h"
#include "tests/e2e/client.h"
#include "tnx_c_ext/body.h"

#include <algorithm>
#include <atomic>
#include <fstream>
#include <stdexcept>

#include <sys/stat.h>

namespace
{

using namespace EndToEnd;

// A text in pieces, as an application would have it.
struct Text {
    std::string text = {};
    size_t piece = SIZE_MAX; // at most
    bool canRewind = true;
    int64_t length = 0;
    int64_t failure = 0; // what it gives at its end
    size_t at = 0;
    std::atomic<int> reads = 0;
    int rewinds = 0;
    int releases = 0;

    static int64_t Read(void *self, char *buffer, size_t size)
    {
        auto &text = *static_cast<Text *>(self);
        ++text.reads;
        const size_t count = std::min({size, text.piece, text.text.size() - text.at});
        text.text.copy(buffer, count, text.at);
        text.at += count;
        return count > 0 ? static_cast<int64_t>(count) : text.failure;
    }
    static bool Rewind(void *self)
    {
        auto &text = *static_cast<Text *>(self);
        ++text.rewinds;
        text.at = 0;
        return true;
    }
    static void Release(void *self) { ++static_cast<Text *>(self)->releases; }

    Tnx_BodySource Source() { return {Read, canRewind ? Rewind : nullptr, Release, length, this}; }
    void Give(Call &call)
    {
        const Tnx_BodySource source = Source();
        EXPECT_EQ(OVX_Tnx_SetRequestBodySource(call.Get(), &source), uint32_t{TNX_OK});
    }
};

constexpr size_t LARGE = 1000000;

class BodySourcesTest : public EndToEndTest
{
};

TEST_F(BodySourcesTest, AreSentWhole)
{
    const std::string large(LARGE, 'x');
    for (const std::string &url :
         {Scripted().Url("/sink"), Nginx().Url("/scripted/sink", Site::TLS)}) {
        for (const bool known : {false, true}) {
            for (const size_t piece : {size_t{999}, SIZE_MAX}) {
                Text text{.text = large, .piece = piece, .canRewind = false};
                text.length = known ? static_cast<int64_t>(large.size()) : 0;
                Both(
                    [&text](Call &call) {
                        text.at = 0;
                        text.Give(call);
                        call.content = {TNX_CONTENT_STRING, {.string = {"not sent", 8}}};
                        call.Get()->content = &call.content;
                    },
                    url, "PUT",
                    [&](const Outcome &outcome) {
                        EXPECT_EQ(outcome.code, 0U) << outcome.Why();
                        const ReceivedRequest request = Scripted().LastRequest();
                        EXPECT_TRUE(request.content == large) << request.content.size();
                        EXPECT_EQ(request.Field("content-length"),
                                  known ? std::to_string(large.size()) : "");
                        EXPECT_EQ(request.Field("content-type"), "application/octet-stream");
                    });
                EXPECT_EQ(text.releases, 2);
            }
        }
    }
}

// By redirects, challenges and the next fetch.
TEST_F(BodySourcesTest, AreSentAgainWhereTheyCanBe)
{
    const struct {
        const char *target;
        size_t size;
        uint32_t code; // without a way back
    } cases[] = {
        {"/redirect?n=3&code=307&to=/echo", 3000, TNX_ERR_CANNOT_REPLAY},
        {"/redirect?code=308&to=/echo", LARGE, TNX_ERR_CANNOT_REPLAY},
        {"/401-digest", 3000, TNX_ERR_CANNOT_REPLAY},
        {"/401-ntlm", LARGE, TNX_ERR_CANNOT_REPLAY},
        {"/redirect?code=303&to=/echo", 3000, TNX_OK}, // is a GET then
    };
    for (const auto &one : cases) {
        for (const bool canRewind : {true, false}) {
            SCOPED_TRACE(one.target);
            Text text{.text = std::string(one.size, 'x'), .piece = 1000, .canRewind = canRewind};
            Both(
                [&](Call &call) {
                    text.at = 0;
                    text.Give(call);
                    if (std::string(one.target).starts_with("/401")) {
                        call.configuration.security.credentialName = "user";
                        call.configuration.security.credentialPassword = "password";
                    }
                },
                Scripted().Url(one.target), "POST",
                [&](const Outcome &outcome) {
                    const bool again = canRewind || one.code == TNX_OK;
                    EXPECT_EQ(outcome.code, again ? uint32_t{TNX_OK} : one.code) << outcome.Why();
                    if (canRewind && one.code != TNX_OK) {
                        EXPECT_EQ(outcome.status, 200);
                        EXPECT_TRUE(Scripted().LastRequest().content == text.text);
                    }
                });
        }
    }
    for (const bool canRewind : {true, false}) { // by the next fetch
        Text text{.text = "abc", .canRewind = canRewind};
        Call call(Scripted().Url("/sink"), "PUT");
        text.Give(call);
        for (const char *received : {"3", canRewind ? "3" : "0"}) {
            EXPECT_EQ(call.FetchSync(Session()).body, received);
        }
    }
}

// A kept connection that has died is found out when the body is on its way, if not before.
TEST_F(BodySourcesTest, SurviveADeadConnection)
{
    for (const bool synchronous : {false, true}) {
        Close();
        for (int i = 0; i < 3; ++i) {
            Text text{.text = std::string(3000, 'x')};
            Call call(Scripted().Url("/keep-alive-then-close?how=reset"), "PUT");
            text.Give(call);
            const Outcome outcome = synchronous ? call.FetchSync(Session()) : call.Fetch(Session());
            EXPECT_EQ(outcome.code, 0U) << outcome.Why();
            EXPECT_TRUE(Scripted().LastRequest().content == text.text);
        }
    }
}

TEST_F(BodySourcesTest, FailuresAreToldApart)
{
    const auto noRewind = [](void *) { return false; };
    const auto throws = [](void *, char *, size_t) -> int64_t { throw std::runtime_error("x"); };
    const auto tooMuch = [](void *, char *, size_t size) { return static_cast<int64_t>(size) + 1; };
    const struct {
        int64_t length;
        int64_t failure;
        std::function<void(Tnx_BodySource &)> change;
        uint32_t code;
        const char *why;
    } cases[] = {
        {0, -1, {}, TNX_ERR_CALLBACK, "reported failure"},
        {10, 0, {}, TNX_ERR_TRUNCATED_BODY, "3 of 10 bytes"},
        {2, 0, {}, TNX_ERR_CALLBACK, "more than the 2 bytes"},
        {0, 0, [&](auto &source) { source.rewind = noRewind; }, TNX_ERR_CANNOT_REPLAY, "its start"},
        {0, 0, [&](auto &source) { source.read = throws; }, TNX_ERR_CALLBACK, "exception"},
        {0, 0, [&](auto &source) { source.read = tooMuch; }, TNX_ERR_CALLBACK, "failure"},
    };
    for (const auto &one : cases) {
        SCOPED_TRACE(one.why);
        Text text{.text = "abc", .length = one.length, .failure = one.failure};
        Both(
            [&](Call &call) {
                Tnx_BodySource source = text.Source();
                if (one.change) {
                    one.change(source);
                }
                OVX_Tnx_SetRequestBodySource(call.Get(), &source);
            },
            Scripted().Url("/sink"), "PUT",
            [&](const Outcome &outcome) {
                EXPECT_EQ(outcome.code, one.code) << outcome.Why();
                EXPECT_NE(outcome.Why().find(one.why), std::string::npos) << outcome.Why();
            });
        EXPECT_EQ(text.releases, 2);
    }
}

TEST_F(BodySourcesTest, FilesAreSentAsTheyAre)
{
    const TemporaryDirectory directory;
    const std::string large = directory.Path(std::string(200, 'n'));
    std::ofstream(large) << std::string(LARGE, 'x');
    const std::string empty = directory.Path("empty");
    std::ofstream(empty).flush();
    const std::string pipe = directory.Path("pipe");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    const struct {
        std::string path;
        const char *target;
        const char *method;
        uint32_t code;
        size_t length; // or what the text says
        const char *why = "";
    } cases[] = {
        {large, "/sink", "PUT", 0, LARGE},
        {large, "/redirect?n=2&code=307&to=/sink", "POST", 0, LARGE},
        {empty, "/sink", "PUT", 0, 0},
        {large, "/sink", "GET", 0, 0},
        {directory.Path("none"), "/sink", "PUT", TNX_ERR_READ, 0, "No such file"},
        {directory.Path(), "/sink", "PUT", TNX_ERR_READ, 0, "Is a directory"},
        {pipe, "/sink", "PUT", TNX_ERR_READ, 0, "no regular file"},
    };
    for (const auto &one : cases) {
        SCOPED_TRACE(one.path + one.target);
        Both(
            [&](Call &call) {
                EXPECT_EQ(OVX_Tnx_SetRequestBodyFile(call.Get(), one.path.c_str()),
                          uint32_t{TNX_OK});
            },
            Scripted().Url(one.target), one.method,
            [&](const Outcome &outcome) {
                EXPECT_EQ(outcome.code, one.code) << outcome.Why();
                if (one.code == 0) {
                    EXPECT_EQ(outcome.body, std::to_string(one.length));
                } else {
                    EXPECT_NE(outcome.Why().find(one.path), std::string::npos) << outcome.Why();
                    EXPECT_NE(outcome.Why().find(one.why), std::string::npos) << outcome.Why();
                }
            });
    }
}

TEST_F(BodySourcesTest, AreReleasedOnce)
{
    Text first;
    Text second;
    RequestPtr request(OVX_Tnx_CreateRequest("http://host"));
    const auto set = [&request](const Tnx_BodySource &source) {
        return OVX_Tnx_SetRequestBodySource(request.get(), &source);
    };
    EXPECT_EQ(set(first.Source()), uint32_t{TNX_OK});
    Tnx_BodySource bad = second.Source();
    bad.length = -1;
    EXPECT_EQ(set(bad), uint32_t{TNX_ERR_PARAMETER});
    EXPECT_EQ(set({}), uint32_t{TNX_ERR_PARAMETER});
    EXPECT_EQ(OVX_Tnx_SetRequestBodyFile(request.get(), ""), uint32_t{TNX_ERR_PARAMETER});
    EXPECT_EQ(OVX_Tnx_SetRequestBodyFile(nullptr, "x"), uint32_t{TNX_ERR_PARAMETER});
    EXPECT_EQ(first.releases + second.releases, 0);
    EXPECT_EQ(set(second.Source()), uint32_t{TNX_OK});
    EXPECT_EQ(first.releases, 1);
    EXPECT_EQ(OVX_Tnx_SetRequestBodyFile(request.get(), "x"), uint32_t{TNX_OK});
    EXPECT_EQ(second.releases, 1);
    EXPECT_EQ(OVX_Tnx_SetRequestBodyFile(request.get(), nullptr), uint32_t{TNX_OK});
    EXPECT_EQ(set(first.Source()), uint32_t{TNX_OK});
    request.reset();
    EXPECT_EQ(first.releases, 2);
    EXPECT_EQ(second.releases, 1);
}

// No callback of a request follows its cancel or its session's close.
TEST_F(BodySourcesTest, CancelAndCloseEndThem)
{
    for (const bool closes : {false, true}) {
        Text text{.text = std::string(1 << 26, 'x'), .piece = 1};
        Call call(Scripted().Url("/sink"), "PUT");
        text.Give(call);
        call.Start(Session());
        ASSERT_TRUE(Eventually([&text] { return text.reads > 3; }));
        if (closes) {
            Close();
        } else {
            OVX_Tnx_CancelRequest(Session(), call.Get());
            EXPECT_EQ(call.Wait().code, uint32_t{TNX_ERR_REQUEST_CANCELED});
        }
        const int reads = text.reads;
        Close();
        EXPECT_EQ(text.reads, reads);
        EXPECT_EQ(text.releases, 0);
    }
}

} // namespace

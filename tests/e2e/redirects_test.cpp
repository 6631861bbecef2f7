// Redirects: methods, bodies, credentials and cookies over the hops.
#include "client.h"

#include <algorithm>

namespace
{

using namespace EndToEnd;
using Texts = std::vector<std::string>;

class RedirectsTest : public EndToEndTest
{
protected:
    static std::string To(const std::string &to, int code = 302, const std::string &more = "")
    {
        return Scripted().Url("/redirect?code=" + std::to_string(code) + "&to=" + to + more);
    }
};

std::string g_pulled;
size_t g_pulledSoFar;
std::atomic<int> g_pulls;

// Gives g_pulled in pieces of three bytes.
int PullPieces(char *buffer, unsigned int size)
{
    ++g_pulls;
    const size_t count = std::min<size_t>({3, size, g_pulled.size() - g_pulledSoFar});
    std::copy_n(g_pulled.data() + g_pulledSoFar, count, buffer);
    g_pulledSoFar += count;
    return static_cast<int>(count);
}

TEST_F(RedirectsTest, MethodsAndBodiesFollowTheStatus)
{
    const struct {
        int code;
        const char *method;
        const char *second; // method and body of the second hop
    } cases[] = {
        {301, "POST", "GET "},     {302, "POST", "GET "},     {303, "POST", "GET "},
        {307, "POST", "POST abc"}, {308, "POST", "POST abc"}, {301, "PUT", "PUT abc"},
        {302, "PUT", "PUT abc"},   {303, "PUT", "GET "},      {307, "DELETE", "DELETE abc"},
        {302, "HEAD", "HEAD "},    {303, "HEAD", "HEAD "},
    };
    for (const auto &[code, method, second] : cases) {
        SCOPED_TRACE(std::to_string(code) + method);
        const auto fill = [](Call &call) { call.Body("abc").Header("Content-Type", "a/b"); };
        Both(fill, To("/echo", code), method, [expected = std::string(second)](const Outcome &out) {
            EXPECT_EQ(out.code, 0U) << out.Why();
            EXPECT_EQ(out.url, Scripted().Url("/echo"));
            const ReceivedRequest last = Scripted().LastRequest();
            EXPECT_EQ(last.Method() + " " + last.content, expected);
            // What described a body goes with it; HEAD had none to lose.
            EXPECT_EQ(last.Field("content-type"), last.Method() == "GET" ? "" : "a/b");
            EXPECT_EQ(last.Field("content-length"), last.content.empty() ? "" : "3");
        });
    }
}

TEST_F(RedirectsTest, BodiesAreSentAgainFromMemoryAndPathButNotFromCallbacks)
{
    TemporaryDirectory directory;
    WriteFile(directory.Path("file.txt"), "from disk");
    const auto multipart = [&directory](Tnx_FileSourceType source) {
        return [&directory, source](Call &call) {
            MultipartFormPtr form(OVX_Tnx_CreateMultipartForm());
            Tnx_MultipartFormFieldValue value = {};
            value.type = TNX_MULTIPART_VALUE_FILE;
            Tnx_ContentOrPathOrCallback &from = value.value.fileValue.contentOrPath;
            from.type = source;
            if (source == TNX_FILE_SOURCE_PATH) {
                directory.Path("file.txt").copy(from.value.path, sizeof from.value.path - 1);
            } else {
                from.value.getDataCallback = PullPieces;
            }
            OVX_Tnx_SetMultipartFormValue(form.get(), "part", &value);
            call.Multipart(std::move(form));
        };
    };
    const auto pulled = [](Call &call) {
        g_pulled = "abcdefgh";
        g_pulledSoFar = 0;
        call.Pull(PullPieces);
    };
    const auto none = [](Call &) {};
    const struct {
        const char *what;
        std::function<void(Call &)> fill;
        uint32_t code;
        const char *content;
    } cases[] = {
        {"none", none, 0, ""},
        {"multipart from a path", multipart(TNX_FILE_SOURCE_PATH), 0, "from disk"},
        {"pulled", pulled, TNX_ERR_CANNOT_REPLAY, ""},
        {"multipart from a callback",
         [&](Call &call) {
             pulled(call);
             multipart(TNX_FILE_SOURCE_CALLBACK)(call);
         },
         TNX_ERR_CANNOT_REPLAY, ""},
    };
    for (const auto &one : cases) {
        SCOPED_TRACE(one.what);
        Both(one.fill, To("/echo", 307), "POST", [&one](const Outcome &outcome) {
            EXPECT_EQ(outcome.code, one.code) << outcome.Why();
            EXPECT_EQ(outcome.status, one.code == 0 ? 200 : 307);
            EXPECT_NE(outcome.body.find(one.content), std::string::npos) << outcome.body;
        });
    }
    // 303 drops the body, so nothing is needed again.
    Both(pulled, To("/echo", 303), "POST",
         [](const Outcome &outcome) { EXPECT_EQ(outcome.code, 0U) << outcome.Why(); });
}

// The answer comes while the callback still works on the first piece: nothing was sent, but the
// piece is lost for another hop.
TEST_F(RedirectsTest, AnEarlyRedirectDoesNotLoseTheFirstPiece)
{
    g_pulls = 0;
    Scripted().ForgetRequests();
    Call call(Scripted().Url("/early-answer?code=307&line=Location:%20/echo"), "POST");
    call.Pull([](char *buffer, unsigned int) -> int {
        if (++g_pulls == 1) {
            Eventually([] { return !Scripted().Requests().empty(); });
            std::this_thread::sleep_for(std::chrono::milliseconds(100)); // lets the answer arrive
            *buffer = 'a';
            return 1;
        }
        return 0;
    });
    const Outcome outcome = call.Fetch(Session());
    if (outcome.code == 0) {
        EXPECT_EQ(Scripted().LastRequest().content, "a");
    } else {
        EXPECT_EQ(outcome.code, TNX_ERR_CANNOT_REPLAY) << outcome.Why();
    }
}

TEST_F(RedirectsTest, AnotherOriginSeesNoSecrets)
{
    ScriptedServer other;
    const auto fill = [](Call &call) {
        call.Header("Authorization", "Bearer x").Header("Host", "own.example").Cookie("a", "b");
        call.Header("X-Other", "y");
    };
    Both(fill, To(other.Url("/echo")), "GET", [&other](const Outcome &outcome) {
        EXPECT_EQ(outcome.code, 0U) << outcome.Why();
        const ReceivedRequest last = other.LastRequest();
        EXPECT_EQ(last.Field("authorization"), "");
        EXPECT_EQ(last.Field("cookie"), "");
        EXPECT_EQ(last.Field("host"), "127.0.0.1:" + std::to_string(other.Port()));
        EXPECT_EQ(last.Field("x-other"), "y");
    });
    // Back to the request's origin, on a path that the other one chose.
    const std::string back = other.Url("/redirect?to=" + Scripted().Url("/echo"));
    Both(fill, To(back), "GET", [](const Outcome &outcome) {
        EXPECT_EQ(outcome.code, 0U) << outcome.Why();
        const ReceivedRequest last = Scripted().LastRequest();
        EXPECT_EQ(last.Field("authorization"), "");
        EXPECT_EQ(last.Field("cookie"), "");
        EXPECT_EQ(last.Field("x-other"), "y");
    });
    Both(fill, To("/echo"), "GET", [](const Outcome &) {
        const ReceivedRequest last = Scripted().LastRequest();
        EXPECT_EQ(last.Field("authorization"), "Bearer x");
        EXPECT_EQ(last.Field("cookie"), "a=b");
        EXPECT_EQ(last.Field("host"), "own.example");
    });
}

TEST_F(RedirectsTest, CookiesOfAHopAreSentOnLaterOnes)
{
    const auto fill = [](Call &call) { call.Cookie("own", "1").Cookie("old", "1"); };
    const std::string lines = "&line=Set-Cookie:%20hop%3D2;%20Path%3D/"
                              "&line=Set-Cookie:%20old%3D2"
                              "&line=Set-Cookie:%20secure%3D3;%20Secure"
                              "&line=Set-Cookie:%20elsewhere%3D4;%20Path%3D/elsewhere"
                              "&line=Set-Cookie:%20bad"
                              "&line=Set-Cookie:%20gone%3D5;%20Max-Age%3D0";
    Both(fill, To("/header?line=Set-Cookie:%2520last%253D6", 302, lines), "GET",
         [](const Outcome &outcome) {
             EXPECT_EQ(outcome.code, 0U) << outcome.Why();
             EXPECT_EQ(Scripted().LastRequest().Fields("cookie"), Texts{"own=1; hop=2; old=2"});
             EXPECT_EQ(outcome.cookies,
                       (Texts{"hop=2", "old=2", "secure=3", "elsewhere=4", "gone=5", "last=6"}));
         });
    // Nothing is kept for another fetch.
    Call(Scripted().Url("/echo")).Fetch(Session());
    EXPECT_EQ(Scripted().LastRequest().Field("cookie"), "");
}

TEST_F(RedirectsTest, LocationsAreResolvedAndLimited)
{
    const std::string root = Scripted().Url("");
    const struct {
        std::string url;
        int32_t status;
        std::string effective;
    } cases[] = {
        {To("echo?a=b"), 200, root + "/echo?a=b"},
        {To("/x/../echo"), 200, root + "/echo"},
        {To(root.substr(5) + "/echo"), 200, root + "/echo"}, // without scheme
        {To("/echo%23fragment"), 200, root + "/echo#fragment"},
        {Scripted().Url("/redirect?n=50&to=/echo"), 200, root + "/echo"},
        {Scripted().Url("/status?code=302"), 302, Scripted().Url("/status?code=302")},
        {Scripted().Url("/status?code=302&line=Location:"), 302,
         Scripted().Url("/status?code=302&line=Location:")},
        {Scripted().Url("/status?code=302&line=Location:%20%23x"), 302,
         Scripted().Url("/status?code=302&line=Location:%20%23x")},
        {Scripted().Url("/status?code=304&line=Location:%20/echo"), 304,
         Scripted().Url("/status?code=304&line=Location:%20/echo")},
    };
    for (const auto &one : cases) {
        SCOPED_TRACE(one.url);
        Both({}, one.url, "GET", [&one](const Outcome &outcome) {
            EXPECT_EQ(outcome.code, 0U) << outcome.Why();
            EXPECT_EQ(outcome.status, one.status);
            EXPECT_EQ(outcome.url, one.effective);
        });
    }
    const auto off = [](Call &call) { call.configuration.transfer.autoRedirect = false; };
    Both(off, To("/echo"), "GET", [](const Outcome &outcome) {
        EXPECT_EQ(outcome.code, 0U);
        EXPECT_EQ(outcome.status, 302);
        EXPECT_EQ(outcome.body, "elsewhere");
        EXPECT_EQ(outcome.headers.at("location"), "/echo");
    });
}

TEST_F(RedirectsTest, NoBodyIsWaitedForThatMayBeLong)
{
    const std::string to = "code=302&line=Location:%20" + Scripted().Url("/bytes%3fn=3");
    const struct {
        std::string target;
        uint32_t connections;
        const char *method = "GET";
    } cases[] = {
        {"/endless?" + to, 2},
        {"/stall?ms=60000&after=3&n=65537&" + to, 2},
        {"/stall?ms=1&after=3&n=65536&" + to, 1},
        {"/bytes?n=65537&" + to, 1, "HEAD"},
    };
    for (const auto &[target, connections, method] : cases) {
        for (const std::string &root : {Scripted().Url(""), Nginx().Url("/scripted", Site::TLS)}) {
            SCOPED_TRACE(root + target);
            uint32_t before = 0;
            const auto fill = [&before](Call &call) {
                call.configuration.transfer.transferTimeout = 20000; // else it may take minutes
                before = Scripted().AcceptedConnections();
            };
            Both(fill, root + target, method, [&, made = connections](const Outcome &outcome) {
                EXPECT_EQ(outcome.code, 0U) << outcome.Why();
                EXPECT_EQ(outcome.status, 200);
                if (root == Scripted().Url("")) {
                    EXPECT_EQ(Scripted().AcceptedConnections() - before, made);
                }
                Close();
            });
        }
    }
}

} // namespace

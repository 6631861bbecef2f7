// Time-outs and versions of HTTP.
#include "ports.h"
#include "tests/e2e/client.h"

namespace
{

using namespace EndToEnd;

using TransferTest = EndToEndTest;

TEST_F(TransferTest, TimeOutsAreKept)
{
    const SilentPort silent;
    const std::string unanswered = "http://127.0.0.1:" + std::to_string(silent.Port()) + "/";
    const struct {
        std::string url;
        uint32_t connect;
        uint32_t transfer;
        uint32_t code;
    } cases[] = {
        {unanswered, 1, 0, TNX_ERR_TIMEOUT},
        {unanswered, 0, 1, TNX_ERR_TIMEOUT},
        {unanswered, TNX_NO_TIMEOUT, 50, TNX_ERR_TIMEOUT},
        {Scripted().Url("/stall?ms=60000"), 0, 1, TNX_ERR_TIMEOUT},
        // Redirects share the one time-out: each hop alone would be in time.
        {Scripted().Url("/redirect?n=50&to=/stall%3fms=60000"), 0, 400, TNX_ERR_TIMEOUT},
        {Scripted().Url("/stall?ms=50"), 60000, TNX_NO_TIMEOUT, 0},
        {Scripted().Url("/stall?ms=50"), TNX_NO_TIMEOUT, TNX_NO_TIMEOUT, 0},
    };
    for (const auto &one : cases) {
        SCOPED_TRACE(one.url);
        const auto fill = [&one](Call &call) {
            call.configuration.transfer.connectTimeout = one.connect;
            call.configuration.transfer.transferTimeout = one.transfer;
        };
        Both(fill, one.url, "GET", [&one](const Outcome &outcome) {
            EXPECT_EQ(outcome.code, one.code) << outcome.Why();
        });
    }
}

TEST_F(TransferTest, VersionsAreSpokenAsPreferred)
{
    const struct {
        Site site;
        uint32_t preference;
        bool hint;
        uint32_t code;
        const char *version; // as the server saw it
    } cases[] = {
        {Site::PLAIN, TNX_PREFER_HTTP1_0, false, 0, "HTTP/1.0"},
        {Site::PLAIN, TNX_PREFER_AUTOMATIC, false, 0, "HTTP/1.1"},
        {Site::PLAIN, TNX_PREFER_HTTP1_1, true, 0, "HTTP/1.1"},
        {Site::PLAIN, TNX_PREFER_HTTP2, false, 0, "HTTP/1.1"}, // it does not upgrade
        {Site::PLAIN, TNX_PREFER_HTTP2, true, TNX_ERR_HTTP2, ""},
        {Site::CLEAR_HTTP2, TNX_PREFER_HTTP2, true, 0, "HTTP/2.0"},
        {Site::TLS, TNX_PREFER_AUTOMATIC, false, 0, "HTTP/2.0"},
        {Site::TLS, TNX_PREFER_HTTP1_0, false, 0, "HTTP/1.0"},
        {Site::TLS, TNX_PREFER_HTTP1_1, false, 0, "HTTP/1.1"},
        {Site::TLS, TNX_PREFER_HTTP2, false, 0, "HTTP/2.0"},
        {Site::TLS, TNX_PREFER_HTTP2, true, 0, "HTTP/2.0"},
        {Site::TLS_HTTP1, TNX_PREFER_AUTOMATIC, false, 0, "HTTP/1.1"},
        {Site::TLS_HTTP1, TNX_PREFER_HTTP2, false, 0, "HTTP/1.1"},
        {Site::TLS_HTTP1, TNX_PREFER_HTTP2, true, TNX_ERR_HTTP2, ""},
        {Site::TLS, 4711, false, 0, "HTTP/2.0"}, // unknown: automatic
    };
    for (const auto &one : cases) {
        SCOPED_TRACE(std::string(one.version) + " preferring " + std::to_string(one.preference) +
                     (one.hint ? " known" : ""));
        const auto fill = [&one](Call &call) {
            call.configuration.transfer.transferPreference = one.preference;
            call.configuration.transfer.transferHint = one.hint;
        };
        Both(fill, Nginx().Url("/fields", one.site), "GET", [&one](const Outcome &outcome) {
            EXPECT_EQ(outcome.code, one.code) << outcome.Why();
            const std::string line = outcome.body.substr(0, outcome.body.find('\n'));
            if (one.code == 0) {
                EXPECT_EQ(line, "GET /fields " + std::string(one.version));
            }
        });
    }
}

// One session may ask the same server in different versions: a kept connection of another version
// must not serve.
TEST_F(TransferTest, KeptConnectionsDoNotDecideTheVersion)
{
    for (int round = 0; round < 3; ++round) {
        for (const auto &[preference, version] :
             {std::pair{TNX_PREFER_HTTP2, "HTTP/2.0"}, {TNX_PREFER_HTTP1_1, "HTTP/1.1"}}) {
            Both([preference = preference](
                     Call &call) { call.configuration.transfer.transferPreference = preference; },
                 Nginx().Url("/fields", Site::TLS), "GET",
                 [version = version](const Outcome &outcome) {
                     EXPECT_NE(outcome.body.find(version), std::string::npos) << outcome.body;
                 });
        }
    }
}

TEST_F(TransferTest, AVersionThatIsNotThereIsToldOrFallsBack)
{
    for (const bool known : {false, true}) {
        const auto fill = [known](Call &call) {
            call.configuration.transfer.transferPreference = TNX_PREFER_HTTP3;
            call.configuration.transfer.transferHint = known;
            call.configuration.tracing.debugInfoKinds[TNX_DEBUG_TEXT] = true;
        };
        // nginx speaks no HTTP/3 here, whatever libcurl can do.
        Both(fill, Nginx().Url("/fields", Site::TLS), "GET", [known](const Outcome &outcome) {
            EXPECT_EQ(outcome.code != 0, known) << outcome.Why();
            if (!known) {
                EXPECT_NE(outcome.body.find("HTTP/2.0"), std::string::npos);
            }
        });
    }
}

TEST_F(TransferTest, RedirectsAreFollowedOnlyWhenWanted)
{
    const struct {
        bool follow;
        int hops;
        uint32_t code;
        int32_t status;
    } cases[] = {{false, 1, 0, 302},
                 {true, 1, 0, 200},
                 {true, 50, 0, 200},
                 {true, 51, TNX_ERR_TOO_MANY_REDIRECTS, 302}};
    for (const auto &one : cases) {
        const std::string target = "/redirect?n=" + std::to_string(one.hops) + "&to=/bytes";
        Both([&one](Call &call) { call.configuration.transfer.autoRedirect = one.follow; },
             Scripted().Url(target), "GET",
             [&one](const Outcome &outcome) {
                 EXPECT_EQ(outcome.code, one.code) << outcome.Why();
                 EXPECT_EQ(outcome.status, one.status);
                 EXPECT_EQ(outcome.url == Scripted().Url("/bytes"), one.status == 200)
                     << outcome.url;
             });
    }
}

} // namespace

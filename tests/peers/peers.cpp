// Plays the rows, and keeps the table.
#include "peers.h"

#include <curl/curl.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <sstream>

namespace Peers
{
namespace
{

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr uint32_t PATIENCE = 20000; // milliseconds; a row that takes it hangs
constexpr long MOST_MEMORY = 256000; // KiB by which a row may grow

std::atomic<int64_t> g_longest; // fetch of the neighbour, in milliseconds

// Another session of the process, which fetches small answers all the time.
class Neighbour
{
public:
    Neighbour()
        : thread_([this] { Work(); })
    {
    }
    ~Neighbour()
    {
        over_ = true;
        thread_.join();
    }

private:
    void Work()
    {
        uint32_t code = 1;
        Tnx_Session *session = OVX_Tnx_CreateSession(nullptr, &code);
        Call call(Scripted().Url("/bytes?n=3"));
        while (!over_) {
            const auto begin = Clock::now();
            EXPECT_EQ(call.Fetch(session).body, "abc");
            const auto took = std::chrono::duration_cast<milliseconds>(Clock::now() - begin);
            g_longest = std::max<int64_t>(g_longest, took.count());
            std::this_thread::sleep_for(milliseconds(1));
        }
        OVX_Tnx_CloseSession(&session);
    }

    std::atomic<bool> over_ = false;
    std::thread thread_;
};

long Memory(const std::string &name) // in KiB
{
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with(name)) {
            return std::stol(line.substr(name.size()));
        }
    }
    return 0;
}

// The lines of the table, printed when the program ends, if somebody asked for them.
class Table : public testing::Environment
{
public:
    void Add(const std::string &name, const std::string &codes, int64_t took, long grown)
    {
        char numbers[64];
        std::snprintf(numbers, sizeof numbers, "%7lld %8ld %5lld  ", static_cast<long long>(took),
                      grown, static_cast<long long>(g_longest));
        lines_ << numbers << codes << "  " << name << "\n";
        ++rows_;
    }
    void TearDown() override
    {
        if (std::getenv("TNX_PEERS_TABLE") != nullptr) {
            std::cout << "     ms      KiB other  codes  row (" << rows_ << " of them, "
                      << curl_version_info(CURLVERSION_NOW)->version << ")\n"
                      << lines_.str();
        }
    }

private:
    std::ostringstream lines_;
    int rows_ = 0;
};

Table &TheTable()
{
    static auto *const table = new Table;
    return *table;
}

const auto *const g_registered = testing::AddGlobalTestEnvironment(&TheTable());

Outcome Fetch(Call &call, Tnx_Session *session, bool synchronous)
{
    call.configuration.transfer.transferTimeout =
        std::min(PATIENCE, call.configuration.transfer.transferTimeout == 0
                               ? PATIENCE
                               : call.configuration.transfer.transferTimeout);
    return synchronous ? call.FetchSync(session) : call.Fetch(session);
}

void PreferHttp2(Call &call)
{
    call.configuration.transfer.transferPreference = TNX_PREFER_HTTP2;
    call.configuration.transfer.transferHint = true;
}

void Judge(const Row &row, const Outcome &outcome, const std::string &body)
{
    const bool mayAnswer = row.codes.empty() || std::ranges::count(row.codes, TNX_OK) > 0;
    EXPECT_TRUE(row.codes.empty() ? outcome.code == TNX_OK
                                  : std::ranges::count(row.codes, outcome.code) > 0)
        << outcome.code << " " << outcome.status << " " << outcome.Why();
    if (outcome.code == TNX_OK) {
        EXPECT_TRUE(row.unsure || body == row.told) << body.substr(0, 200);
        EXPECT_EQ(outcome.status, row.status);
    } else if (!mayAnswer) {
        EXPECT_NE(outcome.Why().find(row.told), std::string::npos) << outcome.Why();
    }
}

// What may still come has come when a later timer of the server's one thread has.
void LetComeWhatComes()
{
    uint32_t code = 1;
    Tnx_Session *other = OVX_Tnx_CreateSession(nullptr, &code);
    EXPECT_EQ(Call(Peer().Url("/stall?ms=61")).FetchSync(other).code, TNX_OK);
    OVX_Tnx_CloseSession(&other);
}

// A plain request behind the row is answered, and by nothing that the row left.
void Follow(const Row &row, Tnx_Session *session, bool synchronous, Over over)
{
    if (row.late) {
        LetComeWhatComes();
    }
    if (over == Over::HTTP2) {
        Peer().Play(Play(Http2::Frame(Http2::SETTINGS, 0, "", 0) +
                         Http2::Head({{":status", "200"}}) +
                         Http2::Frame(Http2::DATA, Http2::END_STREAM, "abc"))
                        .Steps());
        Call call(Peer().Url("/played"));
        PreferHttp2(call);
        const Outcome next = Fetch(call, session, synchronous);
        EXPECT_EQ(next.code, TNX_OK) << next.Why();
        EXPECT_EQ(next.body, "abc");
    }
    const bool elsewhere = !row.url.empty() && row.codes.empty();
    Call call(elsewhere ? row.url.substr(0, row.url.rfind('/')) + "/bytes?n=3"
                        : Peer().Url("/bytes?n=3"));
    if (elsewhere && row.fill) {
        row.fill(call);
    }
    const Outcome next = Fetch(call, session, synchronous);
    EXPECT_EQ(next.code, TNX_OK) << next.Why();
    EXPECT_EQ(next.body, "abc");
    const auto requests = Peer().Requests();
    if (requests.size() > 1 && row.fate != EITHER && over == Over::HTTP1) {
        const bool kept = requests.back().connection == requests[requests.size() - 2].connection;
        EXPECT_EQ(kept, row.fate == KEPT);
    }
}

uint32_t RunOnce(const Row &row, const Play &play, Tnx_Session *session, bool synchronous,
                 bool streamed, Over over)
{
    Peer().ForgetRequests();
    Peer().Play(play.Steps());
    Call call(row.url.empty() ? Peer().Url("/played") : row.url, row.method);
    std::string body;
    if (streamed) {
        call.OnData([&body](std::string_view data) {
            body += data;
            return data.size();
        });
    }
    if (over == Over::HTTP2) {
        PreferHttp2(call);
    }
    if (row.fill) {
        row.fill(call);
    }
    const Outcome outcome = Fetch(call, session, synchronous);
    Judge(row, outcome, streamed ? body : outcome.body);
    EXPECT_EQ(row.cookie.value_or(""), row.cookie ? Peer().LastRequest().Field("cookie") : "");
    Follow(row, session, synchronous, over);
    return outcome.code;
}

void RunRow(const Row &row, Over over)
{
    SCOPED_TRACE(row.name);
    std::ofstream("/proc/self/clear_refs") << "5"; // resets the peak
    const long before = Memory("VmRSS:");
    const auto begin = Clock::now();
    g_longest = 0;
    std::vector<uint32_t> codes;
    for (size_t i = 0; i < row.plays.size(); ++i) {
        SCOPED_TRACE("play " + std::to_string(i));
        for (const bool synchronous : {false, true}) {
            SCOPED_TRACE(synchronous ? "synchronous" : "asynchronous");
            uint32_t code = 1;
            Tnx_Session *session = OVX_Tnx_CreateSession(nullptr, &code);
            // On a new connection, then on one that may be kept.
            for (const bool streamed : {false, true}) {
                SCOPED_TRACE(streamed ? "streamed" : "buffered");
                codes.push_back(RunOnce(row, row.plays[i], session, synchronous, streamed, over));
            }
            OVX_Tnx_CloseSession(&session);
        }
    }
    const auto took = std::chrono::duration_cast<milliseconds>(Clock::now() - begin);
    const long grown = std::max(0L, Memory("VmHWM:") - before);
    EXPECT_TRUE(SANITIZED || grown < MOST_MEMORY) << grown;
    std::ranges::sort(codes);
    codes.erase(std::unique(codes.begin(), codes.end()), codes.end());
    std::string all;
    for (const uint32_t code : codes) {
        all += (all.empty() ? "" : "|") + std::to_string(code);
    }
    TheTable().Add(row.name, all, took.count(), grown);
}

} // namespace

ScriptedServer &Peer()
{
    static ScriptedServer server;
    return server;
}

bool LibcurlIs(unsigned version)
{
    return curl_version_info(CURLVERSION_NOW)->version_num >= version;
}

void Check(const std::vector<Row> &rows, Over over)
{
    Scripted();
    Peer();
    const Neighbour neighbour;
    const char *const only = std::getenv("TNX_PEERS_ROW");
    for (const Row &row : rows) {
        if (only == nullptr || row.name.find(only) != std::string::npos) {
            RunRow(row, over);
        }
    }
}

} // namespace Peers

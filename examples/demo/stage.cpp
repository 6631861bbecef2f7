// Handles, waiting and printing for the scenes.
#include "stage.h"

#include <chrono>
#include <cstdio>
#include <sstream>

#include <unistd.h>

namespace
{

constexpr auto PATIENCE = std::chrono::seconds(10);

// An escape sequence on a terminal, else nothing.
const char *Style(const char *sequence)
{
    static const bool terminal = isatty(STDOUT_FILENO) != 0;
    return terminal ? sequence : "";
}
const char *Bold()
{
    return Style("\033[1m");
}
const char *Dim()
{
    return Style("\033[2m");
}
const char *Green()
{
    return Style("\033[32m");
}
const char *Red()
{
    return Style("\033[31m");
}
const char *Plain()
{
    return Style("\033[0m");
}

void PrintPhase(const char *name, double microseconds)
{
    if (microseconds > 0) {
        std::printf("%s%s%s %.2f   ", Dim(), name, Plain(), microseconds / 1000);
    }
}

void PrintTimes(const Tnx_TimeInfo &times)
{
    std::printf("     ");
    PrintPhase("queue", static_cast<double>(times.queue));
    PrintPhase("lookup", static_cast<double>(times.nameLookup));
    PrintPhase("connect", static_cast<double>(times.connect));
    PrintPhase("tls", static_cast<double>(times.tls));
    PrintPhase("sent", static_cast<double>(times.firstSend));
    PrintPhase("first byte", times.firstReceive);
    PrintPhase("total", times.total);
    std::printf("ms\n");
}

} // namespace

Setup::Setup()
{
    requests.transfer.autoRedirect = true;
    requests.tracing.collectTimeInfo = true;
    session.requestConfiguration = &requests;
}

SessionPtr Setup::Open()
{
    uint32_t code = TNX_OK;
    SessionPtr opened(OVX_Tnx_CreateSession(&session, &code));
    if (!opened) {
        std::fprintf(stderr, "no session: %u\n", code);
    }
    return opened;
}

void Inbox::Take(void *self, Tnx_Response *response, uint32_t code)
{
    auto *inbox = static_cast<Inbox *>(self);
    const std::lock_guard lock(inbox->mutex_);
    inbox->outcomes_.push_back({ResponsePtr(response), code});
    inbox->arrived_.notify_all();
}

std::vector<Outcome> Inbox::Wait(size_t count)
{
    std::unique_lock lock(mutex_);
    arrived_.wait_for(lock, PATIENCE, [&] { return outcomes_.size() >= count; });
    return std::move(outcomes_);
}

void Title(const std::string &text)
{
    static int number = 0;
    std::printf("\n%s%2d  %s%s\n", Bold(), ++number, text.c_str(), Plain());
}

void Print(const std::string &what, const Outcome &outcome)
{
    const auto *response = outcome.response.get();
    const bool good = outcome.code == TNX_OK;
    std::printf("     %s%s%s  %s", good ? Green() : Red(), good ? "✓" : "✗", Plain(), what.c_str());
    if (response != nullptr && response->statusCode != 0) {
        std::printf("  →  %d, %u bytes", response->statusCode, response->bodyLength);
    }
    if (!good) {
        std::printf("  →  error %u", outcome.code);
    }
    std::printf("\n");
    if (response != nullptr && response->timeInfo != nullptr) {
        PrintTimes(*response->timeInfo);
    }
}

void Note(const std::string &text)
{
    std::printf("     %s%s%s\n", Dim(), text.c_str(), Plain());
}

void PrintLines(const Outcome &outcome, const std::vector<std::string> &names)
{
    std::istringstream body{std::string(Body(outcome))};
    for (std::string line; std::getline(body, line);) {
        for (const auto &name : names) {
            if (line.compare(0, name.size(), name) == 0) {
                Note("server saw: " + line);
            }
        }
    }
}

std::string_view Body(const Outcome &outcome)
{
    return outcome.response == nullptr || outcome.response->body == nullptr
               ? std::string_view{}
               : std::string_view(outcome.response->body, outcome.response->bodyLength);
}

bool IsOk(const Outcome &outcome, int32_t status)
{
    return outcome.code == TNX_OK && outcome.response != nullptr &&
           outcome.response->statusCode == status;
}

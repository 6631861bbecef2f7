// How long each phase of each hop took. The response carries the times of the last hop; the library
// notes those of the others in a text each.
#include "hop_times.h"

#include <algorithm>
#include <cstdio>

namespace TnxTool
{

namespace
{

// When the phases of a hop ended, in microseconds since time 0; 0 where one did not happen.
struct Marks {
    double begin = 0;
    double lookup = 0;
    double connect = 0;
    double tls = 0;
    double send = 0;
    double firstByte = 0;
    double end = 0;
};

std::vector<Marks> ReadNotes(const Conversation &conversation)
{
    std::vector<Marks> notes;
    for (const std::string &text : conversation.texts) {
        Marks m;
        if (std::sscanf(text.c_str(),
                        "hop over: begin %lf, lookup %lf, connect %lf, tls %lf, send %lf, "
                        "first byte %lf, end %lf",
                        &m.begin, &m.lookup, &m.connect, &m.tls, &m.send, &m.firstByte,
                        &m.end) == 7) {
            notes.push_back(m);
        }
    }
    return notes;
}

Marks LastMarks(const Tnx_TimeInfo &times)
{
    return {.begin = static_cast<double>(times.redirect),
            .lookup = static_cast<double>(times.nameLookup),
            .connect = static_cast<double>(times.connect),
            .tls = static_cast<double>(times.tls),
            .send = static_cast<double>(times.firstSend),
            .firstByte = times.firstReceive,
            .end = times.total};
}

std::vector<Phase> ToPhases(const Marks &marks)
{
    const std::pair<Phase::Kind, double> ends[] = {
        {Phase::LOOKUP, marks.lookup}, {Phase::CONNECT, marks.connect}, {Phase::TLS, marks.tls},
        {Phase::SEND, marks.send},     {Phase::WAIT, marks.firstByte},  {Phase::RECEIVE, marks.end},
    };
    std::vector<Phase> phases;
    double at = marks.begin;
    for (const auto &[kind, end] : ends) {
        if (end > 0) {
            phases.push_back({kind, at, std::max(at, end)});
            at = phases.back().end;
        }
    }
    return phases;
}

HopTimes ToTimes(const Marks &marks)
{
    HopTimes times;
    times.begin = marks.begin;
    double at = marks.begin;
    const auto phase = [&at](double end) -> std::optional<double> {
        if (end <= 0) {
            return std::nullopt;
        }
        const double length = std::max(0.0, end - at);
        at = std::max(at, end);
        return length;
    };
    times.lookup = phase(marks.lookup);
    times.connect = phase(marks.connect);
    times.tls = phase(marks.tls);
    times.send = phase(marks.send).value_or(0);
    times.wait = phase(marks.firstByte).value_or(0);
    times.receive = phase(marks.end).value_or(0);
    return times;
}

} // namespace

std::vector<FollowedHop> ReadFollowedHops(const Outcome &outcome)
{
    std::vector<FollowedHop> followed;
    const std::vector<Marks> notes = ReadNotes(outcome.conversation);
    std::string url = outcome.url;
    for (const Hop *hop : outcome.conversation.Exchanges()) {
        if (hop->status / 100 == 3 && followed.size() < notes.size()) {
            followed.push_back({hop->method, url, hop->status, ToPhases(notes[followed.size()])});
            url = ResolveUrl(url, hop->AnswerField("location"));
        }
    }
    return followed;
}

std::vector<HopTimes> ReadHopTimes(const Outcome &outcome, size_t hops)
{
    std::vector<HopTimes> all(hops);
    const Tnx_TimeInfo *times = outcome.response ? outcome.response->timeInfo : nullptr;
    if (times == nullptr) {
        return all;
    }
    const std::vector<Marks> notes = ReadNotes(outcome.conversation);
    const auto exchanges = outcome.conversation.Exchanges();
    size_t note = 0;
    for (size_t at = 0; at + 1 < hops; ++at) {
        // An answered challenge is part of the hop that follows it, and its times are too.
        if (exchanges[at]->status / 100 == 3 && note < notes.size()) {
            all[at] = ToTimes(notes[note++]);
        }
    }
    all.back() = ToTimes(LastMarks(*times));
    if (times->queue > 0) {
        all.front().blocked = static_cast<double>(times->queue);
    }
    return all;
}

} // namespace TnxTool

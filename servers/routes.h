// The faults that a scripted server knows, one path each.
#ifndef TNX_TESTS_SERVERS_ROUTES_H
#define TNX_TESTS_SERVERS_ROUTES_H

#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "received_request.h"
#include "script.h"

namespace OHOS::Pelloria::TnxTest
{

// The path and the parameters of a target, percent-decoded.
struct Query {
    explicit Query(const std::string &target);

    std::string Text(std::string_view name, std::string fallback = "") const;
    uint64_t Number(std::string_view name, uint64_t fallback = 0) const;
    std::vector<std::string> All(std::string_view name) const;

    std::string path;
    std::vector<std::pair<std::string, std::string>> parameters;
};

// One request with its place in the server's history, both counted from 1.
struct Visit {
    const ReceivedRequest &request;
    const Query &query;
    uint32_t ofTarget;     // how often this target was asked for
    uint32_t ofConnection; // how many requests this connection carried
    std::shared_ptr<const Script> played;
};

using RouteHandler = void (*)(const Visit &visit, Script &script);

struct Route {
    RouteHandler handler;
    bool early = false; // acts before the body is read
};

// The route of a path; one that answers 404 where there is none.
Route FindRoute(const std::string &path);

} // namespace OHOS::Pelloria::TnxTest

#endif

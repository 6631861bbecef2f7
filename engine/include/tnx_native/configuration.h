// How requests are carried out, and what a session is made of.
#ifndef TNX_NATIVE_CONFIGURATION_H
#define TNX_NATIVE_CONFIGURATION_H

#include <array>
#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <optional>
#include <string>

#include "cookie_jar.h"
#include "dns_rule.h"
#include "header_fields.h"
#include "headers.h"
#include "limits.h"
#include "security.h"
#include "web_proxy.h"

namespace OHOS::Pelloria::Tnx
{

inline constexpr uint64_t NO_TIMEOUT = std::numeric_limits<uint32_t>::max();

// The values of Configuration::transferPreference.
inline constexpr uint32_t PREFER_AUTOMATIC = 0;
inline constexpr uint32_t PREFER_HTTP1_1 = 1;
inline constexpr uint32_t PREFER_HTTP2 = 2;
inline constexpr uint32_t PREFER_HTTP3 = 3;
inline constexpr uint32_t PREFER_HTTP1_0 = 10;

// The kinds of debug information, as DebugInfo::type and as index of a switch.
enum DebugKind : uint32_t {
    DEBUG_TEXT,
    DEBUG_HEADER_IN,
    DEBUG_HEADER_OUT,
    DEBUG_DATA_IN,
    DEBUG_DATA_OUT,
    DEBUG_TLS_DATA_IN,
    DEBUG_TLS_DATA_OUT,
    DEBUG_KINDS
};

// The callbacks that follow a transfer; an empty one is not wanted.
struct HttpEventsHandler {
    // A piece of the final body. Returns how much was taken: less than the length stops.
    std::function<size_t(const std::shared_ptr<std::string> &data)> onDataReceive;
    std::function<void(uint64_t total, uint64_t now)> onDownloadProgress;
    std::function<void(uint64_t total, uint64_t now)> onUploadProgress;
    std::function<void(const HeaderFields &headers)> onHeadersReceive;
    std::function<void()> onDataEnd;
};

struct TracingConfiguration {
    bool debug = false; // the master switch
    std::array<bool, DEBUG_KINDS> debugKinds{};
    bool collectTimeInfo = false;
    bool collectConnectionInfo = false;
    HttpEventsHandler eventsHandler;
};

struct Configuration {
    bool autoRedirect = true;
    uint64_t maxRedirects = 50;
    std::shared_ptr<const Limits> limits; // null: none
    bool failOnHttpError = false;     // a status of 400 or more ends a fetch at its header fields
    uint64_t connectTimeout = 60000;  // milliseconds
    uint64_t transferTimeout = 60000; // milliseconds
    bool transferHint = false;
    uint32_t transferPreference = PREFER_AUTOMATIC;
    uint64_t maxChunk = 524288; // of a data callback, bytes
    TracingConfiguration tracing;
    WebProxy proxy;
    std::shared_ptr<const DnsRule> dnsRule;
    std::string dnsResolverUrl;
    bool dnsResolverOnly = false;
    SecurityConfiguration security;
    std::shared_ptr<CookieJar> cookieJar; // what hops set goes there; empty: no further than here
};

struct SessionConfiguration {
    // What requests have where they say nothing else: each comes with its share, so these three are
    // not read here.
    Configuration configuration;
    Headers headers;
    std::optional<RequestCookies> cookies;

    std::function<void()> onSessionCanceled;
    std::function<void()> onSessionClosed;
    uint64_t maxConnectionsPerHost = 6;
    uint64_t maxTotalConnections = 64;
    std::optional<uint64_t> maxIdleConnections;
};

} // namespace OHOS::Pelloria::Tnx

#endif

// What the command line asks for, before anything of it becomes a request.
#ifndef TNX_CLI_SETTINGS_H
#define TNX_CLI_SETTINGS_H

#include <cstdint>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "tnx_c_ext.h"

namespace TnxTool
{

// The exit statuses of the tool's own; all others are the library's code less its base.
inline constexpr int EXIT_USAGE = 2;
inline constexpr int EXIT_URL = 3;
inline constexpr int EXIT_HTTP_ERROR = 22; // a status of 400 or more, under -f
inline constexpr int EXIT_WRITE = 23;
inline constexpr int EXIT_READ = 26;
inline constexpr int EXIT_OUT_OF_MEMORY = 27;
inline constexpr int EXIT_SLOW = 28;
inline constexpr int EXIT_RANGE = 33; // the server does not resume

// A command line that cannot be carried out. Its text is shown, and the tool ends with EXIT_USAGE.
struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// A failure of the tool's own work, outside the library; it ends with this exit status.
struct ToolError : std::runtime_error {
    ToolError(int exitStatus, const std::string &text)
        : std::runtime_error(text)
        , status(exitStatus)
    {
    }
    int status;
};

using Text = std::optional<std::string>;

// Where one URL's body goes: a file, "-" for standard output, or the name that the URL ends with.
struct Output {
    std::string file;
    bool remoteName = false;
};

// One -F: a plain text, or the content of a file.
struct FormPart {
    enum class Kind { TEXT, FILE };
    Kind kind = Kind::TEXT;
    std::string name;
    std::string value; // the text, or the path ("-" for standard input)
    Text contentType;
    Text fileName;
};

// How one peer, the server or the proxy, is checked and told who we are.
struct PeerSettings {
    bool insecure = false;
    Text caFile;
    Text caDirectory;
    Text pins;
    Text certificate; // may carry ":password"
    uint32_t certificateMode = TNX_CERTIFICATE_PEM;
    Text key;
    Text passPhrase;
    Text user; // "name:password"
    Text bearer;
    uint32_t credentialKind = TNX_CREDENTIAL_BASIC;
};

// Whether what people read is laid out and coloured; AUTO: on a terminal.
enum class Pretty { AUTO, ALWAYS, NEVER };

struct RetrySettings {
    uint32_t count = 0;
    std::optional<uint32_t> delay; // seconds
    uint32_t maxTime = 0;          // seconds; 0: none
    bool connectionRefused = false;
    bool allErrors = false;
};

// What holds for a whole run, in whatever group of options it stands.
struct RunSettings {
    bool parallel = false;
    uint32_t parallelMax = 50;
    uint32_t pace = 0; // milliseconds from the start of a transfer to that of the next
    bool failEarly = false;
    Text cookieFile; // empty: cookies are kept for the run only
    Text cookieJar;
    bool junkSessionCookies = false;

    Pretty pretty = Pretty::AUTO;
    bool color = true;
    bool verbose = false;
    bool silent = false;
    bool showError = false;
    bool noProgress = false;
    bool asJson = false;
    bool timing = false;
    uint32_t timingRuns = 0; // of each URL; 0: one, which is drawn
    bool explain = false;
    Text trace;
    Text traceAscii;
    Text har;
    bool harSecrets = false;

    // Questions to the tool itself.
    Text help;
    bool version = false;
};

// One group of options; --next begins another.
struct Settings : RunSettings {
    // What is fetched, and where it goes.
    std::vector<std::string> urls;
    bool globOff = false;
    std::vector<Output> outputs;
    std::vector<std::string> uploads;
    Text outputDirectory;
    bool createDirectories = false;
    bool remoteNameAll = false;
    bool remoteHeaderName = false;
    bool remoteTime = false;
    bool removeOnError = false;

    // The request.
    Text method;
    std::vector<std::string> headers;
    Text userAgent;
    Text referer;
    std::vector<std::string> cookies;
    Text data;
    bool json = false;
    std::vector<std::string> urlQuery;
    bool get = false;
    bool head = false;
    std::vector<FormPart> form;
    Text range;
    Text continueAt;
    Text timeCondition; // a header field
    bool compressed = false;

    // The road.
    bool location = false;
    uint32_t maxTime = TNX_NO_TIMEOUT; // milliseconds
    uint32_t connectTimeout = 300000;  // milliseconds, as long as curl waits
    uint32_t preference = TNX_PREFER_AUTOMATIC;
    bool priorKnowledge = false;
    PeerSettings server;
    bool netrc = false;
    bool netrcOptional = false;
    Text netrcFile;
    Text proxy;
    Text noProxy;
    bool proxyTunnel = false;
    PeerSettings proxyPeer;
    std::vector<std::string> resolve;
    Text dnsServers;
    Text dohUrl;
    RetrySettings retry;
    std::map<uint32_t, int64_t> limits;         // by Tnx_RequestLimit
    std::map<uint32_t, std::string> connection; // by Tnx_ConnectionSetting
    Text requestTarget;
    bool pathAsIs = false;
    uint64_t slowest = 1;  // bytes a second
    uint32_t slowTime = 0; // seconds; 0: it may be as slow as it likes

    // What is shown.
    bool include = false;
    bool fail = false;
    bool failWithBody = false;
    Text dumpHeader;
    Text writeOut;
};

} // namespace TnxTool

#endif

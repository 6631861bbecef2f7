// Builds the header fields of a hop.
#include "header_list.h"

#include <algorithm>
#include <array>
#include <map>
#include <string_view>
#include <tuple>
#include <vector>

#include "base/secrets.h"
#include "base/text.h"

namespace OHOS::Pelloria::Tnx
{
namespace
{

constexpr const char *USER_AGENT = "User-Agent: libtnx/1.0";
constexpr const char *ACCEPT_ENCODING = "Accept-Encoding: gzip, br, zstd";

// What servers take of one field: cookies of the jar that would make it longer stay behind.
constexpr size_t MOST_COOKIES = 8 * 1024;

// Names of requests that may stand only once (RFC 9110).
constexpr auto SINGLE = std::to_array<std::string_view>(
    {"authorization", "content-length", "content-location", "content-range", "content-type", "date",
     "from", "host", "if-modified-since", "if-range", "if-unmodified-since", "max-forwards",
     "proxy-authorization", "range", "referer", "user-agent"});

// Names that are meant for the request's own origin and are dropped where a redirect leaves it.
constexpr std::array<std::string_view, 7> OF_ORIGIN = {
    "authorization",      "cookie", "cookie2", "host", "proxy-authorization", "www-authenticate",
    "proxy-authenticate",
};

// So are those of which a word speaks of a secret, X-Api-Key for instance.
constexpr std::array<std::string_view, 9> SECRET_WORDS = {
    "auth", "token", "secret", "key", "apikey", "password", "credential", "session", "csrf"};

constexpr std::string_view LETTERS_AND_DIGITS = "abcdefghijklmnopqrstuvwxyz0123456789";

template <class Range> bool Contains(const Range &range, std::string_view text)
{
    return std::find(range.begin(), range.end(), text) != range.end();
}

// Whether the word is one of them, or made of them, as in X-CSRFToken.
bool SpeaksOfSecret(std::string_view word)
{
    return std::any_of(SECRET_WORDS.begin(), SECRET_WORDS.end(), [word](std::string_view secret) {
        return word.starts_with(secret) &&
               (word == secret || SpeaksOfSecret(word.substr(secret.size())));
    });
}

// Takes a name in lower case.
bool IsForOrigin(std::string_view name)
{
    if (Contains(OF_ORIGIN, name)) {
        return true;
    }
    while (!name.empty()) {
        const size_t end = std::min(name.find_first_not_of(LETTERS_AND_DIGITS), name.size());
        if (SpeaksOfSecret(name.substr(0, end))) {
            return true;
        }
        name.remove_prefix(std::min(end + 1, name.size()));
    }
    return false;
}

// Whether a Cookie field has one of that name.
bool HasCookie(std::string_view field, std::string_view name)
{
    while (!field.empty()) {
        const size_t end = std::min(field.find(';'), field.size());
        const std::string_view pair = Trim(field.substr(0, end));
        if (pair.starts_with(name) && pair.substr(name.size()).starts_with('=')) {
            return true;
        }
        field.remove_prefix(std::min(end + 1, field.size()));
    }
    return false;
}

// A range without bounds asks for nothing.
std::string JoinRanges(const TransferRange &ranges)
{
    std::string joined;
    for (const ByteRange &range : ranges) {
        if (range.from || range.to) {
            joined += joined.empty() ? "" : ",";
            joined += range.from ? std::to_string(*range.from) : "";
            joined += "-";
            joined += range.to ? std::to_string(*range.to) : "";
        }
    }
    return joined;
}

// One spelling of a name, with its values.
struct Field {
    std::string lower;
    std::string_view name;
    const FieldValues *values;

    // Orders fields as they are sent, the winner first where a name may stand once. One source may
    // have several spellings: neither they nor the order that they came in decide, the values do.
    bool operator<(const Field &other) const
    {
        return std::tie(lower, values->source, *values, name) <
               std::tie(other.lower, other.values->source, *other.values, other.name);
    }
};

class ListBuilder
{
public:
    ListBuilder(const Request &request, const Hop &hop, const FetchCookies &cookies,
                HeaderList &list)
        : request_(request)
        , hop_(hop)
        , cookies_(cookies)
        , list_(list)
    {
    }

    void Build()
    {
        list_.lines.Clear();
        list_.contentLength.reset();
        CollectFields();
        list_.ranges = JoinRanges(request_.GetTransferRange());
        list_.ownEncoding = !list_.ranges.empty() || Has("accept-encoding") ||
                            Contains(omitted_, "accept-encoding");
        if (!list_.ownEncoding) {
            list_.lines.AddFixed(ACCEPT_ENCODING);
        }
        for (const Field &field : fields_) {
            AddField(field);
        }
        AddCookies();
        AddOmitted();
        if (!userAgent_) {
            list_.lines.AddFixed(USER_AGENT);
        }
        if (!expect_) {
            list_.lines.AddFixed("Expect:");
        }
        if (!hop_.body && !contentType_) {
            list_.lines.AddFixed("Content-Type:"); // else libcurl calls an empty body a form
        }
    }

private:
    void CollectFields()
    {
        fields_.reserve(request_.GetHeaders().size());
        for (const auto &[name, values] : request_.GetHeaders()) {
            if (!values.empty()) {
                fields_.push_back({Lower(name), name, &values});
            } else if (values.source == FieldSource::OMITTED) {
                omitted_.push_back(Lower(name));
            }
        }
        std::sort(fields_.begin(), fields_.end());
        const auto isRival = [](const Field &first, const Field &other) {
            return first.lower == other.lower && Contains(SINGLE, first.lower);
        };
        fields_.erase(std::unique(fields_.begin(), fields_.end(), isRival), fields_.end());
    }

    void AddField(const Field &field)
    {
        const std::string &lower = field.lower;
        if (IsForOrigin(lower)) {
            if (!hop_.sameOrigin) {
                return;
            }
            SecretSeen();
        }
        if (DroppedByRedirect(lower)) {
            return;
        }
        if (lower == "content-length") {
            list_.contentLength = ParseNumber(field.values->front());
            // Otherwise it is libcurl that tells the length of the body.
            if (hop_.body || list_.contentLength != uint64_t{0}) {
                return;
            }
        }
        if (lower == "cookie") {
            for (const std::string &value : *field.values) {
                ownCookies_ += (ownCookies_.empty() ? "" : "; ") + value;
            }
            return;
        }
        userAgent_ = userAgent_ || lower == "user-agent";
        expect_ = expect_ || lower == "expect";
        contentType_ = contentType_ || lower == "content-type";
        for (const std::string &value : *field.values) {
            // A name with an empty value is written with a semicolon, else libcurl drops it.
            list_.lines.Add({field.name, value.empty() ? ";" : ": ", value});
            if (Contains(SINGLE, lower)) {
                break;
            }
        }
    }

    bool Has(std::string_view lower) const
    {
        return std::any_of(fields_.begin(), fields_.end(),
                           [lower](const Field &field) { return field.lower == lower; });
    }

    // A name with nothing behind it has libcurl add none by itself.
    void AddOmitted()
    {
        for (const std::string &lower : omitted_) {
            if (!Has(lower)) {
                // Only in this spelling does libcurl leave the host out.
                list_.lines.Add({lower == "host" ? "Host" : lower.c_str(), ":"});
                userAgent_ = userAgent_ || lower == "user-agent";
                contentType_ = contentType_ || lower == "content-type";
            }
        }
    }

    // A redirect that changed the method dropped the body, and drops what described it.
    bool DroppedByRedirect(const std::string &lower) const
    {
        return hop_.method != request_.GetMethod() && lower.starts_with("content-");
    }

    // One field with all cookies (RFC 6265 section 5.4): the request's own, and those of the jar
    // whose names it does not have. A hop before may have replaced its own.
    void AddCookies()
    {
        std::string line = ownCookies_;
        const auto add = [&line](const std::string &name, const std::string &value) {
            line += line.empty() ? "" : "; ";
            line += name + "=" + value;
        };
        const KeptCookies kept = cookies_.For(*hop_.url);
        const auto isReplaced = [&](const std::string &name) {
            return cookies_.SetOnTheWay(name) &&
                   std::any_of(kept.begin(), kept.end(),
                               [&name](const auto &cookie) { return cookie.name == name; });
        };
        static const RequestCookies NONE;
        const RequestCookies &own = hop_.sameOrigin ? request_.GetRequestCookies() : NONE;
        for (const auto &[name, value] : std::map(own.begin(), own.end())) {
            if (!isReplaced(name)) {
                add(name, value);
            }
        }
        for (const KeptCookie &cookie : kept) {
            const std::string &name = cookie.name;
            const bool isOwn = own.contains(name) || HasCookie(ownCookies_, name);
            const size_t length = line.size() + name.size() + cookie.value.size() + 3;
            if ((!isOwn || cookies_.SetOnTheWay(name)) && length <= MOST_COOKIES) {
                add(name, cookie.value);
            }
        }
        if (!line.empty()) {
            SecretSeen();
            list_.lines.Add({"Cookie: ", line});
        }
    }

    const Request &request_;
    const Hop &hop_;
    const FetchCookies &cookies_;
    std::vector<Field> fields_;
    std::vector<std::string> omitted_;
    std::string ownCookies_;
    bool userAgent_ = false;
    bool expect_ = false;
    bool contentType_ = false;
    HeaderList &list_;
};

} // namespace

void BuildHeaderList(const Request &request, const Hop &hop, const FetchCookies &cookies,
                     HeaderList &list)
{
    ListBuilder(request, hop, cookies, list).Build();
}

} // namespace OHOS::Pelloria::Tnx

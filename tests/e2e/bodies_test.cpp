// What is sent, byte for byte: heads, strings, forms, multipart forms and pulled bodies.
#include "client.h"
#include "tnx_c_ext/header_fields.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <future>

namespace
{

using namespace EndToEnd;
using Texts = std::vector<std::string>;

// The lines of a head, the first one first, the others sorted.
Texts HeadOf(const ReceivedRequest &request)
{
    Texts lines;
    std::string_view rest = request.head;
    for (size_t end = rest.find("\r\n"); end != 0; end = rest.find("\r\n")) {
        lines.emplace_back(rest.substr(0, end));
        rest.remove_prefix(end + 2);
    }
    std::sort(lines.begin() + 1, lines.end());
    return lines;
}

Tnx_FormFieldValue Text(const char *data, size_t length)
{
    Tnx_FormFieldValue value = {};
    value.type = TNX_FORM_FIELD_VALUE_STRING;
    value.value.stringValue = {data, static_cast<uint32_t>(length)};
    return value;
}

Tnx_FormFieldValue Text(const char *text)
{
    return Text(text, std::strlen(text));
}

Tnx_FormFieldValue Unknown()
{
    Tnx_FormFieldValue value = {};
    value.type = 9;
    return value;
}

Tnx_MultipartFormFieldValue Plain(const Tnx_FormFieldValue &plain)
{
    Tnx_MultipartFormFieldValue value = {};
    value.type = TNX_MULTIPART_VALUE_PLAIN;
    value.value.plainValue = plain;
    return value;
}

Tnx_MultipartFormFieldValue File(const char *name, const char *type, const char *data)
{
    Tnx_MultipartFormFieldValue value = {};
    value.type = TNX_MULTIPART_VALUE_FILE;
    std::strcpy(value.value.fileValue.fileName, name);
    std::strcpy(value.value.fileValue.contentType, type);
    value.value.fileValue.contentOrPath.value.content = {data,
                                                         static_cast<uint32_t>(std::strlen(data))};
    return value;
}

// Requests that leave something behind on the handle that the next one is sent with.
struct Before {
    const char *what;
    const char *method;
    std::function<void(Call &)> fill;
};

std::vector<Before> OtherRequests()
{
    return {
        {"a plain one", "GET", [](Call &) {}},
        {"HEAD", "HEAD", [](Call &) {}},
        {"a text", "PUT", [](Call &call) { call.Body("before").Header("Content-Type", "x/y"); }},
        {"a range and a cookie", "GET",
         [](Call &call) {
             call.Range({.from = 1, .hasFrom = true, .to = 2, .hasTo = true, .next = nullptr})
                 .Cookie("before", "1")
                 .Header("X-Before", "1");
         }},
        {"a form", "POST",
         [](Call &call) {
             FormPtr form(OVX_Tnx_CreateForm());
             const Tnx_FormFieldValue value = Text("v");
             OVX_Tnx_SetFormValue(form.get(), "before", &value);
             call.Form(std::move(form));
         }},
        {"a multipart form", "POST",
         [](Call &call) {
             MultipartFormPtr form(OVX_Tnx_CreateMultipartForm());
             const Tnx_MultipartFormFieldValue value = Plain(Text("v"));
             OVX_Tnx_SetMultipartFormValue(form.get(), "before", &value);
             call.Multipart(std::move(form));
         }},
        {"a body that fails", "POST",
         [](Call &call) { call.Pull([](char *, unsigned int) { return -1; }); }},
        {"a credential", "GET",
         [](Call &call) {
             call.configuration.security.credentialKind = TNX_CREDENTIAL_BASIC;
             call.configuration.security.credentialName = "before";
             call.configuration.security.credentialPassword = "before";
         }},
        {"HTTP/1.0 and a proxy that is not there", "GET",
         [](Call &call) {
             call.configuration.transfer.transferPreference = TNX_PREFER_HTTP1_0;
             call.configuration.proxy.mode = TNX_PROXY_EXPLICIT;
             call.configuration.proxy.url = "http://127.0.0.1:9";
         }},
        {"a time-out", "GET", [](Call &call) { call.configuration.transfer.transferTimeout = 1; }},
        {"a refused body", "GET",
         [](Call &call) { call.OnData([](std::string_view) -> size_t { return 0; }); }},
    };
}

class BodiesTest : public EndToEndTest
{
protected:
    // The last one that asks for just that: one that was given up may arrive later.
    static ReceivedRequest LastEcho()
    {
        const std::vector<ReceivedRequest> requests = Scripted().Requests();
        const auto found =
            std::find_if(requests.rbegin(), requests.rend(), [](const ReceivedRequest &request) {
                return request.head.find(" /echo HTTP/") != std::string::npos;
            });
        return found != requests.rend() ? *found : ReceivedRequest();
    }

    // Sends both ways, and checks each request as it stood on the wire.
    void Sends(const std::function<void(Call &)> &fill, const char *method,
               const std::function<void(const ReceivedRequest &)> &check, uint32_t code = 0)
    {
        Both(fill, Scripted().Url("/echo"), method, [&](const Outcome &outcome) {
            EXPECT_EQ(outcome.code, code) << outcome.Why();
            check(LastEcho());
        });
    }
};

TEST_F(BodiesTest, HeadsSayWhatTheyMust)
{
    const std::string host = "Host: 127.0.0.1:" + std::to_string(Scripted().Port());
    const std::string accept = "Accept: */*";
    const std::string encoding = "Accept-Encoding: gzip, br, zstd";
    const std::string agent = "User-Agent: libtnx/1.0";
    const std::string plain = "content-type: text/plain";
    const auto body = [](const char *text) { return [text](Call &call) { call.Body(text); }; };
    const struct {
        const char *method;
        std::function<void(Call &)> fill;
        Texts head;
        const char *body;
    } cases[] = {
        {"GET", {}, {accept, encoding, host, agent}, ""},
        {"HEAD", {}, {accept, encoding, host, agent}, ""},
        {"DELETE", {}, {accept, encoding, host, agent}, ""},
        {"OPTIONS", {}, {accept, encoding, host, agent}, ""},
        // The content is left out, not the type that it adds.
        {"GET", body("abc"), {accept, encoding, host, agent, plain}, ""},
        {"HEAD", body("abc"), {accept, encoding, host, agent, plain}, ""},
        {"DELETE",
         [](Call &call) {
             call.Header("Content-Type", "text/plain").Header("Content-Length", "0");
         },
         {accept, encoding, "Content-Length: 0", "Content-Type: text/plain", host, agent},
         ""},
        {"POST", {}, {accept, encoding, "Content-Length: 0", host, agent}, ""},
        {"PUT", {}, {accept, encoding, "Content-Length: 0", host, agent}, ""},
        {"POST", body("abc"), {accept, encoding, "Content-Length: 3", host, agent, plain}, "abc"},
        {"POST", body(""), {accept, encoding, "Content-Length: 0", host, agent, plain}, ""},
        {"PATCH", body("abc"), {accept, encoding, "Content-Length: 3", host, agent, plain}, "abc"},
        {"DELETE", body("a"), {accept, encoding, "Content-Length: 1", host, agent, plain}, "a"},
        {"BREW", body("a"), {accept, encoding, "Content-Length: 1", host, agent, plain}, "a"},
        {"POST",
         [](Call &call) {
             call.Body("{}").Header("Content-Type", "application/json").Header("Accept", "a/b");
             call.Header("Accept-Encoding", "identity").Header("X-Empty", "").Cookie("a", "b");
         },
         {"Accept-Encoding: identity", "Accept: a/b", "Content-Length: 2",
          "Content-Type: application/json", "Cookie: a=b", host, agent, "X-Empty:"},
         "{}"},
        {"POST",
         [](Call &call) {
             for (const char *name : {"accept", "Accept-Encoding", "Content-Type", "User-Agent"}) {
                 EXPECT_EQ(OVX_Tnx_OmitRequestHeader(call.Get(), name), TNX_OK);
             }
             call.Body("a").Header("Accept", "a/b"); // its own is sent all the same
         },
         {"Accept: a/b", "Content-Length: 1", host},
         "a"},
    };
    // Whatever the request before had is not in this one.
    const auto after = [this](const Before &before, const auto &one) {
        return [this, &before, &one](Call &call) {
            Call earlier(Scripted().Url("/echo?before"), before.method);
            before.fill(earlier);
            earlier.FetchSync(Session());
            earlier.Fetch(Session());
            if (one.fill) {
                one.fill(call);
            }
        };
    };
    for (const Before &before : OtherRequests()) {
        for (const auto &one : cases) {
            SCOPED_TRACE(std::string(one.method) + " after " + before.what);
            Sends(after(before, one), one.method, [&one](const ReceivedRequest &request) {
                Texts head = one.head;
                std::sort(head.begin(), head.end());
                head.insert(head.begin(), one.method + std::string(" /echo HTTP/1.1"));
                EXPECT_EQ(HeadOf(request), head);
                EXPECT_EQ(request.rawBody, one.body);
            });
        }
    }
}

TEST_F(BodiesTest, FormsAreEncoded)
{
    using Fields = std::vector<std::pair<const char *, Tnx_FormFieldValue>>;
    Tnx_FormFieldValue number = {};
    number.type = TNX_FORM_FIELD_VALUE_DOUBLE;
    number.value.doubleValue = 0.1;
    Tnx_FormFieldValue yes = {};
    yes.type = TNX_FORM_FIELD_VALUE_BOOL;
    yes.value.boolValue = true;
    const struct {
        Fields fields;
        const char *body;
    } cases[] = {
        {{}, ""},
        {{{"b", Text("1 2")}, {"a", Text("\xc3\xa9&=")}, {"b", yes}},
         "a=%C3%A9%26%3D&b=1+2&b=true"},
        {{{"n", number}, {"s", Text("x\0y", 3)}}, "n=0.1&s=x%00y"},
        {{{"null", Text(nullptr, 3)}}, "null="},
        {{{"a", Unknown()}, {"b", Unknown()}, {"b", Text("1")}}, "a=&b=1"},
    };
    for (const auto &[fields, body] : cases) {
        SCOPED_TRACE(body);
        const auto fill = [&fields = fields](Call &call) {
            FormPtr form(OVX_Tnx_CreateForm());
            for (const auto &[name, value] : fields) {
                OVX_Tnx_SetFormValue(form.get(), name, &value);
            }
            call.Form(std::move(form));
        };
        Sends(fill, "POST", [expected = std::string(body)](const ReceivedRequest &request) {
            EXPECT_EQ(request.rawBody, expected);
            EXPECT_EQ(request.Field("content-length"), std::to_string(expected.size()));
            EXPECT_EQ(request.Field("content-type"), "application/x-www-form-urlencoded");
        });
    }
}

// With the boundary replaced with "B".
std::string WithoutBoundary(const ReceivedRequest &request)
{
    const std::string type = request.Field("content-type");
    const std::string start = "multipart/form-data; boundary=";
    if (!type.starts_with(start)) {
        return type;
    }
    const std::string boundary = type.substr(start.size());
    std::string body = request.rawBody;
    for (size_t at = body.find(boundary); at != std::string::npos; at = body.find(boundary, at)) {
        body.replace(at, boundary.size(), "B");
    }
    return body;
}

std::atomic<int> g_calls;

int PullTwice(char *buffer, unsigned int)
{
    if (++g_calls % 3 == 0) {
        return 0;
    }
    std::memcpy(buffer, "pull", 4);
    return 4;
}

TEST_F(BodiesTest, MultipartFormsAreWrittenPartByPart)
{
    TemporaryDirectory directory;
    WriteFile(directory.Path("a b.json"), "{}");
    Tnx_MultipartFormFieldValue path = File("", "", "");
    path.value.fileValue.contentOrPath.type = TNX_FILE_SOURCE_PATH;
    std::strcpy(path.value.fileValue.contentOrPath.value.path, directory.Path("a b.json").c_str());
    Tnx_MultipartFormFieldValue pull = File("p.bin", "", "");
    pull.value.fileValue.contentOrPath.type = TNX_FILE_SOURCE_CALLBACK;
    pull.value.fileValue.contentOrPath.value.getDataCallback = PullTwice;
    Tnx_MultipartFormFieldValue source = File("x", "", "");
    source.value.fileValue.contentOrPath.type = 9;
    Tnx_MultipartFormFieldValue kind = File("x", "", "");
    kind.type = 9;
    const std::string disposition = "Content-Disposition: form-data; name=";
    const auto part = [&](const std::string &parameters, const std::string &type,
                          const std::string &content) {
        return "--B\r\n" + disposition + parameters + "\r\n" +
               (type.empty() ? "" : "Content-Type: " + type + "\r\n") + "\r\n" + content + "\r\n";
    };
    const struct {
        std::vector<std::pair<const char *, Tnx_MultipartFormFieldValue>> fields;
        std::string parts;
    } cases[] = {
        {{{"b", Plain(Text("1"))}, {"a", Plain(Text("x\0y", 3))}},
         part("\"a\"", "", std::string("x\0y", 3)) + part("\"b\"", "", "1")},
        {{{"f", File("a \"b\"\xc3\xa9\r\n.txt", "", "data")}},
         part("\"f\"; filename=\"a %22b%22\xc3\xa9%0D%0A.txt\"", "text/plain", "data")},
        {{{"q\"", Plain(Text("v"))}}, part("\"q%22\"", "", "v")},
        {{{"f", File("x.unknown", "", "")}},
         part("\"f\"; filename=\"x.unknown\"", "application/octet-stream", "")},
        {{{"f", File("x.png", "a/b; c=d", "1")}},
         part("\"f\"; filename=\"x.png\"", "a/b; c=d", "1")},
        {{{"f", File("", "", "1")}}, part("\"f\"", "application/octet-stream", "1")},
        {{{"f", path}}, part("\"f\"; filename=\"a b.json\"", "application/json", "{}")},
        // Values of unknown kinds are left out, their field stays.
        {{{"k", kind}, {"s", source}, {"u", Plain(Unknown())}, {"u", Plain(Text("1"))}},
         part("\"k\"", "", "") + part("\"s\"", "", "") + part("\"u\"", "", "1")},
    };
    const auto filler = [](const auto &fields) {
        return [&fields](Call &call) {
            MultipartFormPtr form(OVX_Tnx_CreateMultipartForm());
            for (const auto &[name, value] : fields) {
                OVX_Tnx_SetMultipartFormValue(form.get(), name, &value);
            }
            call.Multipart(std::move(form));
        };
    };
    for (const auto &one : cases) {
        Sends(filler(one.fields), "POST", [&one](const ReceivedRequest &request) {
            EXPECT_EQ(WithoutBoundary(request), one.parts + "--B--\r\n");
            EXPECT_EQ(request.Field("content-length"), std::to_string(request.rawBody.size()));
        });
    }
    g_calls = 0;
    const std::vector<std::pair<const char *, Tnx_MultipartFormFieldValue>> pulled{{"p", pull}};
    Sends(filler(pulled), "POST", [](const ReceivedRequest &request) {
        EXPECT_EQ(request.Field("transfer-encoding"), "chunked");
        EXPECT_NE(request.content.find("\r\n\r\npullpull\r\n--"), std::string::npos);
    });
    for (const auto &[name, reason] : {std::pair{"/no/such/file", "No such file or directory"},
                                       {"/proc/self", "Is a directory"},
                                       {"/proc/version/x", "Not a directory"}}) {
        Scripted().ForgetRequests();
        std::strcpy(path.value.fileValue.contentOrPath.value.path, name);
        const std::vector<std::pair<const char *, Tnx_MultipartFormFieldValue>> bad{{"f", path}};
        const std::string why = std::string("Cannot read '") + name + "': " + reason;
        Both(filler(bad), Scripted().Url("/echo"), "POST", [&why](const Outcome &outcome) {
            EXPECT_EQ(outcome.code, TNX_ERR_READ);
            EXPECT_EQ(outcome.Why().substr(0, why.size()), why);
        });
        EXPECT_TRUE(Scripted().Requests().empty());
    }
}

TEST_F(BodiesTest, ContentThatIsNoneSendsAnEmptyBody)
{
    const struct {
        const char *what;
        uint32_t type;
        const char *contentType;
    } cases[] = {
        {"an unknown kind", 9, ""},
        {"no string", TNX_CONTENT_STRING, "text/plain"},
        {"no form", TNX_CONTENT_FORM, "application/x-www-form-urlencoded"},
        {"no multipart form", TNX_CONTENT_MULTIPART_FORM, "multipart/form-data"},
    };
    for (const auto &one : cases) {
        SCOPED_TRACE(one.what);
        const auto fill = [&one](Call &call) {
            call.content = {};
            call.content.type = one.type;
            call.content.value.string.length = 0;
            call.Get()->content = &call.content;
        };
        Sends(fill, "POST", [&one](const ReceivedRequest &request) {
            EXPECT_EQ(request.rawBody, "");
            EXPECT_EQ(request.Field("content-length"), "0");
            EXPECT_EQ(request.Field("content-type"), one.contentType);
        });
    }
    const auto noCallback = [](Call &call) { call.Pull(nullptr); };
    Both(noCallback, Scripted().Url("/echo"), "POST",
         [](const Outcome &outcome) { EXPECT_EQ(outcome.code, TNX_ERR_CALLBACK); });
}

uint64_t g_left;
std::atomic<bool> g_fail;

// Gives g_left bytes of the letter x, then the end, or a failure.
int PullLetters(char *buffer, unsigned int size)
{
    const uint64_t count = std::min<uint64_t>(g_left, size);
    std::memset(buffer, 'x', count);
    g_left -= count;
    return count == 0 && g_fail ? -1 : static_cast<int>(count);
}

TEST_F(BodiesTest, PulledBodiesArriveWhole)
{
    const struct {
        std::string url;
        const char *length; // the content-length that the application sets
        const char *transferEncoding;
    } cases[] = {
        {Scripted().Url("/sink"), nullptr, "chunked"},
        {Scripted().Url("/sink"), "1000000", ""},
        {Nginx().Url("/scripted/sink", Site::TLS), nullptr, "chunked"}, // by nginx
        {Nginx().Url("/scripted/sink", Site::TLS), "1000000", ""},
    };
    for (const auto &one : cases) {
        SCOPED_TRACE(one.url);
        const auto fill = [&one](Call &call) {
            g_left = 1000000;
            g_fail = false;
            call.Pull(PullLetters);
            if (one.length != nullptr) {
                call.Header("Content-Length", one.length);
            }
        };
        Both(fill, one.url, "PUT", [&one](const Outcome &outcome) {
            EXPECT_EQ(outcome.code, 0U) << outcome.Why();
            EXPECT_EQ(outcome.body, "1000000");
            const ReceivedRequest request = Scripted().LastRequest();
            EXPECT_EQ(request.Fields("transfer-encoding").size(), *one.transferEncoding != 0);
            EXPECT_EQ(request.Field("content-length"), one.length == nullptr ? "" : one.length);
            EXPECT_EQ(request.content, std::string(1000000, 'x'));
            EXPECT_EQ(request.Field("expect"), "");
        });
    }
    // With a length, exactly so many bytes go out; an empty body is one.
    for (const auto &[left, length, received] :
         {std::tuple{10, "4", "4"}, {0, "0", "0"}, {0, "", "0"}}) {
        const auto fill = [left = left, length = length](Call &call) {
            g_left = static_cast<uint64_t>(left);
            call.Pull(PullLetters);
            if (*length != '\0') {
                call.Header("content-length", length);
            }
        };
        Both(fill, Scripted().Url("/sink"), "POST", [received = received](const Outcome &outcome) {
            EXPECT_EQ(outcome.code, 0U) << outcome.Why();
            EXPECT_EQ(outcome.body, received);
        });
    }
}

TEST_F(BodiesTest, FailureEarlyEndAndEarlyAnswerAreToldApart)
{
    const struct {
        const char *target;
        uint64_t bytes;
        bool fail;
        const char *length;
        uint32_t code;
        int32_t status;
    } cases[] = {
        {"/sink", 10, true, "", TNX_ERR_CALLBACK, 0},
        {"/sink", 0, true, "", TNX_ERR_CALLBACK, 0},
        {"/sink", 10, true, "100", TNX_ERR_CALLBACK, 0},
        {"/sink", 10, false, "100", TNX_ERR_TRUNCATED_BODY, 0},
        {"/early-answer?close=1", 1ULL << 40, false, "", 0, 413},
        {"/early-answer?close=1", 1ULL << 40, false, "1099511627776", 0, 413},
    };
    for (const std::string &root : {Scripted().Url(""), Nginx().Url("/scripted", Site::TLS)}) {
        for (const auto &one : cases) {
            SCOPED_TRACE(root + one.target + " " + std::to_string(one.bytes) + one.length);
            const auto fill = [&one](Call &call) {
                g_left = one.bytes;
                g_fail = one.fail;
                call.Pull(PullLetters);
                if (*one.length != '\0') {
                    call.Header("Content-Length", one.length);
                }
            };
            Both(fill, root + one.target, "POST", [&one](const Outcome &outcome) {
                EXPECT_EQ(outcome.code, one.code) << outcome.Why();
                EXPECT_EQ(outcome.status, one.status);
            });
        }
    }
}

std::shared_future<void> g_mayGoOn;

TEST_F(BodiesTest, ABlockedUploadDelaysOnlyItself)
{
    for (const std::string &root : {Scripted().Url(""), Nginx().Url("/scripted", Site::TLS)}) {
        SCOPED_TRACE(root);
        std::promise<void> goOn;
        g_mayGoOn = goOn.get_future().share();
        g_calls = 0;
        Call upload(root + "/sink", "POST");
        upload.Pull([](char *buffer, unsigned int) -> int {
            if (++g_calls > 2) {
                return 0;
            }
            g_mayGoOn.wait_for(std::chrono::seconds(60));
            *buffer = 'x';
            return 1;
        });
        upload.Start(Session());
        ASSERT_TRUE(Eventually([] { return g_calls > 0; }));
        Call sibling(root + "/bytes?n=100000");
        EXPECT_EQ(sibling.Fetch(session_).body.size(), 100000U);
        EXPECT_EQ(upload.Answers(), 0U);
        goOn.set_value();
        EXPECT_EQ(upload.Wait().body, "2");
        Close();
    }
}

} // namespace

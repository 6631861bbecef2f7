// Header fields as they are sent and as they are received, and forms as text.
#include "body/form_encoding.h"
#include "http/bad_fields.h"
#include "http/header_block.h"
#include "http/header_list.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <string>
#include <vector>

namespace
{

using namespace OHOS::Pelloria::Tnx;
using Lines = std::vector<std::string>;

struct Sent {
    Headers headers;
    bool body = true;
    const char *method = "POST"; // after a redirect
    bool sameOrigin = true;
    RequestCookies cookies = {};
    const char *hopCookie = nullptr;
    std::shared_ptr<CookieJar> jar = {};
};

std::shared_ptr<const Url> ParsedUrl(const char *text)
{
    auto url = std::make_shared<Url>();
    EXPECT_EQ(ParseUrl(text, *url), CURLE_OK);
    return url;
}

FieldValues Omitted()
{
    FieldValues none;
    none.source = FieldSource::OMITTED;
    return none;
}

Lines Build(const Sent &sent)
{
    Request request("1", "http://a.org/");
    request.SetMethod("POST");
    request.SetHeaders(sent.headers);
    request.SetRequestCookies(sent.cookies);
    Hop hop;
    hop.method = sent.method;
    hop.body = sent.body;
    hop.sameOrigin = sent.sameOrigin;
    hop.url = ParsedUrl("http://a.org/");
    FetchCookies cookies(sent.jar);
    if (sent.hopCookie != nullptr) {
        ResponseCookie cookie;
        cookie.name = sent.hopCookie;
        cookie.value = "hop";
        cookies.Store(cookie, *hop.url);
    }
    HeaderList list;
    BuildHeaderList(request, hop, cookies, list);
    Lines lines;
    for (const curl_slist *line = list.lines.Get(); line != nullptr; line = line->next) {
        lines.emplace_back(line->data);
    }
    if (!list.ownEncoding) {
        EXPECT_EQ(lines.front(), "Accept-Encoding: gzip, br, zstd");
        lines.erase(lines.begin());
    }
    return lines;
}

TEST(HeaderListTest, SendsEachFieldByItsRules)
{
    const std::string agent = "User-Agent: libtnx/1.0";
    const auto jar = std::make_shared<CookieJar>();
    for (const char *line : {"field=jar", "record=jar", "fiel=jar", "h=jar"}) {
        EXPECT_TRUE(jar->Store(line, "http://a.org/"));
    }
    const struct {
        const char *what;
        Sent sent;
        Lines lines;
    } cases[] = {
        {"nothing given", {}, {agent, "Expect:"}},
        {"spelling and values stay",
         {.headers = {{"X-Two", {"b", "a"}}, {"x-one", {" v "}}}},
         {"x-one:  v ", "X-Two: b", "X-Two: a", agent, "Expect:"}},
        {"an empty value is sent", {.headers = {{"X-None", {""}}}}, {"X-None;", agent, "Expect:"}},
        {"a name without values is not",
         {.headers = {{"X", {}}, {"Cookie", {}}, {"content-type", {}}}},
         {agent, "Expect:"}},
        {"nor an omitted one, nor what stands for it",
         {.headers = {{"user-agent", Omitted()},
                      {"x-y", Omitted()},
                      {"content-type", Omitted()},
                      {"X-Y", {"z"}}}},
         {"X-Y: z", "user-agent:", "content-type:", "Expect:"}},
        {"own agent and expectation",
         {.headers = {{"user-agent", {"mine"}}, {"Expect", {"100-continue"}}}},
         {"Expect: 100-continue", "user-agent: mine"}},
        {"what tells of a body, without one too",
         {.headers = {{"content-type", {"text/plain"}},
                      {"Content-Encoding", {"gzip"}},
                      {"content-length", {"0"}}},
          .body = false},
         {"Content-Encoding: gzip", "content-length: 0", "content-type: text/plain", agent,
          "Expect:"}},
        {"but no length that is not true",
         {.headers = {{"content-length", {"5"}}}, .body = false},
         {agent, "Expect:", "Content-Type:"}},
        {"nor one that is none",
         {.headers = {{"content-length", {""}}}, .body = false},
         {agent, "Expect:", "Content-Type:"}},
        {"nothing about a body that a redirect dropped",
         {.headers = {{"Content-Type", {"a/b"}}, {"Content-Encoding", {"gzip"}}},
          .body = false,
          .method = "GET"},
         {agent, "Expect:", "Content-Type:"}},
        {"single fields once",
         {.headers = {{"Host", {"one", "two"}}, {"Authorization", {"x", "y"}}}},
         {"Authorization: x", "Host: one", agent, "Expect:"}},
        {"no secrets and no own host for another origin",
         {.headers = {{"Authorization", {"x"}},
                      {"Cookie", {"c=d"}},
                      {"Host", {"one"}},
                      {"X", {"y"}},
                      {"Proxy-Authorization", {"x"}},
                      {"Cookie2", {"x"}},
                      {"WWW-Authenticate", {"x"}},
                      {"X-Api-Key", {"x"}},
                      {"X-CSRFToken", {"x"}},
                      {"X_Auth_User", {"x"}},
                      {"X-Monkey", {"x"}},
                      {"Author", {"x"}}},
          .sameOrigin = false,
          .cookies = {{"a", "b"}},
          .hopCookie = "h"},
         {"Author: x", "X: y", "X-Monkey: x", "Cookie: h=hop", agent, "Expect:"}},
        {"cookies in one field",
         {.headers = {{"Cookie", {"own=1", "more=2"}}},
          .cookies = {{"b", "2"}, {"a", "1"}, {"h", "old"}},
          .hopCookie = "h"},
         {"Cookie: own=1; more=2; a=1; b=2; h=hop", agent, "Expect:"}},
        {"own cookies before those of a jar, but not before what a hop set",
         {.headers = {{"Cookie", {"x=1 ; field=own"}}},
          .cookies = {{"record", "own"}, {"h", "old"}},
          .hopCookie = "h",
          .jar = jar},
         {"Cookie: x=1 ; field=own; record=own; fiel=jar; h=hop", agent, "Expect:"}},
        {"which another origin does not get",
         {.headers = {{"Cookie", {"field=own"}}},
          .sameOrigin = false,
          .cookies = {{"record", "own"}},
          .jar = jar},
         {"Cookie: field=jar; record=jar; fiel=jar; h=hop", agent, "Expect:"}},
    };
    for (const auto &[what, sent, lines] : cases) {
        EXPECT_EQ(Build(sent), lines) << what;
    }
}

TEST(HeaderListTest, CookiesOfHopsMakeNoFieldLongerThanServersTake)
{
    Request request("1", "http://a.org/");
    request.SetRequestCookies({{"own", std::string(2000, 'o')}});
    Hop hop;
    hop.url = ParsedUrl("http://a.org/");
    FetchCookies cookies;
    ResponseCookie cookie;
    for (const char *name : {"a", "b", "c", "d"}) {
        cookie.name = name;
        cookie.value.assign(*name == 'c' ? 4000 : 3000, 'h');
        cookies.Store(cookie, *hop.url);
    }
    HeaderList list;
    BuildHeaderList(request, hop, cookies, list);
    const std::string line = list.lines.Get()->next->data; // behind the codings
    EXPECT_LT(line.size(), 8200U);
    EXPECT_NE(line.find("; b="), std::string::npos);
    EXPECT_EQ(line.find("; c="), std::string::npos) << "does not fit";
}

TEST(HeaderListTest, SourcesDecideAmongSpellings)
{
    const auto of = [](FieldSource source, FieldValues values) {
        values.source = source;
        return values;
    };
    const FieldValues own = of(FieldSource::REQUEST, {"own"});
    const FieldValues session = of(FieldSource::SESSION, {"a session", "own"});
    const FieldValues added = of(FieldSource::DEFAULT, {"a default"});
    std::vector<std::string> names = {"User-Agent", "USER-AGENT", "user-agent"};
    do {
        const struct {
            Headers headers;
            Lines lines;
        } cases[] = {
            {{{names[0], added}, {names[1], session}, {names[2], own}}, {names[2] + ": own"}},
            {{{names[0], added}, {names[1], session}}, {names[1] + ": a session"}},
            {{{names[0], {"b"}}, {names[1], {"a"}}, {names[2], {"c"}}}, {names[1] + ": a"}},
            {{{"X" + names[0], added}, {"X" + names[1], session}, {"X" + names[2], own}},
             {"X" + names[2] + ": own", "X" + names[1] + ": a session", "X" + names[1] + ": own",
              "X" + names[0] + ": a default", "User-Agent: libtnx/1.0"}},
        };
        for (auto [headers, lines] : cases) {
            lines.emplace_back("Expect:");
            for (size_t i = 0; i < headers.size(); ++i) {
                std::rotate(headers.begin(), headers.begin() + 1, headers.end());
                EXPECT_EQ(Build({.headers = headers}), lines);
            }
        }
    } while (std::next_permutation(names.begin(), names.end()));
}

TEST(HeaderListTest, FindsWhatMustNotBeSent)
{
    const struct {
        const char *method;
        const char *name;
        std::string value;
        bool good;
    } cases[] = {
        {"GET", "X-Token!#$%&'*+-.^_`|~09", "any \t text \xc3\xa9", true},
        {"PURGE", "x", "", true},
        {"", "x", "y", false},
        {"GET /", "x", "y", false},
        {"GE\r\nT", "x", "y", false},
        {"GET", "", "y", false},
        {"GET", "x y", "y", false},
        {"GET", "x:", "y", false},
        {"GET", "x\r\nz", "y", false},
        {"GET", "caf\xc3\xa9", "y", false},
        {"GET", "x", "y\r\nz: w", false},
        {"GET", "x", "y\n", false},
        {"GET", "x", "\r", false},
        {"GET", "x", std::string("y\0z", 3), false},
        {"GET", "x", "y\x7f", true},
    };
    for (const auto &[method, name, value, good] : cases) {
        Request request("1", "http://a.org/");
        request.SetMethod(method);
        request.SetHeaders({{name, {value}}});
        EXPECT_EQ(FindBadField(request).empty(), good) << method << " " << name << ": " << value;
        Request cookie("1", "http://a.org/");
        cookie.SetRequestCookies({{"a", value}});
        EXPECT_EQ(FindBadField(cookie).empty(),
                  std::none_of(value.begin(), value.end(),
                               [](char c) { return (c >= 0 && c < ' ') || c == 127; }));
    }
}

TEST(HeaderListTest, LeavesTheFramingToTheEngine)
{
    RequestContent none;
    RequestContent text;
    text.SetString(std::make_shared<std::string>("abc"));
    RequestContent form;
    form.SetForm(std::make_shared<Form>());
    RequestContent pulled;
    pulled.SetGetDataCallback([](size_t) { return nullptr; });
    const struct {
        const RequestContent *content;
        const char *name;
        std::vector<std::string> values;
        bool good;
    } cases[] = {
        {nullptr, "Transfer-Encoding", {"chunked"}, false},
        {&pulled, "transfer-encoding", {"chunked"}, false},
        {&text, "TRANSFER-ENCODING", {"identity"}, false},
        {nullptr, "Content-Length", {"0"}, true},
        {nullptr, "Content-Length", {"3"}, false},
        {&none, "content-length", {"3"}, false},
        {&text, "content-length", {"3"}, true},
        {&text, "content-length", {"0"}, false},
        {&text, "content-length", {"4"}, false},
        {&text, "content-length", {"3", "4"}, false},
        {&form, "content-length", {"0"}, false},
        {&pulled, "content-length", {"1000000000000"}, true},
        {&pulled, "content-length", {"+3"}, false},
        {&pulled, "content-length", {"3 "}, false},
        {&pulled, "content-length", {"-1"}, false},
        {&pulled, "content-length", {"18446744073709551616"}, false},
        {&pulled, "content-length", {"3", "4"}, false},
    };
    for (const auto &[content, name, values, good] : cases) {
        Request request("1", "http://a.org/");
        request.SetHeaders({{name, FieldValues(values.begin(), values.end())}});
        if (content != nullptr) {
            request.SetContent(std::make_shared<RequestContent>(*content));
        }
        EXPECT_EQ(FindBadField(request).empty(), good) << name << ": " << values.front();
    }
}

std::string Show(const HeaderBlock &block)
{
    std::string text = std::to_string(block.Status()) + (block.Complete() ? "" : "...");
    for (const auto &[name, value] : block.Fields()) {
        text += "|" + std::string(name) + "=" + std::string(value);
    }
    return text;
}

TEST(HeaderBlockTest, PutsLinesTogether)
{
    const struct {
        Lines lines;
        const char *block;
    } cases[] = {
        {{"HTTP/1.1 200 OK\r\n", "A: b\r\n", "\r\n"}, "200|a=b"},
        {{"HTTP/2 204 \r\n", "\r\n"}, "204"},
        {{"HTTP/1.1 200\n", "A:b\n", "\n"}, "200|a=b"},
        {{"HTTP/1.1 200 OK\r\n", "A: b\r\n"}, "200...|a=b"},
        {{"HTTP/1.1 200 OK\r\n", "A: b\r\n", "a:\t c \t\r\n", "B:\r\n", "\r\n"}, "200|a=b|a=c|b="},
        {{"HTTP/1.1 200 OK\r\n", "A: b\r\n", "  c\r\n", "\td\r\n", "\r\n"}, "200|a=b c d"},
        {{"HTTP/1.1 200 OK\r\n", "X-A-Name: A Value\r\n", " c\r\n", "Y: z\r\n", "\r\n"},
         "200|x-a-name=A Value c|y=z"},
        {{"HTTP/1.1 200 OK\r\n", " folded onto nothing\r\n", "no colon\r\n", "\r\n"}, "200"},
        {{"HTTP/1.1 100 Continue\r\n", "A: b\r\n", "\r\n", "HTTP/1.1 200 OK\r\n", "\r\n"}, "200"},
        {{"HTTP/1.1 200 OK\r\n", "A: b\r\n", "\r\n", "A: trailer\r\n", "\r\n"}, "200|a=b"},
        {{"HTTP/1.1 200 OK\r\n", "A: b\r\n", "\r\n", "HTTP/1.1 302: x\r\n", "\r\n"}, "200|a=b"},
        {{"HTTP/1.1 200 OK\r\n", "HTTP/x: y\r\n", "\r\n"}, "200|http/x=y"},
        {{"http/1.1 200 OK\r\n", "A: b\r\n", "\r\n"}, "0|a=b"},
        {{"HTTP/1.1 abc\r\n", "\r\n"}, "0"},
    };
    for (const auto &[lines, shown] : cases) {
        HeaderBlock block;
        for (const std::string &line : lines) {
            EXPECT_TRUE(block.Add(line));
        }
        EXPECT_EQ(Show(block), shown) << lines.front() << lines[1];
    }
}

TEST(HeaderBlockTest, HasABound)
{
    HeaderBlock block;
    block.Add("HTTP/1.1 200 OK\r\n");
    const std::string line = "X: " + std::string(1000, 'x') + "\r\n";
    size_t size = 0;
    while (size < 4 * 1024 * 1024 && block.Add(line)) {
        size += line.size();
    }
    EXPECT_GT(size, 100U * 1024);
    EXPECT_LT(size, 1024U * 1024);
}

FormFieldValue Text(const std::string &text)
{
    FormFieldValue value;
    value.SetString(text);
    return value;
}

FormFieldValue Number(double number)
{
    FormFieldValue value;
    value.SetDouble(number);
    return value;
}

TEST(FormEncodingTest, WritesValuesWithoutALocale)
{
    FormFieldValue int32;
    int32.SetInt32(-2147483647 - 1);
    FormFieldValue int64;
    int64.SetInt64(9223372036854775807);
    FormFieldValue yes;
    yes.SetBool(true);
    FormFieldValue no;
    no.SetBool(false);
    const std::pair<FormFieldValue, const char *> cases[] = {
        {int32, "-2147483648"},
        {int64, "9223372036854775807"},
        {yes, "true"},
        {no, "false"},
        {Number(0.1), "0.1"},
        {Number(-1234567.875), "-1234567.875"},
        {Number(1e300), "1e+300"},
        {Number(5), "5"},
        {Number(1.0 / 3), "0.3333333333333333"},
        {Text(""), ""},
        {FormFieldValue(), ""},
    };
    for (const auto &[value, text] : cases) {
        EXPECT_EQ(FormValueText(value), text);
    }
}

TEST(FormEncodingTest, EncodesByTheRulesOfTheWeb)
{
    const std::pair<Form, const char *> cases[] = {
        {{}, ""},
        {{{"b", {Text("1")}}, {"a", {Text("2"), Text("1")}}, {"B", {Text("3")}}},
         "B=3&a=2&a=1&b=1"},
        {{{"none", {}}}, "none="},
        {{{"", {Text("")}}}, "="},
        {{{"n", {Text("*-._azAZ09")}}}, "n=*-._azAZ09"},
        {{{"a b", {Text("c+d & e=f")}}}, "a+b=c%2Bd+%26+e%3Df"},
        {{{"n", {Text("~!'()/?%\r\n")}}}, "n=%7E%21%27%28%29%2F%3F%25%0D%0A"},
        {{{"caf\xc3\xa9", {Text(std::string("\0\xff", 2))}}}, "caf%C3%A9=%00%FF"},
    };
    for (const auto &[form, text] : cases) {
        EXPECT_EQ(EncodeForm(form), text);
    }
}

} // namespace

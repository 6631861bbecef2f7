// How the tool reads a command line and the notations within it.
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "cli/base/dates.h"
#include "cli/base/glob.h"
#include "cli/base/values.h"
#include "cli/options/config_file.h"
#include "cli/options/options.h"
#include "cli/options/parser.h"
#include "cli/output/disposition.h"
#include "cli/request/netrc.h"

namespace
{

using namespace TnxTool;

std::vector<Settings> ParseGroups(std::vector<std::string> arguments)
{
    std::vector<char *> pointers;
    for (std::string &argument : arguments) {
        pointers.push_back(argument.data());
    }
    Parser parser;
    parser.Parse(pointers);
    return parser.TakeGroups();
}

Settings Parse(const std::vector<std::string> &arguments)
{
    return ParseGroups(arguments).back();
}

// A file that goes with the test.
class TemporaryFile
{
public:
    explicit TemporaryFile(const std::string &content)
        : path_(std::filesystem::temp_directory_path() /
                ("tnx-arguments-" + std::to_string(getpid())))
    {
        std::ofstream(path_, std::ios::binary) << content;
    }
    ~TemporaryFile() { std::filesystem::remove(path_); }
    std::string Path() const { return path_.string(); }

private:
    std::filesystem::path path_;
};

TEST(Arguments, AreReadAsCurlDoes)
{
    Settings s = Parse({"-sSLofile", "-XPOST", "--head", "--no-head", "u1", "--", "-u2"});
    EXPECT_TRUE(s.silent && s.showError && s.location);
    EXPECT_FALSE(s.head);
    ASSERT_EQ(s.outputs.size(), 1U);
    EXPECT_EQ(s.outputs[0].file, "file");
    EXPECT_EQ(s.method, "POST");
    EXPECT_EQ(s.urls, (std::vector<std::string>{"u1", "-u2"}));

    s = Parse({"-d", "a=1", "--data-urlencode", "b=x y&z", "--data-raw", "@c", "u"});
    EXPECT_EQ(s.data, "a=1&b=x+y%26z&@c");
    s = Parse({"--json", "{", "--json", "}", "u"});
    EXPECT_EQ(s.data, "{}");
    s = Parse({"-m", "0.0001", "--connect-timeout", "2.5", "--max-t", "1.5", "u"});
    EXPECT_EQ(s.maxTime, 1500U);
    EXPECT_EQ(s.connectTimeout, 2500U);
    EXPECT_EQ(Parse({"-m", "0", "u"}).maxTime, TNX_NO_TIMEOUT);
    EXPECT_EQ(Parse({"-m", "0.0001", "u"}).maxTime, 1U);
    EXPECT_EQ(Parse({"-h"}).help, "");
    EXPECT_EQ(Parse({"-h", "tls"}).help, "tls");
    EXPECT_EQ(Parse({"--help"}).help, "");
}

TEST(Arguments, AreRefusedWithAReason)
{
    const struct {
        std::vector<std::string> arguments;
        std::string reason;
    } cases[] = {
        {{}, "no URL specified"},
        {{"--frobnicate", "u"}, "option --frobnicate: is unknown"},
        {{"--request=POST", "u"}, "option --request=POST: is unknown; did you mean --request?"},
        {{"--lcoation", "u"}, "option --lcoation: is unknown; did you mean --location?"},
        {{"--no-insecuer", "u"}, "option --no-insecuer: is unknown; did you mean --insecure?"},
        {{"--re", "u"}, "option --re: is ambiguous"},
        {{"-s5", "u"}, "option -5: is unknown"},
        {{"-", "u"}, "option -: is unknown"},
        {{"u", "-X"}, "option -X: requires parameter"},
        {{"u", "--request"}, "option --request: requires parameter"},
        {{"-m", "soon", "u"}, "option -m: expected a number of seconds, not 'soon'"},
        {{"-m", "-1", "u"}, "option -m: expected a number of seconds, not '-1'"},
        {{"--no-request", "u"}, "option --no-request: cannot be turned off"},
        {{"-sQ", "u"},
         "option -Q: is not supported: only http and https are spoken; use curl for other "
         "protocols"},
        {{"--no-sessionid", "u"},
         "option --no-sessionid: is not supported: sessions live as long as the run; leave it out"},
        {{"--next", "u"}, "option --next: no URL stands before it"},
        {{"u", "--next"}, "no URL specified"},
        {{"--rate", "2", "u"}, "option --rate: expected number/s, /m, /h or /d, not '2'"},
        {{"--pretty", "so", "u"}, "option --pretty: expected always, auto or never, not 'so'"},
        {{"-OJi", "u"}, "-J and -i or -C cannot be used together"},
        {{"-d", "a", "-F", "b=c", "u"}, "data (-d) and a form (-F) cannot be used together"},
        {{"-I", "-d", "a", "u"}, "data (-d) and -I cannot be used together"},
        {{"-XGET", "-d", "a", "u"}, "a GET request carries no body; -G puts data into the URL"},
        {{"-F", "b", "u"}, "option -F: expected name=content, not 'b'"},
        {{"--pinnedpubkey", "key.pem", "u"},
         "option --pinnedpubkey: expected sha256//HASH[;sha256//HASH]...; files are not read"},
        {{"-w", "%{certs}", "u"}, "option -w: the variable %{certs} of --write-out is not there"},
        {{"--tls-max", "1.1", "u"}, "option --tls-max: expected 1.2, 1.3 or default, not '1.1'"},
        {{"--limit-rate", "1x", "u"},
         "option --limit-rate: expected a number of bytes, K, M, G or T, not '1x'"},
        {{"-d", "@/nowhere/at/all", "u"},
         "option -d: cannot read '/nowhere/at/all': No such file or directory"},
        {{"-F", "a=</", "u"}, "option -F: cannot read '/': Is a directory"},
    };
    for (const auto &c : cases) {
        try {
            Parse(c.arguments);
            FAIL() << c.reason;
        } catch (const UsageError &error) {
            EXPECT_EQ(error.what(), c.reason);
        }
    }
}

TEST(Arguments, HideSecretsFromTheProcessList)
{
    std::vector<std::string> arguments = {"-u", "me:word", "--pass", "phrase", "-Ecert:word", "u"};
    std::vector<char *> pointers;
    for (std::string &argument : arguments) {
        pointers.push_back(argument.data());
    }
    Parser parser;
    parser.Parse(pointers);
    EXPECT_EQ(arguments,
              (std::vector<std::string>{"-u", "       ", "--pass", "      ", "-E         ", "u"}));
    EXPECT_EQ(parser.TakeGroups().back().server.user, "me:word");
}

TEST(Arguments, ComeFromFilesToo)
{
    const TemporaryFile file("# a comment\n\n"
                             "url = \"http://host/\\\"q\\\"\\t\"\n"
                             "-X PUT\n"
                             "--silent\n"
                             "header: X: y\n"
                             "fail\r\n");
    const Settings s = Parse({"-K", file.Path()});
    EXPECT_EQ(s.urls, (std::vector<std::string>{"http://host/\"q\"\t"}));
    EXPECT_EQ(s.method, "PUT");
    EXPECT_TRUE(s.silent && s.fail);
    EXPECT_EQ(s.headers, (std::vector<std::string>{"X: y"}));
}

TEST(Arguments, OfFilesAreRefusedWithTheirLine)
{
    const TemporaryFile file("silent\nfrob\n");
    try {
        Parse({"-K", file.Path(), "u"});
        FAIL();
    } catch (const UsageError &error) {
        EXPECT_EQ(error.what(), "option -K: " + file.Path() + ":2: option frob: is unknown");
    }
    const TemporaryFile endless("config " + file.Path() + "\n");
    EXPECT_THROW(Parse({"-K", endless.Path(), "u"}), UsageError);
}

TEST(Arguments, ComeInGroups)
{
    const auto groups = ParseGroups({"-d", "a", "u1", "u2", "-:", "-sf", "u3", "--rate", "3/2m"});
    ASSERT_EQ(groups.size(), 2U);
    EXPECT_EQ(groups[0].urls, (std::vector<std::string>{"u1", "u2"}));
    EXPECT_TRUE(groups[0].data && !groups[0].fail && groups[1].fail && !groups[1].data);
    EXPECT_TRUE(groups[0].silent); // holds for the run
    EXPECT_EQ(groups[0].pace, 40000U);
}

TEST(Arguments, ComeFromADefaultFileFirst)
{
    const std::filesystem::path folder =
        std::filesystem::temp_directory_path() / ("tnx-defaults-" + std::to_string(getpid()));
    std::filesystem::create_directory(folder);
    std::ofstream(folder / "tnxrc") << "user-agent = file\nfail\n";
    setenv("XDG_CONFIG_HOME", folder.c_str(), 1);
    const Settings with = Parse({"-A", "line", "u"});
    const Settings without = Parse({"-q", "u"});
    const Settings late = Parse({"-f", "-q", "u"});
    unsetenv("XDG_CONFIG_HOME");
    std::filesystem::remove_all(folder);
    EXPECT_EQ(with.userAgent, "line");
    EXPECT_TRUE(with.fail);
    EXPECT_TRUE(!without.userAgent && !without.fail);
    EXPECT_EQ(late.userAgent, "file");
}

TEST(Arguments, StandInOneTableWithoutClashes)
{
    std::string letters;
    for (const Option &option : Options()) {
        EXPECT_TRUE(option.help != nullptr && option.man != nullptr) << option.name;
        EXPECT_EQ(&FindName(option.name), &option);
        if (option.letter != 0) {
            EXPECT_EQ(letters.find(option.letter), std::string::npos) << option.name;
            letters += option.letter;
        }
    }
}

TEST(Values, OfDataFilesLoseLineEndsUnlessBinary)
{
    const TemporaryFile file(std::string("a b\r\nc\n\0d", 9));
    EXPECT_EQ(DataValue("@" + file.Path()), "a bcd");
    EXPECT_EQ(DataBinaryValue("@" + file.Path()), std::string("a b\r\nc\n\0d", 9));
    EXPECT_EQ(DataUrlencodeValue("n@" + file.Path()), "n=a+b%0D%0Ac%0A%00d");
    EXPECT_EQ(DataUrlencodeValue("=a=b"), "a%3Db");
    EXPECT_EQ(DataUrlencodeValue("a~b"), "a~b");
}

TEST(Values, OfUrlsAreTakenApart)
{
    const struct {
        std::string pattern;
        std::string name;
        std::string urls; // each with the name that it gives
    } cases[] = {
        {"h/{a,b}/[1-3:2]", "f#2#1#3#", "h/a/1 f1a#3# h/a/3 f3a#3# h/b/1 f1b#3# h/b/3 f3b#3# "},
        {"[08-10]", "", "08  09  10  "},
        {"[a-e:2]{,x}", "", "a  ax  c  cx  e  ex  "},
        {"http://[::1]:80/[1-1]", "#1", "http://[::1]:80/1 1 "},
        {"\\{a\\}\\[1]\\x", "", "refused"},
        {"\\{a\\}\\[1\\]\\x", "#1#", "{a}[1]\\x #1# "},
        {"a[]", "", "a[]  "},
        {"{a", "", "refused"},
        {"a}", "", "refused"},
        {"{a{b}}", "", "refused"},
        {"[2-1]", "", "refused"},
        {"[a-9]", "", "refused"},
        {"[1-2:0]", "", "refused"},
        {"[0-18446744073709551615]", "", "refused"},
        {"[1-1000][1-1000]", "", "refused"},
    };
    for (const auto &c : cases) {
        std::string urls;
        try {
            for (const GlobMatch &match : ExpandGlobs(c.pattern)) {
                urls += match.text + " " + FillPieces(c.name, match.pieces) + " ";
            }
        } catch (const ToolError &error) {
            EXPECT_EQ(error.status, EXIT_URL);
            urls = "refused";
        }
        EXPECT_EQ(urls, c.urls) << c.pattern;
    }
}

TEST(Values, OfDatesAreReadInManyForms)
{
    for (const char *text :
         {"Sun, 06 Nov 1994 08:49:37 GMT", "Sunday, 06-Nov-94 08:49:37 GMT",
          "Sun Nov  6 08:49:37 1994", "6 Nov 1994 08:49:37", "1994-11-06T08:49:37Z",
          "1994-11-06 09:49:37 +0100", "19941106 08:49:37"}) {
        const auto date = ParseDate(text);
        ASSERT_TRUE(date) << text;
        EXPECT_EQ(std::chrono::system_clock::to_time_t(*date), 784111777) << text;
    }
    EXPECT_FALSE(ParseDate("tomorrow") || ParseDate("") || ParseDate("1994-11-06x"));
    EXPECT_EQ(TimeCondition("-1994-11-06"), "If-Unmodified-Since: Sun, 06 Nov 1994 00:00:00 GMT");
}

TEST(Values, OfFileNamesThatServersGiveAreTamed)
{
    const struct {
        std::string field;
        std::string name;
    } cases[] = {
        {"attachment; filename=a.txt", "a.txt"},
        {"attachment; FileName=\"a \\\"b\\\".txt\"; size=3", "a \"b\".txt"},
        {"attachment; filename=x; filename*=UTF-8'de'%c3%a4%20b", "\u00e4 b"},
        {"attachment; filename=\"../../etc/passwd\"", "passwd"},
        {"attachment; filename=\"c:\\\\x\\\\y\"", "y"},
        {"attachment; filename=..", ""},
        {"attachment; filename=\"a/\"", ""},
        {"attachment; filename", ""},
        {"inline", ""},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(DispositionName(c.field), c.name) << c.field;
    }
}

TEST(Values, OfUsersAreFoundByHost)
{
    const std::string netrc = "# machine h login no\n"
                              "machine other login o password p\n"
                              "macdef m\nmachine h login macro\n\n"
                              "machine H login \"a b\" account x password \"q\\\"\"\n"
                              "machine h login second password 2\n"
                              "default login d password e";
    EXPECT_EQ(FindInNetrcText(netrc, "h", ""), "a b:q\"");
    EXPECT_EQ(FindInNetrcText(netrc, "h", "second"), "second:2");
    EXPECT_EQ(FindInNetrcText(netrc, "unknown", ""), "d:e");
    EXPECT_EQ(FindInNetrcText("machine h", "h", ""), std::nullopt);
}

TEST(Values, OfFormsAreReadWithTheirAttributes)
{
    const struct {
        std::string value;
        FormPart part;
    } cases[] = {
        {"n=v", {FormPart::Kind::TEXT, "n", "v", {}, {}}},
        {"n=", {FormPart::Kind::TEXT, "n", "", {}, {}}},
        {"n=a b;type=text/x", {FormPart::Kind::TEXT, "n", "a b", "text/x", {}}},
        {"n=\"a;b\"", {FormPart::Kind::TEXT, "n", "a;b", {}, {}}},
        {"n=@p;type=t/u;filename=f", {FormPart::Kind::FILE, "n", "p", "t/u", "f"}},
        {"n=@\"a;\\\"b\";filename=\"c d\"", {FormPart::Kind::FILE, "n", "a;\"b", {}, "c d"}},
    };
    for (const auto &c : cases) {
        const FormPart part = ParseForm(c.value);
        EXPECT_EQ(part.kind, c.part.kind) << c.value;
        EXPECT_EQ(part.name, c.part.name) << c.value;
        EXPECT_EQ(part.value, c.part.value) << c.value;
        EXPECT_EQ(part.contentType, c.part.contentType) << c.value;
        EXPECT_EQ(part.fileName, c.part.fileName) << c.value;
    }
    EXPECT_THROW(ParseForm("n=v;headers=X: y"), UsageError);
    EXPECT_THROW(ParseForm("n=(;type=t"), UsageError);
}

} // namespace

// Files of cookies: what is read, what others read, and how they are replaced on disk.
#include "base/files.h"
#include "child_process.h"
#include "http/cookie_file.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

#include <curl/curl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

using namespace OHOS::Pelloria::Tnx;
using namespace OHOS::Pelloria::TnxTest;

TEST(CookieFileTest, LosesTheDamagedLinesOnly)
{
    const std::string good = "good.org\tFALSE\t/\tFALSE\t0\tn\tv\n";
    const struct {
        const char *lines;
        size_t cookies;
        size_t damaged;
    } cases[] = {
        {"", 0, 0},
        {"# Netscape HTTP Cookie File\r\n\r\n", 0, 0},
        {".a.org\tTRUE\t/x\tTRUE\t4000000000\tn\tv=w x\r\n", 1, 0},
        {"#HttpOnly_a.org\tfalse\t/\ttrue\t\tn\t", 1, 0},
        {"a.org\tFALSE\t/\tFALSE\t0\tn", 1, 0},    // a value of nothing
        {"a.org\tFALSE\t/\tFALSE\t1\tn\tv", 0, 0}, // over
        {"a.org\tFALSE\t/\tFALSE\t17", 0, 1},
        {"a.org FALSE / FALSE 0 n v", 0, 1},
        {"\tFALSE\t/\tFALSE\t0\tn\tv", 0, 1},
        {"a.org\tYES\t/\tFALSE\t0\tn\tv", 0, 1},
        {"a.org\tFALSE\tx\tFALSE\t0\tn\tv", 0, 1},
        {"a.org\tFALSE\t/\tFAL\t0\tn\tv", 0, 1},
        {"a.org\tFALSE\t/\tFALSE\t-1\tn\tv", 0, 1},
        {"a.org\tFALSE\t/\tFALSE\t9223372036854775808\tn\tv", 0, 1},
        {"a.org\tFALSE\t/\tFALSE\t0\t\tv", 0, 1},
        {"a.org\tFALSE\t/\tFALSE\t0\tn=\tv", 0, 1},
        {"a.org\tFALSE\t/\tFALSE\t0\tn\tv; Path=/", 0, 1},
        {"a.org\tFALSE\t/\tFALSE\t0\tn\tv\tw", 1, 0}, // others leave it out
        {"a.org\tFALSE\t/\tFALSE\t0\tn\tv\x1b", 0, 1},
        {"org\tTRUE\t/\tFALSE\t0\tn\tv", 0, 1}, // strangers would get it
        {"a.org\tTRUE\t/\tTRUE\t0\t__Host-n\tv", 0, 1},
        {"\x1f\x8b\x08\t\xff\n\n\n\tx", 0, 2},
    };
    const TemporaryDirectory folder;
    for (const auto &[lines, cookies, damaged] : cases) {
        WriteFile(folder.Path("jar"), lines + ("\n" + good));
        CookieJar jar;
        size_t lost = 99;
        EXPECT_EQ(jar.Load(folder.Path("jar"), lost), 0);
        EXPECT_EQ(lost, damaged) << lines;
        EXPECT_EQ(jar.All().size(), cookies + 1) << lines;
    }
}

// One of each kind, in the order of the file.
KeptCookies Kinds()
{
    const std::string host = "www.a.org";
    return {{.name = "s", .value = "1", .domain = host, .path = "/"},
            {.name = "b",
             .value = "a = \"b\"",
             .domain = "a.org",
             .path = "/x",
             .sameSite = "Strict",
             .expiryTime = 4000000000,
             .hostOnly = false,
             .secure = true,
             .httpOnly = true},
            {.name = "a", .value = "", .domain = host, .path = "/", .sameSite = "None"},
            {.name = "h", .value = "caf\xc3\xa9", .domain = host, .path = "/", .httpOnly = true}};
}

TEST(CookieFileTest, SameSiteIsOfTheNextLineOnly)
{
    const std::string text = PrintCookieFile(Kinds());
    EXPECT_EQ(ParseCookieFile(text).cookies, Kinds());
    std::string apart = text;
    apart.insert(apart.find("# SameSite=None\n") + 16, "# and a word of somebody else's\n");
    KeptCookies lax = Kinds();
    lax[2].sameSite.clear();
    EXPECT_EQ(ParseCookieFile(apart).cookies, lax);
    EXPECT_EQ(ParseCookieFile(apart).damaged, 0U);
}

TEST(CookieFileTest, LibcurlReadsWhatWeWriteAndTheOtherWayRound)
{
    const TemporaryDirectory folder;
    ASSERT_EQ(ReplaceFile(folder.Path("ours"), PrintCookieFile(Kinds())), 0);
    const std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> easy(curl_easy_init(),
                                                                   curl_easy_cleanup);
    curl_easy_setopt(easy.get(), CURLOPT_COOKIEFILE, folder.Path("ours").c_str());
    curl_easy_setopt(easy.get(), CURLOPT_COOKIEJAR, folder.Path("theirs").c_str());
    curl_easy_setopt(easy.get(), CURLOPT_COOKIELIST, "RELOAD");
    curl_easy_setopt(easy.get(), CURLOPT_COOKIELIST, "FLUSH");
    CookieJar jar;
    size_t damaged = 1;
    ASSERT_EQ(jar.Load(folder.Path("theirs"), damaged), 0);
    EXPECT_EQ(damaged, 0U);
    const KeptCookies read = jar.All();
    EXPECT_EQ(read.size(), Kinds().size());
    for (KeptCookie cookie : Kinds()) {
        cookie.sameSite.clear(); // it does not know
        EXPECT_NE(std::find(read.begin(), read.end(), cookie), read.end()) << cookie.name;
    }
}

TEST(CookieFileTest, ReplacesFilesAtOneGo)
{
    const TemporaryDirectory folder;
    const auto path = [&folder](const char *name) { return folder.Path(name); };
    ASSERT_EQ(mkdir(path("sub").c_str(), 0700), 0);
    WriteFile(path("sub/old"), "old");
    ASSERT_EQ(chmod(path("sub/old").c_str(), 0644), 0);
    ASSERT_EQ(mkfifo(path("pipe").c_str(), 0600), 0);
    ASSERT_EQ(symlink("sub/link", path("link").c_str()), 0);
    ASSERT_EQ(symlink("old", path("sub/link").c_str()), 0);
    ASSERT_EQ(symlink("sub/new", path("dangling").c_str()), 0);
    ASSERT_EQ(symlink("loop", path("loop").c_str()), 0);
    const struct {
        const char *path;
        const char *file; // that is written
        int error;
    } cases[] = {
        {"plain", "plain", 0},      {"plain", "plain", 0}, {"link", "sub/old", 0},
        {"dangling", "sub/new", 0}, {"loop", "", ELOOP},   {"sub", "", EISDIR},
        {"none/plain", "", ENOENT}, {"pipe", "", EINVAL},
    };
    std::string text;
    for (const auto &[name, file, error] : cases) {
        EXPECT_EQ(ReplaceFile(path(name), name), error) << name;
        EXPECT_EQ(ReadWholeFile(path(name), 100, text), error) << name;
        struct stat status;
        if (error == 0) {
            EXPECT_EQ(text, name);
            ASSERT_EQ(lstat(path(file).c_str(), &status), 0) << file;
            EXPECT_EQ(status.st_mode, S_IFREG | 0600U) << file;
        }
    }
    EXPECT_EQ(ReadWholeFile(path("plain"), 4, text), EFBIG);
    size_t names = 0; // nothing temporary is left
    for ([[maybe_unused]] const auto &entry :
         std::filesystem::recursive_directory_iterator(folder.Path())) {
        ++names;
    }
    EXPECT_EQ(names, 9U);
}

} // namespace

// What the stand-ins take from the environment, and what they write.
#include "tnx_platform/controls.h"
#include "tnx_platform/permission.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <memory>
#include <regex>
#include <string>

namespace
{

std::string RunProbe(const std::string &environment)
{
    const std::string command = "env -u TNX_LOG_STRICT " + environment + " " PLATFORM_PROBE " 2>&1";
    const std::unique_ptr<FILE, int (*)(FILE *)> pipe(popen(command.c_str(), "r"), pclose);
    std::string output;
    char part[512];
    while (pipe != nullptr && std::fgets(part, sizeof(part), pipe.get()) != nullptr) {
        output += part;
    }
    return output;
}

TEST(EnvironmentTest, TheLevelSelectsLines)
{
    const struct {
        const char *environment;
        std::string levels;
    } rows[] = {
        {"TNX_LOG=debug", "3456"}, {"TNX_LOG=info", "456"},   {"TNX_LOG=warn", "56"},
        {"TNX_LOG=error", "6"},    {"TNX_LOG=off", ""},       {"-u TNX_LOG", "6"},
        {"TNX_LOG=", "6"},         {"TNX_LOG=nonsense", "6"},
    };
    const std::regex line(
        R"(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3}Z (\d+) \1 ([DIWE]) CD0015B0/TAG: level ([3-6])\n)");
    for (const auto &row : rows) {
        const std::string output = RunProbe(row.environment);
        std::string levels;
        for (std::sregex_iterator match(output.begin(), output.end(), line), end; match != end;
             ++match) {
            levels += (*match)[3];
            EXPECT_EQ((*match)[2], std::string(1, "DIWE"[(*match)[3].str()[0] - '3']));
        }
        EXPECT_EQ(levels, row.levels) << row.environment;
        EXPECT_NE(output.find("errno 1 "), std::string::npos);
    }
}

TEST(EnvironmentTest, EventsAreJsonLinesInTheFile)
{
    const std::string path = testing::TempDir() + "tnx_events_" + std::to_string(getpid());
    for (int i = 0; i < 2; ++i) {
        EXPECT_NE(RunProbe("TNX_APP_EVENTS=" + path).find("write 0"), std::string::npos);
    }
    std::ifstream file(path);
    std::string line;
    int lines = 0;
    const std::regex expected(
        R"re(\{"domain":"domain","name":"name","type":4,"time":\d{13},"params":)re"
        R"re(\{"text":"quote \\" backslash \\\\ newline \\u000a end",)re"
        R"re("wide":1099511627776,"narrow":-1\}\})re");
    while (std::getline(file, line)) {
        EXPECT_TRUE(std::regex_match(line, expected)) << line;
        ++lines;
    }
    EXPECT_EQ(lines, 2);
    std::remove(path.c_str());
    EXPECT_NE(RunProbe("TNX_APP_EVENTS=/nowhere/file").find("write -1"), std::string::npos);
    EXPECT_NE(RunProbe("-u TNX_APP_EVENTS").find("write 0"), std::string::npos);
}

TEST(EnvironmentTest, ThePermissionIsDeniedByZeroOnlyAndByAControl)
{
    EXPECT_NE(RunProbe("TNX_INTERNET_PERMISSION=0").find("permission 0"), std::string::npos);
    EXPECT_NE(RunProbe("TNX_INTERNET_PERMISSION=1").find("permission 1"), std::string::npos);
    EXPECT_NE(RunProbe("-u TNX_INTERNET_PERMISSION").find("permission 1"), std::string::npos);

    using OHOS::Pelloria::CommonUtils::HasInternetPermission;
    using OHOS::Pelloria::Platform::InternetPermission;
    const bool usual = HasInternetPermission();
    {
        const InternetPermission denied(false);
        EXPECT_FALSE(HasInternetPermission());
        const InternetPermission granted(true);
        EXPECT_TRUE(HasInternetPermission());
    }
    EXPECT_EQ(HasInternetPermission(), usual);
}

} // namespace

// The formats of log lines.
#include "tnx_platform/controls.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <string>

namespace
{

using OHOS::Pelloria::Platform::LogCapture;

template <class... Args> std::string Logged(const char *format, Args... args)
{
    LogCapture capture;
    HiLogPrint(LOG_CORE, LOG_DEBUG, 1, "TAG", format, args...);
    const auto lines = capture.Take();
    EXPECT_EQ(lines.size(), 1U);
    return lines.empty() ? "" : lines.front().text;
}

TEST(LogTest, FormatsAsPrintfDoesAndHidesWhatIsPrivate)
{
    const struct {
        std::string actual;
        std::string expected;
    } rows[] = {
        {Logged("plain"), "plain"},
        {Logged("100%% %{public}d%%", 5), "100% 5%"},
        {Logged("%{public}s|%{private}s|%s", "a", "b", "c"), "a|<private>|<private>"},
        {Logged("%{private}d %{public}s", 1, "after"), "<private> after"},
        {Logged("%{private}f %d %{public}d", 1.5, 2, 3), "<private> <private> 3"},
        {Logged("%{public}u %{public}d", UINT32_MAX, INT32_MIN), "4294967295 -2147483648"},
        {Logged("%{public}lu %{public}lld", UINT64_MAX, INT64_MIN),
         "18446744073709551615 -9223372036854775808"},
        {Logged("%{public}zu %{public}jd", SIZE_MAX, intmax_t{-1}), "18446744073709551615 -1"},
        {Logged("%{public}5d|%{public}-5d|%{public}05.1f", 7, 7, 2.25), "    7|7    |002.2"},
        {Logged("%{public}#x %{public}c %{public}.2s", 255, 'z', "abc"), "0xff z ab"},
        {Logged("%{public}s", static_cast<const char *>(nullptr)), "(null)"},
        {Logged("%{public}s", std::string(9000, 'x').c_str()).substr(0, 4), "xxxx"},
    };
    for (const auto &row : rows) {
        EXPECT_EQ(row.actual, row.expected);
    }
}

TEST(LogTest, CapturesNestAndCallsBelowTheLevelReturnZero)
{
    LogCapture outer;
    {
        LogCapture inner;
        HiLogPrint(LOG_CORE, LOG_DEBUG, 1, "TAG", "inner");
        EXPECT_EQ(inner.Take().size(), 1U);
    }
    EXPECT_EQ(HiLogPrint(LOG_CORE, LOG_INFO, 1, "TAG", "outer"), 0);
    const auto lines = outer.Take();
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_EQ(lines[0].text, "outer");
    EXPECT_EQ(lines[0].level, LOG_INFO);
}

// A format that the compiler cannot check must not survive a test run.
TEST(LogDeathTest, AWrongFormatAborts)
{
    if (std::getenv("TNX_LOG_STRICT") == nullptr) {
        GTEST_SKIP() << "needs TNX_LOG_STRICT=1";
    }
    for (const char *format : {"%{public}y", "%{public}*d", "%{public}", "%", "%{pubic}d", "%n",
                               "%{public}ls", "%{public}llld"}) {
        EXPECT_DEATH(HiLogPrint(LOG_CORE, LOG_DEBUG, 1, "TAG", format, 1, 2), "format is wrong")
            << format;
    }
}

} // namespace

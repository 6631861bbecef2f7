// Bounded string functions at their bounds.
#include "tnx_platform/bounded.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace
{

TEST(BoundedTest, StringsThatDoNotFitLeaveTheEmptyString)
{
    const char unterminated[4] = {'a', 'b', 'c', 'd'};
    char overlapping[] = "xabc";
    const struct {
        const char *what;
        size_t destMax;
        const char *source;
        bool fits;
    } rows[] = {
        {"fits exactly", 4, "abc", true},
        {"one too long", 3, "abc", false},
        {"empty", 1, "", true},
        {"null", 4, nullptr, false},
        {"no terminator", 4, unterminated, false},
    };
    for (const auto &row : rows) {
        char dest[8] = "old";
        EXPECT_EQ(strcpy_s(dest, row.destMax, row.source) == 0, row.fits) << row.what;
        EXPECT_STREQ(dest, row.fits ? row.source : "") << row.what;
    }
    char dest[8] = "old";
    EXPECT_NE(strcpy_s(dest, 0, "a"), 0);
    EXPECT_NE(strcpy_s(dest, SIZE_MAX, "a"), 0);
    EXPECT_STREQ(dest, "old");
    EXPECT_NE(strcpy_s(nullptr, 4, "a"), 0);
    EXPECT_NE(strcpy_s(overlapping, sizeof(overlapping), overlapping + 1), 0);
}

TEST(BoundedTest, PrintsWhatFits)
{
    char dest[4] = "old";
    EXPECT_EQ(sprintf_s(dest, sizeof(dest), "%d", 123), 3);
    EXPECT_STREQ(dest, "123");
    EXPECT_EQ(sprintf_s(dest, sizeof(dest), "%d", 1234), -1);
    EXPECT_STREQ(dest, "");
    EXPECT_EQ(sprintf_s(dest, 0, "%d", 1), -1);
    EXPECT_EQ(sprintf_s(nullptr, 4, "%d", 1), -1);
}

TEST(BoundedTest, ClearsWithinTheBound)
{
    char secret[8] = "secret!";
    EXPECT_EQ(memset_s(secret, sizeof(secret), 0, 6), 0);
    EXPECT_EQ(std::string(secret, 8), std::string("\0\0\0\0\0\0!\0", 8));
    EXPECT_NE(memset_s(secret, 4, 'x', 100), 0);
    EXPECT_EQ(std::string(secret, 8), std::string("xxxx\0\0!\0", 8));
    EXPECT_NE(memset_s(nullptr, 4, 0, 4), 0);
}

} // namespace

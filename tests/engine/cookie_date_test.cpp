// Dates as cookies write them: any order, any separators, two-digit years.
#include "http/set_cookie.h"

#include <gtest/gtest.h>

namespace
{

using OHOS::Pelloria::Tnx::ParseCookieDate;

constexpr int64_t EXAMPLE = 784111777; // Sun, 06 Nov 1994 08:49:37 GMT
constexpr std::optional<int64_t> NONE;

TEST(CookieDateTest, ReadsEveryForm)
{
    const struct {
        const char *text;
        std::optional<int64_t> seconds;
    } cases[] = {
        {"Sun, 06 Nov 1994 08:49:37 GMT", EXAMPLE},
        {"Sunday, 06-Nov-94 08:49:37 GMT", EXAMPLE},
        {"Sun Nov  6 08:49:37 1994", EXAMPLE},
        {"6 Nov 94 8:49:37", EXAMPLE},
        {"1994 Nov 6 08:49:37", EXAMPLE},
        {"08:49:37 1994 6 November", EXAMPLE},
        {"06 nOvEmBeR 1994 08:49:37", EXAMPLE},
        {"Sun;06?Nov@1994_08:49:37~GMT", EXAMPLE},
        {"\tSun\t06\tNov\t1994\t08:49:37\t", EXAMPLE},
        {"6th Nov 1994AD 08:49:37GMT", EXAMPLE},
        {"06 Nov 1994 08:49:37:99", EXAMPLE},
        // A zone is not looked at, and what comes a second time neither.
        {"06 Nov 1994 08:49:37 +0500", EXAMPLE},
        {"06 Nov 1994 08:49:37 EST", EXAMPLE},
        {"06 Nov 1994 08:49:37 07 Dec 1995 09:50:38", EXAMPLE},
        {"06 May 1994 08:49:37 Nov", 768214177},
        {"06 decoy 1994 08:49:37", 786703777},
        {"31 Dec 99 23:59:59", 946684799},
        {"01 Jan 00 00:00:00", 946684800},
        {"06 Nov 69 08:49:37", 3150953377},
        {"Thu, 01-Jan-70 00:00:00 GMT", 0},
        {"29 Feb 2000 00:00:00", 951782400},
        {"19 Jan 2038 03:14:08", 2147483648},
        {"31 Dec 9999 23:59:59", 253402300799},
        {"01 Jan 1601 00:00:00", -11644473600},
        {"31 Dec 1600 23:59:59", NONE},
        {"06 Nov 994 08:49:37", NONE},
        {"06 Nov 19941 08:49:37", NONE},
        {"006 Nov 1994 08:49:37", NONE},
        {"06 Nov 1994 008:49:37", NONE},
        {"06 Nov 1994 08:49:377", NONE},
        {"06 Nov 1994 08:49", NONE},
        {"06 Nov 1994 24:00:00", NONE},
        {"06 Nov 1994 23:60:00", NONE},
        {"06 Nov 1994 23:59:60", NONE},
        {"00 Nov 1994 08:49:37", NONE},
        {"32 Nov 1994 08:49:37", NONE},
        {"31 Nov 1994 08:49:37", NONE},
        {"29 Feb 1900 00:00:00", NONE},
        {"06 No 1994 08:49:37", NONE},
        {"06 1994 08:49:37", NONE},
        {"Nov 1994 08:49:37", NONE},
        {"06 Nov 08:49:37", NONE},
        {"06 Nov 1994", NONE},
        {"784111777", NONE},
        {" ,;-", NONE},
        {"", NONE},
    };
    for (const auto &[text, seconds] : cases) {
        EXPECT_EQ(ParseCookieDate(text), seconds) << text;
    }
}

} // namespace

// Every allocation of the records fails in turn: the caller gets what was promised, nothing leaks,
// and a record that a call failed on works on.
#include "common/c_ptr.h"
#include "objects/tnx_headers.h"
#include "tests/objects/failing_memory.h"
#include "tnx_c_ext/header_fields.h"
#include "tnx_platform/controls.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

namespace
{

using namespace OHOS::Pelloria::TnxC;
using namespace FailingMemory;
using OHOS::Pelloria::Platform::LogCapture;

// Enough names for a map to grow twice.
constexpr int NAMES = 150;

struct Records {
    HeadersPtr headers{CreateHeaders(100 * RoomForHeader(6, 1))}; // and more on the heap
    RequestCookiesPtr cookies{OVX_Tnx_CreateRequestCookies()};
    FormPtr form{OVX_Tnx_CreateForm()};
    MultipartFormPtr multipart{OVX_Tnx_CreateMultipartForm()};
    RequestPtr request{OVX_Tnx_CreateRequest("http://host")};
};

// Sets everything, and again; returns the codes. Setting what is there already changes nothing.
std::vector<uint32_t> Fill(const Records &records)
{
    std::vector<uint32_t> codes;
    Tnx_FormFieldValue number = {};
    Tnx_MultipartFormFieldValue part = {};
    for (int i = 0; i < NAMES; ++i) {
        const std::string name = "name-" + std::to_string(i);
        codes.push_back(OVX_Tnx_SetHeaderValue(records.headers.get(), name.c_str(), "a"));
        codes.push_back(OVX_Tnx_SetHeaderValue(records.headers.get(), name.c_str(), "b"));
        codes.push_back(OVX_Tnx_SetRequestCookieValue(records.cookies.get(), name.c_str(), "a"));
        codes.push_back(OVX_Tnx_SetRequestCookieValue(records.cookies.get(), name.c_str(), "b"));
        number.value.int32Value = part.value.plainValue.value.int32Value = i;
        codes.push_back(OVX_Tnx_SetFormValue(records.form.get(), "n", &number));
        codes.push_back(OVX_Tnx_SetMultipartFormValue(records.multipart.get(), "n", &part));
    }
    return codes;
}

int Length(const auto *node)
{
    int length = 0;
    for (; node != nullptr; node = node->next) {
        ++length;
    }
    return length;
}

void ExpectComplete(const Records &records)
{
    for (int i = 0; i < NAMES; ++i) {
        const std::string name = "name-" + std::to_string(i);
        ASSERT_EQ(Length(OVX_Tnx_GetHeaderValue(records.headers.get(), name.c_str())), 2);
        ASSERT_STREQ(OVX_Tnx_GetRequestCookieValue(records.cookies.get(), name.c_str()), "b");
    }
    EXPECT_EQ(Length(OVX_Tnx_GetFormValue(records.form.get(), "n")), NAMES);
    EXPECT_EQ(Length(OVX_Tnx_GetMultipartFormValue(records.multipart.get(), "n")), NAMES);
    EXPECT_EQ(Length(HeaderEntryPtr(OVX_Tnx_GetHeaderEntries(records.headers.get())).get()), NAMES);
    EXPECT_EQ(Length(HeaderEntryPtr(OVX_Tnx_GetRequestCookieEntries(records.cookies.get())).get()),
              NAMES);
}

class MemoryTest : public testing::TestWithParam<Kind>
{
};

TEST_P(MemoryTest, SettersReportItAndTheRecordsWorkOn)
{
    const long before = LiveBlocks();
    bool happened = true;
    for (int n = 1; happened; n += 1 + n / 50) {
        Records records;
        {
            const Failure failure(n, GetParam());
            const std::vector<uint32_t> codes = Fill(records);
            happened = failure.Happened();
            for (const uint32_t code : codes) {
                ASSERT_TRUE(code == TNX_OK || code == TNX_ERR_OUT_OF_MEMORY) << "n " << n;
            }
        }
        for (const uint32_t code : Fill(records)) {
            ASSERT_EQ(code, uint32_t{TNX_OK}) << "n " << n;
        }
        ExpectComplete(records);
    }
    EXPECT_EQ(LiveBlocks(), before);
}

TEST_P(MemoryTest, CreatorsReturnNull)
{
    const long before = LiveBlocks();
    const auto create = [](int n) {
        const Failure failure(n, GetParam());
        const Records records;
        const int made = (records.headers != nullptr) + (records.cookies != nullptr) +
                         (records.form != nullptr) + (records.multipart != nullptr) +
                         (records.request != nullptr);
        EXPECT_EQ(made == 5, !failure.Happened()) << "n " << n;
        return failure.Happened();
    };
    int n = 1;
    while (create(n)) {
        ++n;
    }
    EXPECT_EQ(n, 4 * 2 + 3 + 1);
    EXPECT_EQ(LiveBlocks(), before);
}

TEST_P(MemoryTest, ListsAreWholeOrNoneButCookiesKeepAPart)
{
    const Records records;
    Fill(records);
    const long before = LiveBlocks();
    for (int n = 1; n <= NAMES + 2; ++n) {
        const bool enough = n == NAMES + 2;
        const auto list = [n](const auto &get) {
            const Failure failure(n, GetParam());
            const HeaderEntryPtr entries(get());
            return Length(entries.get());
        };
        // The first block is the iterator.
        EXPECT_EQ(list([&] { return OVX_Tnx_GetHeaderEntries(records.headers.get()); }),
                  enough ? NAMES : 0);
        EXPECT_EQ(list([&] { return OVX_Tnx_GetRequestCookieEntries(records.cookies.get()); }),
                  n == 1 ? 0 : n - 2);
        ASSERT_EQ(LiveBlocks(), before) << "n " << n;
    }
}

TEST_P(MemoryTest, AFailedReplaceChangesNothing)
{
    const long before = LiveBlocks();
    const auto replace = [](size_t room, const char *name, int n) {
        const HeadersPtr headers(CreateHeaders(room));
        OVX_Tnx_SetHeaderValue(headers.get(), "field", "old");
        OVX_Tnx_SetHeaderValue(headers.get(), "Field", "old");
        const Failure failure(n, GetParam());
        const uint32_t code = OVX_Tnx_ReplaceHeaderValue(headers.get(), name, "new");
        const bool failed = failure.Happened();
        EXPECT_EQ(code, failed ? uint32_t{TNX_ERR_OUT_OF_MEMORY} : uint32_t{TNX_OK});
        EXPECT_STREQ(OVX_Tnx_FindHeader(headers.get(), "field"), failed ? "old" : "new");
        EXPECT_EQ(OVX_Tnx_GetHeaderValue(headers.get(), "Field") != nullptr, failed);
        return failed;
    };
    const struct {
        size_t room; // a response's headers have some
        const char *name;
        int blocks;
    } rows[] = {
        {0, "field", 1},
        {0, "FIELD", 2},
        {8 * RoomForHeader(5, 3), "FIELD", 0},
    };
    for (const auto &row : rows) {
        int n = 1;
        while (replace(row.room, row.name, n)) {
            ++n;
        }
        EXPECT_EQ(n, row.blocks + 1) << row.name;
    }
    EXPECT_EQ(LiveBlocks(), before);
}

INSTANTIATE_TEST_SUITE_P(Kinds, MemoryTest, testing::Values(Kind::TRANSIENT, Kind::PERSISTENT));

TEST(MemoryLogTest, EachFailureIsLoggedAsPromised)
{
    const MapPtr map(OVX_Tnx_CreateMap());
    OVX_Tnx_PutMapEntry(map.get(), "a", nullptr);
    const MapPtr fullMap(OVX_Tnx_CreateMap());
    for (char key[] = "a"; fullMap->size < 16; ++key[0]) {
        OVX_Tnx_PutMapEntry(fullMap.get(), key, nullptr);
    }
    const HeadersPtr headers(OVX_Tnx_CreateHeaders());
    const auto put = [](const MapPtr &to, const char *key) {
        return [&to, key] { OVX_Tnx_PutMapEntry(to.get(), key, nullptr); };
    };
    const auto setHeader = [&headers] { OVX_Tnx_SetHeaderValue(headers.get(), "n", "v"); };
    const struct {
        const char *what;
        std::function<void()> call;
        int n;
        std::vector<std::string> lines;
    } rows[] = {
        {"map", [] { OVX_Tnx_CreateMap(); }, 1, {" failed to alloc memory for map"}},
        {"entry of an empty bucket", put(map, "b"), 1, {" failed to alloc map entry"}},
        {"entry of a used bucket", put(map, "q"), 1, {}},
        {"growth", put(fullMap, "a"), 1, {" failed to insert map: no memory for resize"}},
        {"iterator",
         [&map] { OVX_Tnx_CreateMapIterator(map.get()); },
         1,
         {" failed to alloc memory for map iterator"}},
        {"headers", [] { OVX_Tnx_CreateHeaders(); }, 1, {" failed to alloc for headers"}},
        {"map of headers",
         [] { OVX_Tnx_CreateHeaders(); },
         2,
         {" failed to alloc memory for map", " failed to alloc memory for headerMap"}},
        {"header value", setHeader, 1, {" failed to alloc memory for header value"}},
        {"entry of a header", setHeader, 2, {" failed to alloc map entry"}},
        {"cookies",
         [] { OVX_Tnx_CreateRequestCookies(); },
         1,
         {" failed to alloc memory for cookies"}},
        {"map of cookies",
         [] { OVX_Tnx_CreateRequestCookies(); },
         2,
         {" failed to alloc memory for map", " failed to alloc memory for cookiesMap"}},
        {"form", [] { OVX_Tnx_CreateForm(); }, 1, {" failed to alloc memory for form"}},
        {"map of a form",
         [] { OVX_Tnx_CreateForm(); },
         2,
         {" failed to alloc memory for map", " failed to createMap for Tnx_Form"}},
        {"multipart form",
         [] { OVX_Tnx_CreateMultipartForm(); },
         1,
         {" failed to alloc memory for multipartForm"}},
        {"map of a multipart form",
         [] { OVX_Tnx_CreateMultipartForm(); },
         2,
         {" failed to alloc memory for map", " failed to createMap for Tnx_MultipartForm"}},
        {"request", [] { OVX_Tnx_CreateRequest("u"); }, 1, {" failed to alloc memory for request"}},
        {"callback object", [] { OVX_Tnx_CreateRequest("u"); }, 2, {}},
        {"url", [] { OVX_Tnx_CreateRequest("u"); }, 3, {}},
    };
    for (const auto &row : rows) {
        LogCapture log;
        {
            const Failure failure(row.n, Kind::TRANSIENT);
            row.call();
            EXPECT_TRUE(failure.Happened()) << row.what;
        }
        std::vector<std::string> texts;
        for (const auto &line : log.Take()) {
            EXPECT_EQ(line.level, LOG_ERROR) << row.what;
            texts.push_back(line.text);
        }
        EXPECT_EQ(texts, row.lines) << row.what;
    }
}

// What is in the block and what is not take the same calls, and go in any order.
TEST(MemoryHeadersTest, TwoBlocksHoldWhatTheyWereMadeFor)
{
    const long before = LiveBlocks();
    HeadersPtr headers(CreateHeaders(20 * RoomForHeader(7, 5)));
    const auto set = [&headers](int from, int to) {
        for (int i = from; i < to; ++i) {
            OVX_Tnx_SetHeaderValue(headers.get(), ("name-" + std::to_string(i)).c_str(), "value");
        }
    };
    set(0, 16);
    EXPECT_EQ(LiveBlocks(), before + 2);
    OVX_Tnx_SetHeaderValue(headers.get(), "name-1", "another");
    set(0, NAMES);
    EXPECT_GT(headers->fields->capacity, 16U);
    const CPtr<Tnx_HeaderValue> orphan(OVX_Tnx_GetHeaderValue(headers.get(), "name-149"));
    for (const char *name : {"name-0", "name-149"}) {
        OVX_Tnx_DeleteMapEntry(headers->fields, name);
        EXPECT_EQ(OVX_Tnx_GetHeaderValue(headers.get(), name), nullptr);
    }
    set(0, 1);
    EXPECT_STREQ(OVX_Tnx_GetHeaderValue(headers.get(), "name-0")->value, "value");
    EXPECT_STREQ(OVX_Tnx_GetHeaderValue(headers.get(), "name-1")->next->value, "another");
    headers.reset();
    EXPECT_EQ(LiveBlocks(), before + 1) << "deleting a name does not free its values";
}

// A cookie whose new value was lost has none, rather than the old one that was freed.
TEST(MemoryCookieTest, AFailedSetLeavesNoValue)
{
    const RequestCookiesPtr cookies(OVX_Tnx_CreateRequestCookies());
    OVX_Tnx_SetRequestCookieValue(cookies.get(), "n", "old");
    {
        const Failure failure(1, Kind::TRANSIENT);
        EXPECT_EQ(OVX_Tnx_SetRequestCookieValue(cookies.get(), "n", "new"),
                  uint32_t{TNX_ERR_OUT_OF_MEMORY});
    }
    EXPECT_EQ(OVX_Tnx_GetRequestCookieValue(cookies.get(), "n"), nullptr);
    EXPECT_EQ(OVX_Tnx_SetRequestCookieValue(cookies.get(), "n", "new"), uint32_t{TNX_OK});
    EXPECT_STREQ(OVX_Tnx_GetRequestCookieValue(cookies.get(), "n"), "new");
}

} // namespace

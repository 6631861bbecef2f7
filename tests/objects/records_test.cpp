// Headers, cookies and forms: what is kept, what is refused, and in which order it comes back.
#include "common/c_ptr.h"
#include "tnx_c_ext/header_fields.h"
#include "tnx_c_ext/request_target.h"
#include "tnx_platform/controls.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

namespace
{

using namespace OHOS::Pelloria::TnxC;
using OHOS::Pelloria::Platform::LogCapture;
using OHOS::Pelloria::Platform::LogLine;

std::vector<std::string> Values(const Tnx_Headers *headers, const char *name)
{
    std::vector<std::string> values;
    for (auto *value = OVX_Tnx_GetHeaderValue(headers, name); value != nullptr;
         value = value->next) {
        values.emplace_back(value->value);
    }
    return values;
}

TEST(HeadersTest, KeepsEachValueOnceInOrderUnderItsExactName)
{
    const HeadersPtr headers(OVX_Tnx_CreateHeaders());
    EXPECT_EQ(OVX_Tnx_GetHeaderEntries(headers.get()), nullptr);
    for (const char *value : {"a", "b", "a", "A"}) {
        EXPECT_EQ(OVX_Tnx_SetHeaderValue(headers.get(), "name", value), uint32_t{TNX_OK});
    }
    OVX_Tnx_SetHeaderValue(headers.get(), "NAME", "c");
    EXPECT_EQ(Values(headers.get(), "name"), (std::vector<std::string>{"a", "b", "A"}));
    EXPECT_EQ(Values(headers.get(), "NAME"), (std::vector<std::string>{"c"}));
    EXPECT_EQ(OVX_Tnx_GetHeaderValue(headers.get(), "Name"), nullptr);

    const HeaderEntryPtr entries(OVX_Tnx_GetHeaderEntries(headers.get()));
    ASSERT_NE(entries, nullptr);
    ASSERT_NE(entries->next, nullptr);
    EXPECT_EQ(entries->next->next, nullptr);
    for (const Tnx_HeaderEntry *entry = entries.get(); entry != nullptr; entry = entry->next) {
        EXPECT_EQ(entry->value, OVX_Tnx_GetHeaderValue(headers.get(), entry->key));
    }
}

// In small headers and in a map that has grown, where spellings lie in buckets of their own.
TEST(HeadersTest, AFieldIsOneWhateverTheCaseOfItsName)
{
    for (const int others : {0, 100}) {
        const HeadersPtr owned(OVX_Tnx_CreateHeaders());
        Tnx_Headers *headers = owned.get();
        for (int i = 0; i < others; ++i) {
            OVX_Tnx_SetHeaderValue(headers, ("Other-" + std::to_string(i)).c_str(), "o");
        }
        const char *names[] = {"X-Tag", "x-tag", "X-TAG", "x-tag2", "x-ta", "x\u00c4", "x\u00e4"};
        for (const char *name : names) {
            OVX_Tnx_SetHeaderValue(headers, name, name);
            OVX_Tnx_SetHeaderValue(headers, name, "second");
        }
        for (const char *name : names) {
            EXPECT_STREQ(OVX_Tnx_FindHeader(headers, name), name);
        }
        EXPECT_STREQ(OVX_Tnx_FindHeader(headers, "X-TA"), "x-ta");
        // What the headers have themselves may be given to them.
        const char *own = OVX_Tnx_FindHeader(headers, "x-tag");
        EXPECT_EQ(OVX_Tnx_ReplaceHeaderValue(headers, own, own), uint32_t{TNX_OK});
        EXPECT_EQ(OVX_Tnx_ReplaceHeaderValue(headers, "X-tag", "new"), uint32_t{TNX_OK});
        EXPECT_EQ(Values(headers, "X-tag"), std::vector<std::string>{"new"});
        const HeaderEntryPtr entries(OVX_Tnx_GetHeaderEntries(headers));
        int left = 0;
        for (const Tnx_HeaderEntry *entry = entries.get(); entry != nullptr; entry = entry->next) {
            EXPECT_EQ(OVX_Tnx_RemoveHeader(headers, entry->key), uint32_t{TNX_OK});
            ++left;
        }
        EXPECT_EQ(left, others + 5);
        EXPECT_EQ(OVX_Tnx_FindHeader(headers, "x-tag"), nullptr);
        EXPECT_EQ(headers->fields->size, 0U);
    }
}

TEST(HeadersTest, AFieldThatMustNotBeSentReplacesNone)
{
    const HeadersPtr headers(OVX_Tnx_CreateHeaders());
    OVX_Tnx_SetHeaderValue(headers.get(), "name", "value");
    const char *fields[][2] = {{"", "v"},        {"na me", "v"},  {"name:", "v"},
                               {"n\u00e4", "v"}, {"name", "v\r"}, {"name", "a\nb"}};
    for (const auto &[name, value] : fields) {
        EXPECT_EQ(OVX_Tnx_ReplaceHeaderValue(headers.get(), name, value),
                  uint32_t{TNX_ERR_PARAMETER})
            << name << ": " << value;
    }
    EXPECT_EQ(HeaderEntryPtr(OVX_Tnx_GetHeaderEntries(headers.get()))->next, nullptr);
    EXPECT_STREQ(OVX_Tnx_FindHeader(headers.get(), "NAME"), "value");
}

TEST(CookiesTest, ReplacesTheValueOfAName)
{
    const RequestCookiesPtr cookies(OVX_Tnx_CreateRequestCookies());
    EXPECT_EQ(OVX_Tnx_GetRequestCookieEntries(cookies.get()), nullptr);
    OVX_Tnx_SetRequestCookieValue(cookies.get(), "name", "a");
    OVX_Tnx_SetRequestCookieValue(cookies.get(), "name", "b");
    EXPECT_STREQ(OVX_Tnx_GetRequestCookieValue(cookies.get(), "name"), "b");
    EXPECT_EQ(OVX_Tnx_GetRequestCookieValue(cookies.get(), "other"), nullptr);

    Tnx_HeaderEntry *entries = OVX_Tnx_GetRequestCookieEntries(cookies.get());
    ASSERT_NE(entries, nullptr);
    EXPECT_STREQ(entries->key, "name");
    EXPECT_STREQ(static_cast<const char *>(entries->value), "b");
    EXPECT_EQ(entries->next, nullptr);
    OVX_Tnx_DestroyRequestCookieEntries(entries);
}

TEST(RecordsTest, RefuseNullEverywhere)
{
    const HeadersPtr headers(OVX_Tnx_CreateHeaders());
    const RequestCookiesPtr cookies(OVX_Tnx_CreateRequestCookies());
    const FormPtr form(OVX_Tnx_CreateForm());
    const MultipartFormPtr multipart(OVX_Tnx_CreateMultipartForm());
    const RequestPtr request(OVX_Tnx_CreateRequest("u"));
    const Tnx_FormFieldValue value = {};
    const Tnx_MultipartFormFieldValue part = {};
    Tnx_Headers noHeaders = {};
    Tnx_RequestCookies noCookies = {};
    Tnx_Form noForm = {};
    Tnx_MultipartForm noMultipart = {};
    const uint32_t codes[] = {
        OVX_Tnx_SetHeaderValue(nullptr, "n", "v"),
        OVX_Tnx_SetHeaderValue(&noHeaders, "n", "v"),
        OVX_Tnx_SetHeaderValue(headers.get(), nullptr, "v"),
        OVX_Tnx_SetHeaderValue(headers.get(), "n", nullptr),
        OVX_Tnx_ReplaceHeaderValue(nullptr, "n", "v"),
        OVX_Tnx_ReplaceHeaderValue(&noHeaders, "n", "v"),
        OVX_Tnx_ReplaceHeaderValue(headers.get(), nullptr, "v"),
        OVX_Tnx_ReplaceHeaderValue(headers.get(), "n", nullptr),
        OVX_Tnx_RemoveHeader(nullptr, "n"),
        OVX_Tnx_SetRequestTarget(nullptr, "*"),
        OVX_Tnx_SetRequestTarget(request.get(), ""),
        OVX_Tnx_SetRequestTarget(request.get(), "/a b"),
        OVX_Tnx_SetRequestTarget(request.get(), "/\n"),
        OVX_Tnx_SetRequestTarget(request.get(), "/\xc3\xa4"),
        OVX_Tnx_OmitRequestHeader(nullptr, "n"),
        OVX_Tnx_OmitRequestHeader(request.get(), nullptr),
        OVX_Tnx_OmitRequestHeader(request.get(), "n:"),
        OVX_Tnx_OmitRequestHeader(request.get(), "Content-length"),
        OVX_Tnx_OmitRequestHeader(request.get(), "transfer-encoding"),
        OVX_Tnx_RemoveHeader(&noHeaders, "n"),
        OVX_Tnx_RemoveHeader(headers.get(), nullptr),
        OVX_Tnx_SetRequestCookieValue(nullptr, "n", "v"),
        OVX_Tnx_SetRequestCookieValue(&noCookies, "n", "v"),
        OVX_Tnx_SetRequestCookieValue(cookies.get(), nullptr, "v"),
        OVX_Tnx_SetRequestCookieValue(cookies.get(), "n", nullptr),
        OVX_Tnx_SetFormValue(nullptr, "n", &value),
        OVX_Tnx_SetFormValue(&noForm, "n", &value),
        OVX_Tnx_SetFormValue(form.get(), nullptr, &value),
        OVX_Tnx_SetFormValue(form.get(), "n", nullptr),
        OVX_Tnx_SetMultipartFormValue(nullptr, "n", &part),
        OVX_Tnx_SetMultipartFormValue(&noMultipart, "n", &part),
        OVX_Tnx_SetMultipartFormValue(multipart.get(), nullptr, &part),
        OVX_Tnx_SetMultipartFormValue(multipart.get(), "n", nullptr),
    };
    for (size_t i = 0; i < std::size(codes); ++i) {
        EXPECT_EQ(codes[i], uint32_t{TNX_ERR_PARAMETER}) << "row " << i;
    }
    EXPECT_EQ(OVX_Tnx_GetHeaderValue(headers.get(), nullptr), nullptr);
    EXPECT_EQ(OVX_Tnx_GetHeaderValue(nullptr, "n"), nullptr);
    EXPECT_EQ(OVX_Tnx_GetHeaderValue(&noHeaders, "n"), nullptr);
    EXPECT_EQ(OVX_Tnx_FindHeader(headers.get(), nullptr), nullptr);
    EXPECT_EQ(OVX_Tnx_FindHeader(nullptr, "n"), nullptr);
    EXPECT_EQ(OVX_Tnx_FindHeader(&noHeaders, "n"), nullptr);
    EXPECT_EQ(OVX_Tnx_GetHeaderEntries(nullptr), nullptr);
    EXPECT_EQ(OVX_Tnx_GetHeaderEntries(&noHeaders), nullptr);
    EXPECT_EQ(OVX_Tnx_GetRequestCookieEntries(nullptr), nullptr);
    EXPECT_EQ(OVX_Tnx_GetRequestCookieEntries(&noCookies), nullptr);
    OVX_Tnx_DestroyHeaders(nullptr);
    OVX_Tnx_DestroyHeaderEntries(nullptr);
    OVX_Tnx_DestroyRequestCookies(nullptr);
    OVX_Tnx_DestroyForm(nullptr);
    OVX_Tnx_DestroyMultipartForm(nullptr);
}

// One body serves records of five types: the names must stay one function.
TEST(RecordsTest, SharedBodiesHaveOneAddress)
{
    const auto address = [](auto *function) { return reinterpret_cast<void (*)()>(function); };
    EXPECT_EQ(address(OVX_Tnx_GetHeaderValue), address(OVX_Tnx_GetFormValue));
    EXPECT_EQ(address(OVX_Tnx_GetHeaderValue), address(OVX_Tnx_GetMultipartFormValue));
    EXPECT_EQ(address(OVX_Tnx_GetHeaderValue), address(OVX_Tnx_GetRequestCookieValue));
    EXPECT_EQ(address(OVX_Tnx_GetHeaderValue), address(OVX_Tnx_GetResponseCookieAttrValue));
    EXPECT_EQ(address(OVX_Tnx_GetHeaderEntries), address(OVX_Tnx_GetResponseCookieAttrEntries));
    EXPECT_EQ(address(OVX_Tnx_DestroyHeaderEntries), address(OVX_Tnx_DestroyRequestCookieEntries));
    EXPECT_EQ(address(OVX_Tnx_DestroyHeaderEntries),
              address(OVX_Tnx_DestroyResponseCookieAttrEntries));
}

Tnx_FormFieldValue Int32(int32_t number)
{
    Tnx_FormFieldValue value = {};
    value.type = TNX_FORM_FIELD_VALUE_INT32;
    value.value.int32Value = number;
    return value;
}

Tnx_FormFieldValue Int64(int64_t number)
{
    Tnx_FormFieldValue value = {};
    value.type = TNX_FORM_FIELD_VALUE_INT64;
    value.value.int64Value = number;
    return value;
}

Tnx_FormFieldValue Bool(bool truth)
{
    Tnx_FormFieldValue value = {};
    value.type = TNX_FORM_FIELD_VALUE_BOOL;
    value.value.boolValue = truth;
    return value;
}

Tnx_FormFieldValue Double(double number)
{
    Tnx_FormFieldValue value = {};
    value.type = TNX_FORM_FIELD_VALUE_DOUBLE;
    value.value.doubleValue = number;
    return value;
}

Tnx_FormFieldValue Text(const char *data, uint32_t length)
{
    Tnx_FormFieldValue value = {};
    value.type = TNX_FORM_FIELD_VALUE_STRING;
    value.value.stringValue.data = data;
    value.value.stringValue.length = length;
    return value;
}

Tnx_FormFieldValue Unknown()
{
    Tnx_FormFieldValue value = {};
    value.type = 5;
    return value;
}

// Two values in turn under one name, and how many of them are kept. Multipart forms compare their
// plain values alike.
TEST(FormTest, TellsEqualValuesFromDifferentOnes)
{
    const char first[] = "text";
    const char second[] = "text";
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const struct {
        const char *what;
        Tnx_FormFieldValue a;
        Tnx_FormFieldValue b;
        size_t kept;
    } rows[] = {
        {"same int32", Int32(1), Int32(1), 1},
        {"other int32", Int32(1), Int32(2), 2},
        {"same number, other type", Int32(1), Int64(1), 2},
        {"int64 that differ in the high half", Int64(1), Int64((int64_t{1} << 32) + 1), 2},
        {"same int64", Int64(-1), Int64(-1), 1},
        {"same bool", Bool(true), Bool(true), 1},
        {"other bool", Bool(true), Bool(false), 2},
        {"same double", Double(0.0), Double(-0.0), 1},
        {"NaN equals nothing", Double(nan), Double(nan), 2},
        {"same string", Text(first, 4), Text(first, 4), 1},
        {"other length", Text(first, 4), Text(first, 3), 2},
        {"equal bytes elsewhere", Text(first, 4), Text(second, 4), 2},
        {"unknown type", Unknown(), Unknown(), 2},
    };
    for (const auto &row : rows) {
        const FormPtr form(OVX_Tnx_CreateForm());
        const MultipartFormPtr multipart(OVX_Tnx_CreateMultipartForm());
        for (const Tnx_FormFieldValue &value : {row.a, row.b}) {
            EXPECT_EQ(OVX_Tnx_SetFormValue(form.get(), "n", &value), uint32_t{TNX_OK});
            Tnx_MultipartFormFieldValue part = {};
            part.value.plainValue = value;
            OVX_Tnx_SetMultipartFormValue(multipart.get(), "n", &part);
        }
        const Tnx_FormFieldValue *kept = OVX_Tnx_GetFormValue(form.get(), "n");
        EXPECT_EQ(kept->type, row.a.type) << row.what;
        EXPECT_EQ(kept->next != nullptr, row.kept == 2) << row.what;
        const auto *part = OVX_Tnx_GetMultipartFormValue(multipart.get(), "n");
        EXPECT_EQ(part->value.plainValue.type, row.a.type) << row.what;
        EXPECT_EQ(part->next != nullptr, row.kept == 2) << row.what;
    }
}

TEST(FormTest, IgnoresTheNextOfItsInputAndKeepsTheOrder)
{
    const FormPtr form(OVX_Tnx_CreateForm());
    Tnx_FormFieldValue other = Int32(99);
    for (const int32_t number : {3, 1, 2, 1}) {
        Tnx_FormFieldValue value = Int32(number);
        value.next = &other;
        OVX_Tnx_SetFormValue(form.get(), "n", &value);
    }
    std::vector<int32_t> numbers;
    for (auto *value = OVX_Tnx_GetFormValue(form.get(), "n"); value != nullptr;
         value = value->next) {
        numbers.push_back(value->value.int32Value);
    }
    EXPECT_EQ(numbers, (std::vector<int32_t>{3, 1, 2}));
}

Tnx_MultipartFormFieldValue FileFromPath(const char *path)
{
    Tnx_MultipartFormFieldValue value = {};
    value.type = TNX_MULTIPART_VALUE_FILE;
    Tnx_FormFieldFileValue &file = value.value.fileValue;
    std::strcpy(file.contentType, "text/plain");
    std::strcpy(file.fileName, "name.txt");
    file.contentOrPath.type = TNX_FILE_SOURCE_PATH;
    std::strcpy(file.contentOrPath.value.path, path);
    return value;
}

int NoData(char *, unsigned int)
{
    return 0;
}
int NoDataEither(char *, unsigned int)
{
    return -1;
}

TEST(MultipartFormTest, TellsEqualFilesFromDifferentOnes)
{
    using Change = void (*)(Tnx_FormFieldFileValue &);
    const Change callback = [](auto &file) {
        file.contentOrPath.type = TNX_FILE_SOURCE_CALLBACK;
        file.contentOrPath.value.getDataCallback = NoData;
    };
    const Change content = [](auto &file) {
        file.contentOrPath.type = TNX_FILE_SOURCE_CONTENT;
        file.contentOrPath.value.content.data = "bytes";
        file.contentOrPath.value.content.length = 5;
    };
    const Change same = [](auto &) {};
    const struct {
        const char *what;
        Change both;
        Change second;
        bool equal;
    } rows[] = {
        {"same path", same, same, true},
        {"other path", same, [](auto &f) { f.contentOrPath.value.path[0] = 'x'; }, false},
        {"other content type", same, [](auto &f) { f.contentType[0] = 'x'; }, false},
        {"other file name", same, [](auto &f) { f.fileName[0] = 'x'; }, false},
        {"bytes behind the end", same, [](auto &f) { f.fileName[100] = 'x'; }, true},
        {"other source", same, callback, false},
        {"same callback", callback, same, true},
        {"other callback", callback,
         [](auto &f) { f.contentOrPath.value.getDataCallback = NoDataEither; }, false},
        {"same content", content, same, true},
        {"other content length", content, [](auto &f) { f.contentOrPath.value.content.length = 4; },
         false},
        {"unknown source", [](auto &f) { f.contentOrPath.type = 3; }, same, false},
    };
    for (const auto &row : rows) {
        const MultipartFormPtr form(OVX_Tnx_CreateMultipartForm());
        Tnx_MultipartFormFieldValue value = FileFromPath("/path");
        row.both(value.value.fileValue);
        OVX_Tnx_SetMultipartFormValue(form.get(), "n", &value);
        row.second(value.value.fileValue);
        OVX_Tnx_SetMultipartFormValue(form.get(), "n", &value);
        EXPECT_EQ(OVX_Tnx_GetMultipartFormValue(form.get(), "n")->next == nullptr, row.equal)
            << row.what;
    }
}

TEST(MultipartFormTest, StoresTextsThatDoNotFitEmptyAndSaysSo)
{
    const MultipartFormPtr form(OVX_Tnx_CreateMultipartForm());
    Tnx_MultipartFormFieldValue value = FileFromPath("/path");
    std::memset(value.value.fileValue.contentType, 'c', 63);
    LogCapture log;
    OVX_Tnx_SetMultipartFormValue(form.get(), "fits", &value);
    EXPECT_TRUE(log.Take().empty());
    const auto *kept = OVX_Tnx_GetMultipartFormValue(form.get(), "fits");
    EXPECT_EQ(kept->value.fileValue.contentType, std::string(63, 'c'));
    EXPECT_STREQ(kept->value.fileValue.fileName, "name.txt");
    EXPECT_STREQ(kept->value.fileValue.contentOrPath.value.path, "/path");

    std::memset(value.value.fileValue.contentType, 'c', 64);
    std::memset(value.value.fileValue.fileName, 'f', 128);
    std::memset(value.value.fileValue.contentOrPath.value.path, 'p', 128);
    EXPECT_EQ(OVX_Tnx_SetMultipartFormValue(form.get(), "n", &value), uint32_t{TNX_OK});
    EXPECT_EQ(log.Take(), (std::vector<LogLine>{
                              {LOG_ERROR, " failed to copy contentType of Tnx_FormFieldFileValue"},
                              {LOG_ERROR, " failed to copy fileName of Tnx_FormFieldFileValue"},
                              {LOG_ERROR, " faile to copy path of Tnx_ContentOrPathOrCallback"}}));
    kept = OVX_Tnx_GetMultipartFormValue(form.get(), "n");
    EXPECT_STREQ(kept->value.fileValue.contentType, "");
    EXPECT_STREQ(kept->value.fileValue.fileName, "");
    EXPECT_STREQ(kept->value.fileValue.contentOrPath.value.path, "");
}

TEST(MultipartFormTest, CopyLeavesNextAndTheRestOfUnknownTypesAlone)
{
    Tnx_MultipartFormFieldValue destination = FileFromPath("/kept");
    destination.next = &destination;
    Tnx_MultipartFormFieldValue source = FileFromPath("/other");
    source.type = 7;
    OVX_Tnx_CopyMultipartFormValue(&destination, &source);
    EXPECT_EQ(destination.type, 7U);
    EXPECT_EQ(destination.next, &destination);
    EXPECT_STREQ(destination.value.fileValue.contentOrPath.value.path, "/kept");
    OVX_Tnx_CopyMultipartFormValue(nullptr, &source);
    OVX_Tnx_CopyMultipartFormValue(&destination, nullptr);
}

} // namespace

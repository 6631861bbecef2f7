// Bodies of every kind, and which of their values are left out.
#include "common/c_ptr.h"
#include "translate/tnx_http_request_content.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

namespace
{

using namespace OHOS::Pelloria;
using namespace OHOS::Pelloria::TnxC;

using SharedText = std::shared_ptr<std::string>;

// Copies an int32 when the machine's bool byte is wanted as a number.
Tnx_FormFieldValue Number(uint32_t type, int64_t number)
{
    Tnx_FormFieldValue value = {};
    value.type = type;
    std::memcpy(&value.value, &number, sizeof(number));
    return value;
}

Tnx_FormFieldValue Text(const char *data, uint32_t length)
{
    Tnx_FormFieldValue value = {};
    value.type = TNX_FORM_FIELD_VALUE_STRING;
    value.value.stringValue = {data, length};
    return value;
}

TEST(ContentTest, StringsAreCountedNotTerminated)
{
    const struct {
        const char *data;
        uint32_t length;
        std::string expected;
    } cases[] = {{"ab\0de", 5, std::string("ab\0de", 5)},
                 {"abc", 2, "ab"},
                 {"abc", 0, ""},
                 {nullptr, 0, ""},
                 {nullptr, 5, ""}};
    for (const auto &[data, length, expected] : cases) {
        Tnx_RequestContent record = {TNX_CONTENT_STRING, {}};
        record.value.string = {data, length};
        EXPECT_EQ(*std::get<SharedText>(TnxToCppRequestContent(record)->Get()), expected);
    }
}

TEST(ContentTest, UnknownKindIsNoContent)
{
    EXPECT_EQ(TnxToCppRequestContent({4, {}}), nullptr);
    EXPECT_EQ(TnxToCppRequestContent({UINT32_MAX, {}}), nullptr);
}

TEST(FormValueTest, ByType)
{
    Tnx_FormFieldValue real = {};
    real.type = TNX_FORM_FIELD_VALUE_DOUBLE;
    real.value.doubleValue = 0.1;
    using Value = Tnx::FormFieldValue::Value;
    const struct {
        Tnx_FormFieldValue record;
        Value expected;
    } cases[] = {
        {Number(0, -5), int32_t{-5}},
        {Number(1, INT64_MIN), int64_t{INT64_MIN}},
        {Number(2, 0), false},
        {Number(2, 1), true},
        {Number(2, 2), true},
        {Text("a\0b", 3), std::string("a\0b", 3)},
        {Text(nullptr, 3), std::string()},
        {real, 0.1},
    };
    for (const auto &[record, expected] : cases) {
        Tnx::FormFieldValue value;
        EXPECT_EQ(TnxToCppFormFieldValue(&record, value), 0);
        EXPECT_EQ(value.Get(), expected);
    }
    Tnx::FormFieldValue untouched;
    untouched.SetInt32(1);
    const Tnx_FormFieldValue unknown = Number(5, 0);
    EXPECT_EQ(TnxToCppFormFieldValue(&unknown, untouched), -1);
    EXPECT_EQ(untouched.Get(), Value(int32_t{1}));
}

TEST(ContentTest, FormKeepsOrderAndFieldsWithoutValues)
{
    const FormPtr form(OVX_Tnx_CreateForm());
    for (const int64_t number : {3, 1, 2}) {
        const Tnx_FormFieldValue value = Number(0, number);
        OVX_Tnx_SetFormValue(form.get(), "n", &value);
        const Tnx_FormFieldValue unknown = Number(9, number);
        OVX_Tnx_SetFormValue(form.get(), "n", &unknown);
        OVX_Tnx_SetFormValue(form.get(), "hollow", &unknown);
    }
    Tnx_RequestContent record = {TNX_CONTENT_FORM, {}};
    record.value.form = form.get();
    const auto content = TnxToCppRequestContent(record);
    const Tnx::Form fields = *std::get<std::shared_ptr<Tnx::Form>>(content->Get());
    ASSERT_EQ(fields.size(), 2U);
    EXPECT_TRUE(fields.at("hollow").empty());
    std::vector<int32_t> numbers;
    for (const auto &value : fields.at("n")) {
        numbers.push_back(std::get<int32_t>(value.Get()));
    }
    EXPECT_EQ(numbers, (std::vector<int32_t>{3, 1, 2}));
}

TEST(ContentTest, FormsWithoutFieldsAreEmptyReferences)
{
    const FormPtr form(OVX_Tnx_CreateForm());
    const MultipartFormPtr multipart(OVX_Tnx_CreateMultipartForm());
    for (Tnx_Form *given : {form.get(), static_cast<Tnx_Form *>(nullptr)}) {
        Tnx_RequestContent record = {TNX_CONTENT_FORM, {}};
        record.value.form = given;
        const auto content = TnxToCppRequestContent(record);
        EXPECT_EQ(std::get<std::shared_ptr<Tnx::Form>>(content->Get()), nullptr);
    }
    for (Tnx_MultipartForm *given : {multipart.get(), static_cast<Tnx_MultipartForm *>(nullptr)}) {
        Tnx_RequestContent record = {TNX_CONTENT_MULTIPART_FORM, {}};
        record.value.multipartForm = given;
        const auto content = TnxToCppRequestContent(record);
        EXPECT_EQ(std::get<std::shared_ptr<Tnx::MultipartForm>>(content->Get()), nullptr);
    }
}

Tnx_MultipartFormFieldValue File(uint32_t source)
{
    Tnx_MultipartFormFieldValue value = {};
    value.type = TNX_MULTIPART_VALUE_FILE;
    value.value.fileValue = {"text/csv", "name.csv", {source, {}}};
    return value;
}

int FailToRead(char *, unsigned int)
{
    return -1;
}

TEST(ContentTest, MultipartValuesByKindAndSource)
{
    Tnx_MultipartFormFieldValue parts[] = {File(TNX_FILE_SOURCE_CONTENT),
                                           File(TNX_FILE_SOURCE_PATH),
                                           File(TNX_FILE_SOURCE_CALLBACK),
                                           File(7) /* left out */,
                                           {} /* plain */,
                                           {} /* plain, left out */,
                                           {2, {}, nullptr} /* left out */};
    parts[0].value.fileValue.contentOrPath.value.content = {"a\0b", 3};
    std::strcpy(parts[1].value.fileValue.contentOrPath.value.path, "/a/path");
    parts[2].value.fileValue.contentOrPath.value.getDataCallback = FailToRead;
    parts[4].value.plainValue = Text("plain", 5);
    parts[5].value.plainValue = Number(6, 0);
    const MultipartFormPtr form(OVX_Tnx_CreateMultipartForm());
    for (const Tnx_MultipartFormFieldValue &part : parts) {
        ASSERT_EQ(OVX_Tnx_SetMultipartFormValue(form.get(), "part", &part), 0U);
    }
    const Tnx_MultipartFormFieldValue unknown = File(7);
    OVX_Tnx_SetMultipartFormValue(form.get(), "hollow", &unknown);
    Tnx_RequestContent record = {TNX_CONTENT_MULTIPART_FORM, {}};
    record.value.multipartForm = form.get();
    const auto content = TnxToCppRequestContent(record);
    const auto fields = std::get<std::shared_ptr<Tnx::MultipartForm>>(content->Get())->fields;
    ASSERT_EQ(fields.size(), 2U);
    EXPECT_TRUE(fields.at("hollow").empty());
    const auto &values = fields.at("part");
    ASSERT_EQ(values.size(), 4U);
    const auto file = [&values](size_t i) { return std::get<1 + 1>(values[i].Get()); };
    EXPECT_EQ(file(0).contentType, "text/csv");
    EXPECT_EQ(file(0).fileName, "name.csv");
    EXPECT_EQ(*std::get<SharedText>(file(0).contentOrPath->Get()), std::string("a\0b", 3));
    using Path = Tnx::ContentOrPathOrGetDataCallback::Path;
    EXPECT_EQ(std::get<Path>(file(1).contentOrPath->Get()).name, "/a/path");
    EXPECT_EQ(std::get<Tnx::GetDataFunction>(file(2).contentOrPath->Get())(1), nullptr);
    EXPECT_EQ(std::get<std::string>(std::get<Tnx::FormFieldValue>(values[3].Get()).Get()), "plain");
}

unsigned int g_asked;
int g_answer;

int Read(char *buffer, unsigned int size)
{
    g_asked = size;
    std::memcpy(buffer, "a\0c", 3);
    return g_answer;
}

TEST(GetDataTest, CountsBecomeStrings)
{
    Tnx_RequestContent record = {TNX_CONTENT_GET_DATA, {}};
    record.value.getDataCallback = Read;
    const auto get = std::get<Tnx::GetDataFunction>(TnxToCppRequestContent(record)->Get());
    const struct {
        int answer;
        std::optional<std::string> expected;
    } cases[] = {{-1, {}}, {0, ""}, {2, std::string("a\0", 2)}, {3, std::string("a\0c", 3)}};
    for (const auto &[answer, expected] : cases) {
        g_answer = answer;
        const SharedText data = get(16);
        EXPECT_EQ(g_asked, 16U);
        ASSERT_EQ(data != nullptr, expected.has_value());
        if (data != nullptr) {
            EXPECT_EQ(*data, *expected);
        }
    }
    EXPECT_EQ(TnxMakeGetDataCallback(nullptr)(16), nullptr);
}

} // namespace

// Strings, forms, multipart forms and pulled bodies. A value of unknown type is left out; its field
// stays.
#include "translate/tnx_http_request_content.h"

#include "translate/map_walk.h"
#include "translate/text.h"

#include <new>
#include <string>
#include <utility>
#include <vector>

namespace OHOS::Pelloria::TnxC
{
namespace
{

std::shared_ptr<std::string> SharedBytes(const char *data, uint32_t length)
{
    return std::make_shared<std::string>(BytesOf(data, length));
}

std::shared_ptr<std::string> PullData(Tnx_GetDataCallback callback, size_t size)
{
    if (callback == nullptr) {
        return nullptr;
    }
    const CPtr<char> buffer(static_cast<char *>(std::malloc(size)));
    if (buffer == nullptr) {
        throw std::bad_alloc();
    }
    const int count = callback(buffer.get(), static_cast<unsigned int>(size));
    if (count < 0) {
        return nullptr;
    }
    return std::make_shared<std::string>(buffer.get(), static_cast<size_t>(count));
}

std::shared_ptr<std::string> ReadSource(const Tnx_BodySource &source, size_t size)
{
    auto piece = std::make_shared<std::string>();
    piece->resize(size);
    const int64_t count = source.read(source.usrCtx, piece->data(), size);
    if (count < 0 || static_cast<size_t>(count) > size) {
        return nullptr;
    }
    piece->resize(static_cast<size_t>(count));
    return piece;
}

// False for an unknown source.
bool TranslateSource(const Tnx_ContentOrPathOrCallback &source,
                     Tnx::ContentOrPathOrGetDataCallback &out)
{
    switch (source.type) {
    case TNX_FILE_SOURCE_CONTENT:
        out.SetFileContent(SharedBytes(source.value.content.data, source.value.content.length));
        return true;
    case TNX_FILE_SOURCE_PATH:
        out.SetPath(TextIn(source.value.path));
        return true;
    case TNX_FILE_SOURCE_CALLBACK:
        out.SetGetDataCallback(TnxMakeGetDataCallback(source.value.getDataCallback));
        return true;
    default:
        return false;
    }
}

// False for a value that is left out.
bool TranslateMultipartValue(const Tnx_MultipartFormFieldValue &value,
                             Tnx::MultipartFormFieldValue &out)
{
    if (value.type == TNX_MULTIPART_VALUE_PLAIN) {
        Tnx::FormFieldValue plain;
        if (TnxToCppFormFieldValue(&value.value.plainValue, plain) != 0) {
            return false;
        }
        out.SetFormFieldSimpleValue(plain);
        return true;
    }
    if (value.type != TNX_MULTIPART_VALUE_FILE) {
        return false;
    }
    const Tnx_FormFieldFileValue &file = value.value.fileValue;
    const auto source = std::make_shared<Tnx::ContentOrPathOrGetDataCallback>();
    if (!TranslateSource(file.contentOrPath, *source)) {
        return false;
    }
    out.SetFormFieldFileValue({TextIn(file.contentType), TextIn(file.fileName), source});
    return true;
}

bool TranslateFormValue(const Tnx_FormFieldValue &value, Tnx::FormFieldValue &out)
{
    return TnxToCppFormFieldValue(&value, out) == 0;
}

// Fills `fields` from a map of value lists. False when there is nothing to walk.
template <class CValue, class Fields, class Translate>
bool TranslateFields(Tnx_Map *map, Fields &fields, Translate translate)
{
    return WalkMap(map, [&](const Tnx_MapEntry &entry) {
        auto &values = fields[entry.key];
        const auto *value = static_cast<const CValue *>(entry.value);
        for (; value != nullptr; value = value->next) {
            typename Fields::mapped_type::value_type translated;
            if (translate(*value, translated)) {
                values.push_back(std::move(translated));
            }
        }
    });
}

std::shared_ptr<Tnx::Form> TranslateForm(const Tnx_Form *form)
{
    auto out = std::make_shared<Tnx::Form>();
    const bool any = form != nullptr &&
                     TranslateFields<Tnx_FormFieldValue>(form->fields, *out, TranslateFormValue);
    return any ? out : nullptr;
}

std::shared_ptr<Tnx::MultipartForm> TranslateMultipartForm(const Tnx_MultipartForm *form)
{
    auto out = std::make_shared<Tnx::MultipartForm>();
    const bool any = form != nullptr && TranslateFields<Tnx_MultipartFormFieldValue>(
                                            form->fields, out->fields, TranslateMultipartValue);
    return any ? out : nullptr;
}

} // namespace

Tnx::GetDataFunction TnxMakeGetDataCallback(Tnx_GetDataCallback callback)
{
    return [callback](size_t size) { return PullData(callback, size); };
}

std::shared_ptr<Tnx::RequestContent> TnxToCppRequestBody(const RequestBody &body)
{
    auto out = std::make_shared<Tnx::RequestContent>();
    if (!body.Path().empty()) {
        out->SetFile(body.Path());
        return out;
    }
    const Tnx_BodySource &source = body.Source();
    Tnx::BodySource made;
    made.read = [source](size_t size) { return ReadSource(source, size); };
    if (source.rewind != nullptr) {
        made.rewind = [source] { return source.rewind(source.usrCtx); };
    }
    if (source.length != 0) {
        made.length = static_cast<uint64_t>(source.length);
    }
    out->SetSource(std::move(made));
    return out;
}

int TnxToCppFormFieldValue(const Tnx_FormFieldValue *value, Tnx::FormFieldValue &out)
{
    switch (value->type) {
    case TNX_FORM_FIELD_VALUE_INT32:
        out.SetInt32(value->value.int32Value);
        return 0;
    case TNX_FORM_FIELD_VALUE_INT64:
        out.SetInt64(value->value.int64Value);
        return 0;
    case TNX_FORM_FIELD_VALUE_BOOL: {
        // The byte may hold any number where the record was filled from elsewhere.
        unsigned char byte = 0;
        std::memcpy(&byte, &value->value.boolValue, sizeof(byte));
        out.SetBool(byte != 0);
        return 0;
    }
    case TNX_FORM_FIELD_VALUE_STRING:
        out.SetString(BytesOf(value->value.stringValue.data, value->value.stringValue.length));
        return 0;
    case TNX_FORM_FIELD_VALUE_DOUBLE:
        out.SetDouble(value->value.doubleValue);
        return 0;
    default:
        return -1;
    }
}

std::shared_ptr<Tnx::RequestContent> TnxToCppRequestContent(const Tnx_RequestContent &content)
{
    auto out = std::make_shared<Tnx::RequestContent>();
    switch (content.type) {
    case TNX_CONTENT_STRING:
        out->SetString(SharedBytes(content.value.string.data, content.value.string.length));
        break;
    case TNX_CONTENT_FORM:
        out->SetForm(TranslateForm(content.value.form));
        break;
    case TNX_CONTENT_MULTIPART_FORM:
        out->SetMultipartForm(TranslateMultipartForm(content.value.multipartForm));
        break;
    case TNX_CONTENT_GET_DATA:
        out->SetGetDataCallback(TnxMakeGetDataCallback(content.value.getDataCallback));
        break;
    default:
        return nullptr;
    }
    return out;
}

} // namespace OHOS::Pelloria::TnxC

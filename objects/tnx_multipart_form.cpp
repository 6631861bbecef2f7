// Multipart forms: under each field name the list of its plain values and files.
#include "objects/map_record.h"
#include "objects/tnx_form_value.h"
#include "objects/value_lists.h"
#include "tnx_platform/bounded.h"

#include <cstring>
#include <utility>

namespace OHOS::Pelloria::TnxC
{
namespace
{

// Texts in arrays that a caller filled may lack their terminator.
template <size_t N> bool IsSameText(const char (&a)[N], const char (&b)[N])
{
    return std::strncmp(a, b, N) == 0;
}

bool IsSameSource(const Tnx_ContentOrPathOrCallback &a, const Tnx_ContentOrPathOrCallback &b)
{
    if (a.type != b.type) {
        return false;
    }
    switch (a.type) {
    case TNX_FILE_SOURCE_CONTENT:
        return a.value.content.data == b.value.content.data &&
               a.value.content.length == b.value.content.length;
    case TNX_FILE_SOURCE_PATH:
        return IsSameText(a.value.path, b.value.path);
    case TNX_FILE_SOURCE_CALLBACK:
        return a.value.getDataCallback == b.value.getDataCallback;
    default:
        return false;
    }
}

bool IsSameMultipartValue(const Tnx_MultipartFormFieldValue &a,
                          const Tnx_MultipartFormFieldValue &b)
{
    if (a.type != b.type) {
        return false;
    }
    if (a.type == TNX_MULTIPART_VALUE_PLAIN) {
        return IsSameFormValue(a.value.plainValue, b.value.plainValue);
    }
    const Tnx_FormFieldFileValue &file = a.value.fileValue;
    const Tnx_FormFieldFileValue &other = b.value.fileValue;
    return a.type == TNX_MULTIPART_VALUE_FILE && IsSameText(file.contentType, other.contentType) &&
           IsSameText(file.fileName, other.fileName) &&
           IsSameSource(file.contentOrPath, other.contentOrPath);
}

void CopySource(Tnx_ContentOrPathOrCallback &destination, const Tnx_ContentOrPathOrCallback &source)
{
    destination.type = source.type;
    if (source.type == TNX_FILE_SOURCE_CALLBACK) {
        destination.value.getDataCallback = source.value.getDataCallback;
    } else if (source.type == TNX_FILE_SOURCE_CONTENT) {
        destination.value.content = source.value.content;
    } else if (source.type == TNX_FILE_SOURCE_PATH &&
               strcpy_s(destination.value.path, sizeof(destination.value.path),
                        source.value.path) != 0) {
        TNX_LOGE("faile to copy path of Tnx_ContentOrPathOrCallback");
    }
}

void CopyFile(Tnx_FormFieldFileValue &destination, const Tnx_FormFieldFileValue &source)
{
    if (strcpy_s(destination.contentType, sizeof(destination.contentType), source.contentType) !=
        0) {
        TNX_LOGE("failed to copy contentType of Tnx_FormFieldFileValue");
    }
    if (strcpy_s(destination.fileName, sizeof(destination.fileName), source.fileName) != 0) {
        TNX_LOGE("failed to copy fileName of Tnx_FormFieldFileValue");
    }
    CopySource(destination.contentOrPath, source.contentOrPath);
}

CPtr<Tnx_MultipartFormFieldValue> MakeMultipartValue(const Tnx_MultipartFormFieldValue &source)
{
    auto value = AllocateRecord<Tnx_MultipartFormFieldValue>();
    if (value != nullptr) {
        OVX_Tnx_CopyMultipartFormValue(value.get(), &source);
    }
    return value;
}

} // namespace
} // namespace OHOS::Pelloria::TnxC

using namespace OHOS::Pelloria::TnxC;

Tnx_MultipartForm *OVX_Tnx_CreateMultipartForm() noexcept
{
    return CreateMapRecord<Tnx_MultipartForm>("failed to alloc memory for multipartForm",
                                              "failed to createMap for Tnx_MultipartForm");
}

uint32_t OVX_Tnx_SetMultipartFormValue(Tnx_MultipartForm *form, const char *name,
                                       const Tnx_MultipartFormFieldValue *value) noexcept
{
    if (form == nullptr || name == nullptr || value == nullptr || form->fields == nullptr) {
        return TNX_ERR_PARAMETER;
    }
    return AddValue<Tnx_MultipartFormFieldValue>(
        form->fields, name,
        [value](const Tnx_MultipartFormFieldValue &other) {
            return IsSameMultipartValue(other, *value);
        },
        [value] { return MakeMultipartValue(*value); });
}

void OVX_Tnx_CopyMultipartFormValue(Tnx_MultipartFormFieldValue *destination,
                                    const Tnx_MultipartFormFieldValue *source) noexcept
{
    if (destination == nullptr || source == nullptr) {
        return;
    }
    destination->type = source->type;
    if (source->type == TNX_MULTIPART_VALUE_FILE) {
        CopyFile(destination->value.fileValue, source->value.fileValue);
    } else if (source->type == TNX_MULTIPART_VALUE_PLAIN) {
        destination->value.plainValue.type = source->value.plainValue.type;
        destination->value.plainValue.value = source->value.plainValue.value;
    }
}

void OVX_Tnx_DestroyMultipartForm(Tnx_MultipartForm *form) noexcept
{
    DestroyMapRecord(form, OVX_Tnx_DestroyMultipartFormValue);
}

void OVX_Tnx_DestroyMultipartFormValue(void *firstValue) noexcept
{
    auto *value = static_cast<Tnx_MultipartFormFieldValue *>(firstValue);
    while (value != nullptr) {
        std::free(std::exchange(value, value->next));
    }
}

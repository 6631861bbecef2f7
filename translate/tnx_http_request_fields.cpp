// Header fields and cookies on their way into the engine. Names are compared byte by byte.
#include "translate/tnx_http_request_fields.h"

#include "translate/map_walk.h"

#include <algorithm>
#include <string>

namespace OHOS::Pelloria::TnxC
{

std::shared_ptr<Tnx::Headers> TnxToCppHeaders(const Tnx_Headers *headers)
{
    auto out = std::make_shared<Tnx::Headers>();
    if (headers == nullptr || headers->fields == nullptr) {
        return out;
    }
    WalkMap(headers->fields, [&out](const Tnx_MapEntry &entry) {
        Tnx::FieldValues &values = (*out)[entry.key];
        const auto *value = static_cast<const Tnx_HeaderValue *>(entry.value);
        for (; value != nullptr && value->value != nullptr; value = value->next) {
            values.emplace_back(value->value);
        }
    });
    return out;
}

void MergeHeaders(Tnx::Headers &out, const Tnx_Headers *ofSession)
{
    if (ofSession == nullptr) {
        return;
    }
    WalkMap(ofSession->fields, [&out](const Tnx_MapEntry &entry) {
        const auto *value = static_cast<const Tnx_HeaderValue *>(entry.value);
        for (; value != nullptr && value->value != nullptr; value = value->next) {
            Tnx::FieldValues &values = out[entry.key];
            if (values.empty()) {
                values.source = Tnx::FieldSource::SESSION;
            }
            if (std::find(values.begin(), values.end(), value->value) == values.end()) {
                values.emplace_back(value->value);
            }
        }
    });
}

void TnxToCppRequestCookies(const Tnx_RequestCookies *cookies, Tnx::RequestCookies &out)
{
    if (cookies == nullptr) {
        return;
    }
    WalkMap(cookies->fields, [&out](const Tnx_MapEntry &entry) {
        if (entry.value != nullptr) { // what a failed set leaves
            out.try_emplace(entry.key, static_cast<const char *>(entry.value));
        }
    });
}

} // namespace OHOS::Pelloria::TnxC

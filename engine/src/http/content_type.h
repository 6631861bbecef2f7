// Guesses the content type of a file part from its name.
#ifndef TNX_ENGINE_CONTENT_TYPE_H
#define TNX_ENGINE_CONTENT_TYPE_H

#include <array>
#include <string_view>
#include <utility>

#include "base/text.h"

namespace OHOS::Pelloria::Tnx
{

inline const char *GuessContentType(std::string_view fileName)
{
    constexpr std::array<std::pair<std::string_view, const char *>, 22> TYPES{{
        {"css", "text/css"},          {"csv", "text/csv"},        {"gif", "image/gif"},
        {"gz", "application/gzip"},   {"htm", "text/html"},       {"html", "text/html"},
        {"jpeg", "image/jpeg"},       {"jpg", "image/jpeg"},      {"js", "text/javascript"},
        {"json", "application/json"}, {"md", "text/markdown"},    {"mp3", "audio/mpeg"},
        {"mp4", "video/mp4"},         {"pdf", "application/pdf"}, {"png", "image/png"},
        {"svg", "image/svg+xml"},     {"txt", "text/plain"},      {"wasm", "application/wasm"},
        {"webp", "image/webp"},       {"xml", "application/xml"}, {"yaml", "application/yaml"},
        {"zip", "application/zip"},
    }};
    const size_t dot = fileName.rfind('.');
    if (dot != std::string_view::npos) {
        for (const auto &[ending, type] : TYPES) {
            if (EqualsIgnoringCase(fileName.substr(dot + 1), ending)) {
                return type;
            }
        }
    }
    return "application/octet-stream";
}

} // namespace OHOS::Pelloria::Tnx

#endif

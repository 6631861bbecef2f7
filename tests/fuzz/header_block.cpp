// Fuzzes the header section of a response, line by line as libcurl hands it over: no name has an
// upper-case letter, no value a line end.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "http/framing.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    OHOS::Pelloria::Tnx::HeaderBlock block;
    std::string_view rest(reinterpret_cast<const char *>(data), size);
    while (!rest.empty()) {
        const size_t end = std::min(rest.size(), rest.find('\n') + 1);
        const auto line = rest.substr(0, end == 0 ? rest.size() : end);
        if (!block.Add(line)) {
            break;
        }
        rest.remove_prefix(line.size());
    }
    OHOS::Pelloria::Tnx::ReadFraming(block);
    for (const auto &[name, value] : block.Fields()) {
        const bool upper = std::any_of(name.begin(), name.end(),
                                       [](unsigned char c) { return c >= 'A' && c <= 'Z'; });
        if (upper || value.find('\n') != std::string_view::npos || *value.end() != '\0') {
            std::abort();
        }
    }
    return 0;
}

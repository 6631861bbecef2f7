// Fuzzes the decoding of response bodies: the first byte says how they are encoded, the second in
// which pieces they come.
#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "body/content_decoder.h"

using namespace OHOS::Pelloria::Tnx;

namespace
{

constexpr size_t ENOUGH = 1 << 20; // a few bytes may stand for gigabytes
constexpr std::array<const char *, 6> CODINGS = {"gzip", "deflate",    "br",
                                                 "zstd", "gzip, zstd", "br, gzip"};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size < 2) {
        return 0;
    }
    std::string_view encoded(reinterpret_cast<const char *>(data) + 2, size - 2);
    size_t made = 0;
    try {
        ContentDecoder decoder({CODINGS[data[0] % CODINGS.size()]});
        while (!encoded.empty()) {
            const std::string piece(encoded.substr(0, size_t{data[1]} + 1));
            encoded.remove_prefix(piece.size());
            decoder.Give(piece);
            for (size_t call = 0; !decoder.UsedUp(); ++call) {
                made += decoder.Take().size();
                if (made > ENOUGH || call > ENOUGH) {
                    return 0;
                }
            }
        }
        decoder.End();
    } catch (const DamagedContent &) {
    }
    return 0;
}

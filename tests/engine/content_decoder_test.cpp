// Content codings: whatever the pieces, the same bytes come out, and what is not whole is told.
#include <gtest/gtest.h>

#include "bodies.h"
#include "body/content_decoder.h"

namespace OHOS::Pelloria::Tnx
{
namespace
{

using namespace TnxTest;

constexpr size_t LENGTH = 200000;

// What comes out of the pieces, or why nothing more does.
std::string Decode(const std::vector<std::string> &codings, std::string_view encoded, size_t size)
{
    std::string decoded;
    try {
        ContentDecoder decoder(codings);
        while (!encoded.empty()) {
            const std::string piece(encoded.substr(0, size));
            encoded.remove_prefix(piece.size());
            decoder.Give(piece);
            while (!decoder.UsedUp()) {
                decoded += decoder.Take();
            }
        }
        decoder.End();
    } catch (const DamagedContent &damage) {
        return damage.what();
    }
    return decoded;
}

std::string RawDeflate(std::string_view bytes)
{
    const std::string zlib = Deflate(bytes);
    return zlib.substr(2, zlib.size() - 6);
}

TEST(ContentDecoderTest, AnyPiecesGiveTheSameBytes)
{
    const std::string pattern = Pattern(LENGTH);
    const std::string half = pattern.substr(0, LENGTH / 2);
    const std::string rest = pattern.substr(LENGTH / 2);
    const struct {
        const char *name;
        std::vector<std::string> codings;
        std::string encoded;
    } cases[] = {
        {"gzip", {"gzip"}, Gzip(pattern)},
        {"old name, any case", {"X-GZip"}, Gzip(pattern)},
        {"gzip in members", {"gzip"}, Gzip(half) + Gzip(rest)},
        {"gzip with padding", {"gzip"}, Gzip(pattern) + std::string(100, '\0')},
        {"deflate", {"deflate"}, Deflate(pattern)},
        {"deflate without its header", {"deflate"}, RawDeflate(pattern)},
        {"br", {"br"}, Brotli(pattern)},
        {"br with padding", {"br"}, Brotli(pattern) + "more"},
        {"zstd", {"zstd"}, Zstd(pattern)},
        {"zstd in frames", {"zstd"}, Zstd(half) + Zstd(rest)},
        {"one line, with what is none", {"gzip, identity ,None,br"}, Brotli(Gzip(pattern))},
        {"two lines", {"zstd", "deflate"}, Deflate(Zstd(pattern))},
    };
    for (const auto &one : cases) {
        SCOPED_TRACE(one.name);
        for (const size_t size : {size_t{1}, size_t{7}, size_t{1000}, one.encoded.size()}) {
            EXPECT_TRUE(Decode(one.codings, one.encoded, size) == pattern) << size;
        }
        // However it is cut, it does not pass for whole, except between members and frames.
        size_t whole = 0;
        for (size_t length = 1; length < one.encoded.size(); ++length) {
            const std::string decoded =
                Decode(one.codings, std::string_view(one.encoded).substr(0, length), length);
            whole += decoded.find("too early") == std::string::npos ? 1 : 0;
        }
        const std::string_view name = one.name;
        EXPECT_EQ(whole, name.ends_with("padding") ? (name.starts_with("br") ? 4 : 100)
                         : name.find(" in ") != std::string_view::npos ? 1
                                                                       : 0);
    }
    EXPECT_EQ(Decode({"gzip"}, "", 1), "");
}

TEST(ContentDecoderTest, WhatIsNotDecodedIsNamed)
{
    const struct {
        const char *coding;
        std::string encoded;
        const char *why;
    } cases[] = {
        {"gzip", "plain", "The gzip content is damaged: incorrect header check"},
        {"br", "plain text that is none", "The br content is damaged: "},
        {"zstd", "plain", "The zstd content is damaged: Unknown frame descriptor"},
        {"zstd", {"\x28\xb5\x2f\xfd\x00\x88\x00\x00\x00", 9}, "too much memory"},
        // An older format, whose windows the library does not limit.
        {"zstd", {"\x27\xb5\x2f\xfd\x00\x88\x00\x00\x00", 9}, "Unknown frame descriptor"},
        {"zstd", Zstd("abc") + "garbage", "The zstd content is damaged: "},
        {"rot13", "nop", "The content coding rot13 is not known"},
        // Counted before anything is made for the first of them.
        {"gzip,gzip,gzip,gzip,gzip,rot13", "a", "encoded more than 5 times"},
        {"gzip, br", Brotli(Gzip("abc").substr(0, 10)), "The gzip content is damaged: it ends"},
    };
    for (const auto &one : cases) {
        const std::string told = Decode({one.coding}, one.encoded, one.encoded.size());
        EXPECT_NE(told.find(one.why), std::string::npos) << one.coding << ": " << told;
    }
}

} // namespace
} // namespace OHOS::Pelloria::Tnx

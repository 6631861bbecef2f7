// Bodies: the pattern, its encodings, and the spans that a range field asks for.
#include "bodies.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <stdexcept>

#include <brotli/encode.h>
#include <openssl/evp.h>
#include <zlib.h>
#include <zstd.h>

namespace OHOS::Pelloria::TnxTest
{

namespace
{

constexpr uint64_t LETTERS = 26;
constexpr uint64_t MEBIBYTE = 1024 * 1024;
constexpr int GZIP_WINDOW = 15 + 16;
constexpr int ZLIB_WINDOW = 15;
constexpr int RAW_WINDOW = -15;

std::string Compress(std::string_view bytes, int window, int flush)
{
    z_stream stream{};
    if (deflateInit2(&stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, window, 8, Z_DEFAULT_STRATEGY) !=
        Z_OK) {
        throw std::runtime_error("deflateInit2 failed");
    }
    std::string out(deflateBound(&stream, bytes.size()) + 64, '\0');
    stream.next_in = reinterpret_cast<Bytef *>(const_cast<char *>(bytes.data()));
    stream.avail_in = static_cast<uInt>(bytes.size());
    stream.next_out = reinterpret_cast<Bytef *>(out.data());
    stream.avail_out = static_cast<uInt>(out.size());
    deflate(&stream, flush);
    out.resize(stream.total_out);
    deflateEnd(&stream);
    return out;
}

std::string LittleEndian(uint64_t value)
{
    std::string out;
    for (int i = 0; i < 4; ++i, value >>= 8) {
        out.push_back(static_cast<char>(value & 0xff));
    }
    return out;
}

// Servers that are static objects send until the process ends.
const std::shared_ptr<const std::string> *Immortal(std::string block)
{
    return new auto(std::make_shared<const std::string>(std::move(block)));
}

} // namespace

std::string Pattern(uint64_t length, uint64_t from)
{
    std::string out(length, '\0');
    for (uint64_t i = 0; i < length; ++i) {
        out[i] = static_cast<char>('a' + (from + i) % LETTERS);
    }
    return out;
}

void SendPattern(Script &script, uint64_t length)
{
    static const auto &block = *Immortal(Pattern(LETTERS * 2520));
    script.Repeat(block, length / block->size());
    script.Send(block->substr(0, length % block->size()));
}

std::string Gzip(std::string_view bytes)
{
    return Compress(bytes, GZIP_WINDOW, Z_FINISH);
}

std::string Deflate(std::string_view bytes)
{
    return Compress(bytes, ZLIB_WINDOW, Z_FINISH);
}

std::string RawDeflate(std::string_view bytes)
{
    return Compress(bytes, RAW_WINDOW, Z_FULL_FLUSH);
}

std::string Brotli(std::string_view bytes)
{
    size_t size = BrotliEncoderMaxCompressedSize(bytes.size()) + 64;
    std::string out(size, '\0');
    BrotliEncoderCompress(5, BROTLI_DEFAULT_WINDOW, BROTLI_MODE_GENERIC, bytes.size(),
                          reinterpret_cast<const uint8_t *>(bytes.data()), &size,
                          reinterpret_cast<uint8_t *>(out.data()));
    out.resize(size);
    return out;
}

std::string Zstd(std::string_view bytes)
{
    std::string out(ZSTD_compressBound(bytes.size()), '\0');
    out.resize(ZSTD_compress(out.data(), out.size(), bytes.data(), bytes.size(), 3));
    return out;
}

void SendGzipBomb(Script &script, uint64_t length)
{
    // A full flush resets the compressor, so its output for one block of zeros can be repeated.
    static const auto &zeros = *Immortal(std::string(MEBIBYTE, '\0'));
    static const auto &block = *Immortal(Compress(*zeros, RAW_WINDOW, Z_FULL_FLUSH));
    const uint64_t blocks = (length + MEBIBYTE - 1) / MEBIBYTE;
    const auto *bytes = reinterpret_cast<const Bytef *>(zeros->data());
    const uLong blockSum = crc32(0, bytes, static_cast<uInt>(MEBIBYTE));
    uLong sum = crc32(0, nullptr, 0);
    for (uint64_t i = 0; i < blocks; ++i) {
        sum = crc32_combine(sum, blockSum, static_cast<z_off_t>(MEBIBYTE));
    }
    script.Send(std::string("\x1f\x8b\x08\0\0\0\0\0\0\x03", 10));
    script.Repeat(block, blocks);
    script.Send(std::string("\x03\0", 2) + LittleEndian(sum) + LittleEndian(blocks * MEBIBYTE));
}

bool ParseRanges(std::string_view field, uint64_t length, std::vector<Span> &spans)
{
    constexpr std::string_view UNIT = "bytes=";
    if (field.substr(0, UNIT.size()) != UNIT) {
        return false;
    }
    field.remove_prefix(UNIT.size());
    while (!field.empty()) {
        const size_t comma = std::min(field.find(','), field.size());
        std::string_view item = field.substr(0, comma);
        field.remove_prefix(std::min(field.size(), comma + 1));
        item.remove_prefix(std::min(item.size(), item.find_first_not_of(' ')));
        const size_t dash = item.find('-');
        if (dash == std::string_view::npos) {
            return false;
        }
        uint64_t from = 0;
        uint64_t to = length - 1;
        const auto second = item.substr(dash + 1);
        std::from_chars(item.data(), item.data() + dash, from);
        std::from_chars(second.data(), second.data() + second.size(), to);
        if (dash == 0) {
            from = length - std::min(length, to);
            to = length - 1;
        }
        if (from < length && from <= to) {
            spans.emplace_back(from, std::min(to, length - 1));
        }
    }
    return true;
}

std::string Base64(std::string_view bytes)
{
    std::string out(4 * ((bytes.size() + 2) / 3), '\0');
    EVP_EncodeBlock(reinterpret_cast<unsigned char *>(out.data()),
                    reinterpret_cast<const unsigned char *>(bytes.data()),
                    static_cast<int>(bytes.size()));
    return out;
}

std::string Md5Hex(std::string_view bytes)
{
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
    unsigned length = 0;
    EVP_Digest(bytes.data(), bytes.size(), digest.data(), &length, EVP_md5(), nullptr);
    std::string out;
    for (unsigned i = 0; i < length; ++i) {
        constexpr char HEX[] = "0123456789abcdef";
        out += HEX[digest[i] >> 4];
        out += HEX[digest[i] & 15];
    }
    return out;
}

} // namespace OHOS::Pelloria::TnxTest

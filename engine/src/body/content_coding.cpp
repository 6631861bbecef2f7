// gzip, deflate, br and zstd.
#include "content_coding.h"

#include <new>

#include <brotli/decode.h>
#include <zlib.h>
#include <zstd.h>

namespace OHOS::Pelloria::Tnx
{
namespace
{

// A response may ask for no more memory than this (RFC 9659 section 3).
constexpr int ZSTD_WINDOW_LOG = 23;

class ZlibCoding : public ContentCoding
{
public:
    explicit ZlibCoding(bool gzip)
        : gzip_(gzip)
    {
    }
    ZlibCoding(const ZlibCoding &) = delete;
    ZlibCoding &operator=(const ZlibCoding &) = delete;
    ~ZlibCoding() override
    {
        if (open_) {
            inflateEnd(&stream_);
        }
    }

    Step Decode(std::string_view input, std::span<char> output) override
    {
        if (input.empty() && (!open_ || ended_)) {
            return {};
        }
        if (!open_) {
            Open(input.front());
        } else if (ended_) {
            if (!gzip_ || input.front() != GZIP_MAGIC) {
                return {.used = input.size()}; // padding
            }
            inflateReset(&stream_); // another member follows (RFC 1952 section 2.2)
            ended_ = false;
        }
        stream_.next_in = reinterpret_cast<Bytef *>(const_cast<char *>(input.data()));
        stream_.avail_in = static_cast<uInt>(input.size());
        stream_.next_out = reinterpret_cast<Bytef *>(output.data());
        stream_.avail_out = static_cast<uInt>(output.size());
        const int result = inflate(&stream_, Z_NO_FLUSH);
        if (result == Z_MEM_ERROR) {
            throw std::bad_alloc();
        }
        ended_ = result == Z_STREAM_END;
        if (!ended_ && result != Z_OK && result != Z_BUF_ERROR) {
            return {.error = stream_.msg != nullptr ? stream_.msg : "a dictionary is missing"};
        }
        return {.used = input.size() - stream_.avail_in, .made = output.size() - stream_.avail_out};
    }

    bool Ended() const override { return ended_; }

private:
    static constexpr char GZIP_MAGIC = 0x1f;

    // "deflate" means the zlib format, but there are servers that leave its header out.
    void Open(char first)
    {
        const bool zlib = (first & 0x8f) == Z_DEFLATED;
        const int bits = gzip_ ? MAX_WBITS + 16 : zlib ? MAX_WBITS : -MAX_WBITS;
        if (inflateInit2(&stream_, bits) != Z_OK) {
            throw std::bad_alloc();
        }
        open_ = true;
    }

    const bool gzip_;
    z_stream stream_{};
    bool open_ = false;
    bool ended_ = false;
};

class BrotliCoding : public ContentCoding
{
public:
    BrotliCoding()
        : state_(BrotliDecoderCreateInstance(nullptr, nullptr, nullptr))
    {
        if (state_ == nullptr) {
            throw std::bad_alloc();
        }
    }
    BrotliCoding(const BrotliCoding &) = delete;
    BrotliCoding &operator=(const BrotliCoding &) = delete;
    ~BrotliCoding() override { BrotliDecoderDestroyInstance(state_); }

    Step Decode(std::string_view input, std::span<char> output) override
    {
        if (Ended()) {
            return {.used = input.size()};
        }
        size_t in = input.size();
        size_t out = output.size();
        auto *from = reinterpret_cast<const uint8_t *>(input.data());
        auto *to = reinterpret_cast<uint8_t *>(output.data());
        const BrotliDecoderResult result =
            BrotliDecoderDecompressStream(state_, &in, &from, &out, &to, nullptr);
        if (result == BROTLI_DECODER_RESULT_ERROR) {
            return {.error = BrotliDecoderErrorString(BrotliDecoderGetErrorCode(state_))};
        }
        return {.used = input.size() - in, .made = output.size() - out};
    }

    bool Ended() const override { return BrotliDecoderIsFinished(state_) != 0; }

    // A few bytes of input may fill a window of 16 MiB before the first byte comes out.
    bool Quick() const override { return false; }

private:
    BrotliDecoderState *const state_;
};

class ZstdCoding : public ContentCoding
{
public:
    ZstdCoding()
        : stream_(ZSTD_createDStream())
    {
        if (stream_ == nullptr) {
            throw std::bad_alloc();
        }
        ZSTD_DCtx_setParameter(stream_, ZSTD_d_windowLogMax, ZSTD_WINDOW_LOG);
    }
    ZstdCoding(const ZstdCoding &) = delete;
    ZstdCoding &operator=(const ZstdCoding &) = delete;
    ~ZstdCoding() override { ZSTD_freeDStream(stream_); }

    Step Decode(std::string_view input, std::span<char> output) override
    {
        if (!begun_ || ended_) {
            if (input.empty()) {
                return {};
            }
            if (!BeginsFrame(input.front())) {
                return {.error = "Unknown frame descriptor"};
            }
            begun_ = true;
        }
        ZSTD_inBuffer in{input.data(), input.size(), 0};
        ZSTD_outBuffer out{output.data(), output.size(), 0};
        const size_t result = ZSTD_decompressStream(stream_, &out, &in);
        if (ZSTD_isError(result) != 0) {
            return {.error = ZSTD_getErrorName(result)};
        }
        ended_ = result == 0;
        return {.used = in.pos, .made = out.pos};
    }

    bool Ended() const override { return ended_; }

private:
    // The library knows the formats before the standard's too, and no limit of memory for them.
    static bool BeginsFrame(char first)
    {
        return first == 0x28 || (first & 0xf0) == 0x50; // RFC 8878 section 3.1
    }

    ZSTD_DStream *const stream_;
    bool begun_ = false;
    bool ended_ = false;
};

} // namespace

std::unique_ptr<ContentCoding> MakeContentCoding(std::string_view name)
{
    if (name == "gzip" || name == "x-gzip") {
        return std::make_unique<ZlibCoding>(true);
    }
    if (name == "deflate") {
        return std::make_unique<ZlibCoding>(false);
    }
    if (name == "br") {
        return std::make_unique<BrotliCoding>();
    }
    if (name == "zstd") {
        return std::make_unique<ZstdCoding>();
    }
    return nullptr;
}

} // namespace OHOS::Pelloria::Tnx

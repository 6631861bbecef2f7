// Builds bombs, one coding around the other.
#include "bombs.h"

#include <array>
#include <map>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <utility>

#include <brotli/encode.h>

#include "bodies.h"

namespace OHOS::Pelloria::TnxTest
{

namespace
{

constexpr size_t ZEROS = 16 * 1024 * 1024;
constexpr size_t ENCODED = 8 * 1024 * 1024; // of one coding, in a block of the next

std::string Repeat(const std::string &block, size_t length)
{
    std::string out;
    while (out.size() < length) {
        out += block;
    }
    return out;
}

// Brotli encodes in one go, each flush of which can be repeated once the window is full of its
// like.
class BrotliStream
{
public:
    std::string Flush(const std::string &bytes)
    {
        size_t left = bytes.size();
        const auto *from = reinterpret_cast<const uint8_t *>(bytes.data());
        std::string out;
        std::array<uint8_t, 65536> buffer;
        do {
            size_t room = buffer.size();
            uint8_t *to = buffer.data();
            BrotliEncoderCompressStream(state_.get(), BROTLI_OPERATION_FLUSH, &left, &from, &room,
                                        &to, nullptr);
            out.append(reinterpret_cast<const char *>(buffer.data()), buffer.size() - room);
        } while (left > 0 || BrotliEncoderHasMoreOutput(state_.get()) != 0);
        return out;
    }

    BrotliStream()
    {
        BrotliEncoderSetParameter(state_.get(), BROTLI_PARAM_QUALITY, 5);
        BrotliEncoderSetParameter(state_.get(), BROTLI_PARAM_LGWIN, BROTLI_MAX_WINDOW_BITS);
    }

private:
    struct Destroy {
        void operator()(BrotliEncoderState *state) const { BrotliEncoderDestroyInstance(state); }
    };
    std::unique_ptr<BrotliEncoderState, Destroy> state_{
        BrotliEncoderCreateInstance(nullptr, nullptr, nullptr)};
};

Bomb Wrap(const Bomb &inner, const std::string &coding)
{
    const std::string block = Repeat(inner.block, ENCODED);
    if (coding == "gzip") {
        return {inner.head.empty() ? "" : Gzip(inner.head), Gzip(block)};
    }
    if (coding == "zstd") {
        return {inner.head.empty() ? "" : Zstd(inner.head), Zstd(block)};
    }
    if (coding == "deflate") {
        return {"\x78\x9c" + RawDeflate(inner.head), RawDeflate(block)};
    }
    if (coding == "br") {
        BrotliStream stream;
        Bomb bomb;
        for (const std::string *bytes : {&inner.head, &block, &block}) {
            bomb.head += stream.Flush(*bytes);
        }
        bomb.block = stream.Flush(block);
        return bomb;
    }
    throw std::runtime_error("no such coding: " + coding);
}

} // namespace

namespace
{

Bomb Build(const std::vector<std::string> &codings, const std::string &contents)
{
    Bomb bomb{"", std::string(ZEROS, '\0')};
    bool first = true;
    for (const std::string &coding : codings) {
        if (first && contents != "zeros") {
            const std::string one = contents == "bytes" ? "a" : "";
            bomb.block = coding == "zstd" ? Zstd(one) : Gzip(one);
        } else {
            bomb = Wrap(bomb, coding);
        }
        first = false;
    }
    return bomb;
}

} // namespace

const Bomb &MakeBomb(const std::vector<std::string> &codings, const std::string &contents)
{
    static std::mutex mutex;
    static std::map<std::pair<std::vector<std::string>, std::string>, Bomb> made;
    const std::lock_guard<std::mutex> lock(mutex);
    const auto [entry, missing] = made.try_emplace({codings, contents});
    if (missing) {
        entry->second = Build(codings, contents);
    }
    return entry->second;
}

} // namespace OHOS::Pelloria::TnxTest

// Bodies that test servers send: a pattern that can be checked at any offset, and encodings of it.
#ifndef TNX_TESTS_SERVERS_BODIES_H
#define TNX_TESTS_SERVERS_BODIES_H

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "script.h"

namespace OHOS::Pelloria::TnxTest
{

// `abc...z` over and over: the byte at offset i is 'a' + i % 26.
std::string Pattern(uint64_t length, uint64_t from = 0);

// Sends Pattern(length) without having it in memory.
void SendPattern(Script &script, uint64_t length);

std::string Gzip(std::string_view bytes);
std::string Deflate(std::string_view bytes);    // with the zlib header, as HTTP means it
std::string RawDeflate(std::string_view bytes); // without, and without an end
std::string Brotli(std::string_view bytes);
std::string Zstd(std::string_view bytes);

// Sends the gzip form of `length` (rounded up to 1 MiB) zero bytes, a thousandth of its size.
void SendGzipBomb(Script &script, uint64_t length);

// One byte range of a body, first and last offset.
using Span = std::pair<uint64_t, uint64_t>;

// The spans of a Range field that a body of `length` bytes has. False when it is not a range field.
bool ParseRanges(std::string_view field, uint64_t length, std::vector<Span> &spans);

std::string Base64(std::string_view bytes);
std::string Md5Hex(std::string_view bytes);

} // namespace OHOS::Pelloria::TnxTest

#endif

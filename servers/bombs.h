// Bodies that take long to decode, for what they weigh.
#ifndef TNX_TESTS_SERVERS_BOMBS_H
#define TNX_TESTS_SERVERS_BOMBS_H

#include <string>
#include <vector>

namespace OHOS::Pelloria::TnxTest
{

// An encoding without end: the head, then the block over and over.
struct Bomb {
    std::string head;
    std::string block;
};

// `codings` in the order in which they are applied. Its contents: "zeros", 16 MiB of them a block
// and a thousand times more with each further coding; "nothing", so that no byte ever comes out;
// "bytes", in one member or frame each. The last two need gzip or zstd as the first coding. Made
// once a process, which takes its time.
const Bomb &MakeBomb(const std::vector<std::string> &codings, const std::string &contents);

} // namespace OHOS::Pelloria::TnxTest

#endif

// Undoes the content codings of a response body (RFC 9110 section 8.4). libcurl would, but keeps
// silent when the encoded data ends too early, and holds in memory what comes out during a pause.
#ifndef TNX_ENGINE_CONTENT_DECODER_H
#define TNX_ENGINE_CONTENT_DECODER_H

#include <cstddef>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace OHOS::Pelloria::Tnx
{

// The data is not what its coding allows; what() says why.
class DamagedContent : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

class ContentDecoder
{
public:
    // `codings`: the values of Content-Encoding. Throws DamagedContent when one is not known.
    explicit ContentDecoder(const std::vector<std::string> &codings);
    ~ContentDecoder();
    ContentDecoder(const ContentDecoder &) = delete;
    ContentDecoder &operator=(const ContentDecoder &) = delete;

    // There is nothing to undo, and nothing to call.
    bool Empty() const;

    // The next encoded bytes, which stay the caller's and good until they are used up or kept.
    void Give(std::string_view piece);

    // Copies what is left of the piece: the caller's bytes are not good for longer.
    void KeepPiece();

    // Some of the decoded bytes, good until the next call. Does little at a time, so it may have
    // made none although the piece is not used up. Throws DamagedContent.
    std::string_view Take();

    // Nothing more comes out before the next piece.
    bool UsedUp() const { return usedUp_; }

    // Each call of Take is over in a few milliseconds.
    bool Quick() const;

    // To be called at the end of the body: throws DamagedContent when it came too early.
    void End() const;

private:
    struct Stage;

    std::string_view Take(size_t stage);

    std::vector<Stage> stages_; // the coding that was applied last comes first
    std::string kept_;
    size_t work_ = 0; // of this call of Take, in bytes
    bool usedUp_ = true;
};

} // namespace OHOS::Pelloria::Tnx

#endif

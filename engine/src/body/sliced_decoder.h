// A content decoder whose work may be done aside, in slices: a thousand bytes can stand for hours.
#ifndef TNX_ENGINE_SLICED_DECODER_H
#define TNX_ENGINE_SLICED_DECODER_H

#include <atomic>
#include <exception>
#include <string>
#include <string_view>
#include <vector>

#include "content_decoder.h"
#include "event/delivery.h"

namespace OHOS::Pelloria::Tnx
{

class SlicedDecoder final : public LongWork
{
public:
    explicit SlicedDecoder(const std::vector<std::string> &codings)
        : decoder_(codings)
    {
    }

    // Not while a slice is under way.
    ContentDecoder &Decoder() { return decoder_; }

    // A slice begins: Run does it, on any thread.
    void Begin() { running_ = true; }
    bool Running() const { return running_; }
    void Run() noexcept override;

    // What the slice has made. Throws what ended it.
    std::string_view Made();

private:
    ContentDecoder decoder_;
    std::string made_;
    std::exception_ptr failure_;
    std::atomic<bool> running_ = false;
};

} // namespace OHOS::Pelloria::Tnx

#endif

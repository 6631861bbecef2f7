// A response body that is kept in memory. Nobody knows how long it gets, and a string that grew
// with it would copy a gigabyte at once: so it comes in blocks, which are joined at the end.
#ifndef TNX_ENGINE_KEPT_BODY_H
#define TNX_ENGINE_KEPT_BODY_H

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace OHOS::Pelloria::Tnx
{

class KeptBody
{
public:
    // Most bodies are one block, which is the string itself.
    static constexpr uint64_t BLOCK = 16 * 1024 * 1024;

    explicit KeptBody(std::string &body)
        : body_(body)
    {
    }

    uint64_t Size() const { return size_; }

    // The length that was announced; the word alone buys no more memory than a block.
    void Reserve(uint64_t length) { body_.reserve(std::min(length, BLOCK)); }

    void Append(std::string_view piece)
    {
        const uint64_t length = body_.size() + piece.size();
        if (length > BLOCK && length > body_.capacity()) {
            full_.push_back(std::move(body_));
            body_ = {};
            body_.reserve(BLOCK);
        }
        body_.append(piece);
        size_ += piece.size();
    }

    void Forget()
    {
        body_.clear();
        full_.clear();
        size_ = 0;
    }

    // When nothing more comes: takes the memory for the whole. True when Join has something to do.
    bool MakeRoom()
    {
        if (full_.empty()) {
            return false;
        }
        full_.push_back(std::move(body_));
        body_ = {};
        body_.reserve(size_);
        return true;
    }

    // Takes a second for a gigabyte.
    void Join() noexcept
    {
        for (std::string &block : full_) {
            body_.append(block);
            block = {};
        }
        full_.clear();
    }

private:
    std::string &body_; // the last block, or the whole
    std::vector<std::string> full_;
    uint64_t size_ = 0;
};

} // namespace OHOS::Pelloria::Tnx

#endif

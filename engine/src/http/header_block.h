// The header section of a response, put together from the lines that libcurl hands over.
#ifndef TNX_ENGINE_HEADER_BLOCK_H
#define TNX_ENGINE_HEADER_BLOCK_H

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <utility>

#include "tnx_native/header_fields.h"

namespace OHOS::Pelloria::Tnx
{

class HeaderBlock
{
public:
    // Takes one line with its line end: of interim responses, each of which takes the place of the
    // one before, of the final one, and of its trailers, which are dropped. False when all of them
    // outgrow what a well-meaning server sends.
    bool Add(std::string_view line);

    // The empty line has been seen.
    bool Complete() const { return complete_; }

    // All of the final response's header section is there.
    bool Final() const { return complete_ && status_ >= 200; }

    // Nothing has come yet.
    bool Untouched() const { return size_ == 0; }

    // 0 before the status line, and where it has none.
    int32_t Status() const { return status_; }

    // Whether the response leads to another resource (RFC 9110 section 15.4).
    bool Redirects() const;

    // The server speaks HTTP/1.0.
    bool Old() const { return old_; }

    const HeaderFields &Fields() const { return fields_; }

    // Whether a field is there that the engine itself goes by: seen while the lines come.
    enum Noted : uint8_t {
        SET_COOKIE = 1,
        CONTENT_LENGTH = 2,
        CONTENT_ENCODING = 4,
        TRANSFER_ENCODING = 8
    };
    bool Has(Noted field) const { return (noted_ & field) != 0; }

    // Leaves none.
    HeaderFields TakeFields() noexcept { return std::move(fields_); }

private:
    void Start(std::string_view line);
    void AddField(std::string_view line);

    int32_t status_ = 0;
    bool old_ = false;
    bool started_ = false;
    bool complete_ = false;
    uint8_t noted_ = 0;
    size_t size_ = 0;
    size_t folds_ = 0;
    HeaderFields fields_;
};

} // namespace OHOS::Pelloria::Tnx

#endif

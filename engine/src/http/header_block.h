// The header section of a response, put together from the lines that libcurl hands over.
#ifndef TNX_ENGINE_HEADER_BLOCK_H
#define TNX_ENGINE_HEADER_BLOCK_H

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "tnx_native/headers.h"

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

    // The server speaks HTTP/1.0.
    bool Old() const { return old_; }

    // Names in lower case. Never empty.
    const std::shared_ptr<Headers> &Fields() const { return fields_; }

    // The values of Set-Cookie, which must not be combined (RFC 6265 section 3).
    const std::vector<std::string> &SetCookies() const { return setCookies_; }

private:
    void Start(std::string_view line);
    void AddField(std::string_view line);
    void Continue(std::string_view line);

    int32_t status_ = 0;
    bool old_ = false;
    bool started_ = false;
    bool complete_ = false;
    size_t size_ = 0;
    std::shared_ptr<Headers> fields_ = std::make_shared<Headers>();
    std::vector<std::string> setCookies_;
    std::string lastName_;
};

} // namespace OHOS::Pelloria::Tnx

#endif

// The body that a request reads where it is: from a source, or from a file.
#ifndef TNX_OBJECTS_REQUEST_BODY_H
#define TNX_OBJECTS_REQUEST_BODY_H

#include "tnx_c_ext/body.h"

#include <string>

namespace OHOS::Pelloria::TnxC
{

// Has one of both, or neither. Owns the source.
class RequestBody
{
public:
    RequestBody() = default;
    ~RequestBody() { Set({}, {}); }
    RequestBody(const RequestBody &) = delete;
    RequestBody &operator=(const RequestBody &) = delete;

    void Set(const Tnx_BodySource &source, std::string path) noexcept;

    bool Given() const { return source_.read != nullptr || !path_.empty(); }
    const Tnx_BodySource &Source() const { return source_; } // cannot be read: there is none
    const std::string &Path() const { return path_; }        // empty: there is none

private:
    Tnx_BodySource source_ = {};
    std::string path_;
};

} // namespace OHOS::Pelloria::TnxC

#endif

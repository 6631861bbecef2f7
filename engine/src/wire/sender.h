// Gives libcurl the body of a request, for as many hops as it takes.
#ifndef TNX_ENGINE_SENDER_H
#define TNX_ENGINE_SENDER_H

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "body/pull_body.h"
#include "curl/handles.h"
#include "event/delivery.h"
#include "tnx_native/request.h"

namespace OHOS::Pelloria::Tnx
{

class Sender
{
public:
    Sender(const Request &request, Delivery &delivery)
        : request_(request)
        , delivery_(delivery)
    {
    }

    // Whether the request carries a body at all.
    bool HasBody() const;

    // Whether the body is one text, and that text, which stays until it is asked for again.
    bool IsText() const;
    std::string_view Text();

    // Sets the options of any other body. `length` is the application's own content-length, which
    // only a pulled body needs.
    CURLcode SetOptions(CURL *easy, std::optional<uint64_t> length);

    // Whether the body could be sent once more from its start.
    bool CanReplay() const;

    // libcurl has had the whole of a body whose length nobody knows.
    bool Ended() const;

    // libcurl paused the body, and can go on.
    bool Resumable() const;

    // The application is being asked for more of it.
    bool Asks() const;

    // Bytes of the body that were sent, of those that libcurl has counted.
    uint64_t Uploaded(uint64_t counted) const;

    // What a failure of SetOptions is about.
    const std::string &Problem() const { return problem_; }

    // The application is not asked for data any more.
    void Stop();

private:
    bool IsPulled() const;
    CURLcode FindSource(BodySource &source, std::optional<uint64_t> length);
    CURLcode SetPullOptions(CURL *easy, BodySource source, std::optional<uint64_t> length);
    CURLcode SetMultipartOptions(CURL *easy, const MultipartForm &form);
    CURLcode AddPart(const std::string &name, const MultipartFormFieldValue &value);
    CURLcode AddFile(curl_mimepart *part, const FormFieldFileValue &file);
    PullBody &NewPull(BodySource source, std::optional<uint64_t> length);

    const Request &request_;
    Delivery &delivery_;
    std::string form_; // the encoded form, while it is sent
    std::string problem_;
    MimeHandle mime_;
    std::vector<std::unique_ptr<PullBody>> pulls_;
};

} // namespace OHOS::Pelloria::Tnx

#endif

// Builds one request out of the settings, with everything that its record borrows.
#ifndef TNX_CLI_REQUEST_H
#define TNX_CLI_REQUEST_H

#include <deque>
#include <memory>
#include <string>
#include <vector>

#include "base/handles.h"
#include "base/job.h"
#include "sources.h"

namespace TnxTool
{

class Request
{
public:
    // `offset` is where a download resumes. Throws UsageError or ToolError.
    Request(const Settings &settings, const Job &job, uint64_t offset,
            const Tnx_Configuration &configuration);
    Request(const Request &) = delete;
    Request &operator=(const Request &) = delete;

    Tnx_Request *Record() const { return request_.get(); }
    Tnx_HttpEventsHandler &Events() { return configuration_.tracing.eventsHandler; }
    const std::string &Method() const { return method_; }
    const std::string &Url() const { return url_; }

private:
    void AddHeaders(const Settings &settings, bool upload);
    void AddTarget(const Settings &settings);
    void AddLimits(const Settings &settings);
    void AddUser(const Settings &settings);
    void AddCookies(const Settings &settings);
    void AddRanges(const Settings &settings, uint64_t offset);
    void AddContent(const Settings &settings, const Text &upload);
    void AddForm(const std::vector<FormPart> &parts);
    void AddFormPart(const FormPart &part);
    void FillFile(Tnx_FormFieldFileValue &file, const FormPart &part);
    void AddUpload(const std::string &path);
    void SetString(const std::string &body);

    std::string method_;
    std::string url_;
    std::string body_;
    Text user_;
    Tnx_RequestContent content_{};
    Tnx_Configuration configuration_;
    std::vector<Tnx_TransferRange> ranges_;
    std::deque<BodySource> sources_;
    HeadersHandle headers_;
    CookiesHandle cookies_;
    MultipartFormHandle form_;
    RequestHandle request_; // last: goes before what it borrows
};

} // namespace TnxTool

#endif

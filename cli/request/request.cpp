// Builds one request out of the settings.
#include "request.h"

#include <charconv>
#include <cstring>
#include <filesystem>
#include <limits>
#include <new>

#include "base/url.h"
#include "base/values.h"
#include "netrc.h"
#include "request_headers.h"
#include "tnx_c_ext.h"

namespace TnxTool
{

namespace
{

// Bodies up to this size are held in memory, so that a redirect or a challenge can have them again.
constexpr uint64_t MAX_REPLAYED = 1024 * 1024;

constexpr const char *RANGE_HELP = "option -r: expected a-b, a-, -b or several with commas, not '";

std::string ChooseMethod(const Settings &settings, const Text &upload)
{
    if (settings.method) {
        return *settings.method;
    }
    if (settings.head) {
        return "HEAD";
    }
    if (upload) {
        return "PUT";
    }
    return (settings.data && !settings.get) || !settings.form.empty() ? "POST" : "GET";
}

int64_t ParseBound(const std::string &text, const std::string &range)
{
    int64_t bound = 0;
    const auto [rest, error] = std::from_chars(text.data(), text.data() + text.size(), bound);
    if (error != std::errc{} || rest != text.data() + text.size() || bound < 0) {
        throw UsageError(RANGE_HELP + range + "'");
    }
    return bound;
}

Tnx_TransferRange ParseRange(const std::string &text)
{
    const size_t dash = text.find('-');
    if (dash == std::string::npos || text.size() == 1) {
        throw UsageError(RANGE_HELP + text + "'");
    }
    Tnx_TransferRange range{};
    range.hasFrom = dash > 0;
    range.hasTo = dash + 1 < text.size();
    range.from = range.hasFrom ? ParseBound(text.substr(0, dash), text) : 0;
    range.to = range.hasTo ? ParseBound(text.substr(dash + 1), text) : 0;
    return range;
}

template <size_t Size>
void Copy(char (&array)[Size], const std::string &text, const std::string &field)
{
    if (text.size() >= Size) {
        throw UsageError("the form field '" + field + "': '" + text + "' is longer than " +
                         std::to_string(Size - 1) + " bytes");
    }
    std::memcpy(array, text.c_str(), text.size() + 1);
}

uint32_t Length(const std::string &body)
{
    if (body.size() > std::numeric_limits<uint32_t>::max()) {
        throw UsageError("a body of 4 GiB or more must be sent from a file with -T");
    }
    return static_cast<uint32_t>(body.size());
}

} // namespace

Request::Request(const Settings &settings, const Job &job, uint64_t offset,
                 const Tnx_Configuration &configuration)
    : method_(ChooseMethod(settings, job.upload))
    , url_(CompleteUrl(settings, job.url, job.upload))
    , configuration_(configuration)
    , headers_(OVX_Tnx_CreateHeaders())
    , cookies_(OVX_Tnx_CreateRequestCookies())
    , request_(OVX_Tnx_CreateRequest(url_.c_str()))
{
    if (!headers_ || !cookies_ || !request_) {
        throw std::bad_alloc();
    }
    AddHeaders(settings, job.upload.has_value());
    AddCookies(settings);
    AddRanges(settings, offset);
    AddContent(settings, job.upload);
    request_->method = method_.c_str();
    request_->headers = headers_.get();
    request_->cookies = cookies_.get();
    request_->configuration = &configuration_;
    AddUser(settings);
    AddTarget(settings);
    AddLimits(settings);
    OVX_Tnx_SetRequestFailOnHttpError(request_.get(), settings.fail);
}

void Request::AddHeaders(const Settings &settings, bool upload)
{
    const HeaderFields fields = RequestHeaders(settings, upload);
    for (const HeaderField &field : fields.sent) {
        OVX_Tnx_SetHeaderValue(headers_.get(), field.name.c_str(), field.value.c_str());
    }
    for (const std::string &name : fields.omitted) {
        if (OVX_Tnx_OmitRequestHeader(request_.get(), name.c_str()) != TNX_OK) {
            throw UsageError("option -H: the field " + name + " cannot be left out");
        }
    }
}

// A user of the command line or of the URL comes before one of ~/.netrc.
void Request::AddUser(const Settings &settings)
{
    const bool given = settings.server.user || settings.server.bearer ||
                       UrlUser(url_).find(':') != std::string_view::npos;
    user_ = given ? std::nullopt : FindInNetrc(settings, url_);
    if (user_) {
        const size_t mark = user_->find(':');
        (*user_)[mark] = '\0';
        configuration_.security.credentialKind = settings.server.credentialKind;
        configuration_.security.credentialName = user_->c_str();
        configuration_.security.credentialPassword = user_->c_str() + mark + 1;
    }
}

void Request::AddTarget(const Settings &settings)
{
    Text target = settings.requestTarget;
    if (!target && settings.pathAsIs) {
        target = UrlTarget(url_);
    }
    if (target && OVX_Tnx_SetRequestTarget(request_.get(), target->c_str()) != TNX_OK) {
        throw UsageError("'" + *target + "' cannot be asked for");
    }
}

void Request::AddLimits(const Settings &settings)
{
    for (const auto &[which, value] : settings.limits) {
        if (OVX_Tnx_SetRequestLimit(request_.get(), which, value) != TNX_OK) {
            throw UsageError("the limits of the transfer contradict each other");
        }
    }
    for (const auto &[which, value] : settings.connection) {
        if (OVX_Tnx_SetRequestConnection(request_.get(), which, value.c_str()) != TNX_OK) {
            throw UsageError("a connection cannot be made with '" + value + "'");
        }
    }
    if (settings.slowTime != 0) { // without a byte there is no speed to look at
        OVX_Tnx_SetRequestLimit(request_.get(), TNX_LIMIT_IDLE_TIME,
                                int64_t{settings.slowTime} * 1000);
    }
    OVX_Tnx_SetRequestCollectConnectionInfo(request_.get(), settings.writeOut || settings.asJson ||
                                                                settings.explain);
}

void Request::AddCookies(const Settings &settings)
{
    for (const std::string &list : settings.cookies) {
        for (const std::string &piece : Split(list, ';')) {
            const std::string_view cookie = Trim(piece);
            const size_t mark = cookie.find('=');
            if (mark == std::string_view::npos && !cookie.empty()) {
                throw UsageError("option -b: expected name=value, not '" + list + "'");
            }
            if (!cookie.empty()) {
                const std::string name(Trim(cookie.substr(0, mark)));
                const std::string value(Trim(cookie.substr(mark + 1)));
                OVX_Tnx_SetRequestCookieValue(cookies_.get(), name.c_str(), value.c_str());
            }
        }
    }
}

void Request::AddRanges(const Settings &settings, uint64_t offset)
{
    if (settings.range) {
        for (const std::string &range : Split(*settings.range, ',')) {
            ranges_.push_back(ParseRange(std::string(Trim(range))));
        }
    } else if (offset != 0) {
        Tnx_TransferRange range{};
        range.from = static_cast<int64_t>(offset);
        range.hasFrom = true;
        ranges_.push_back(range);
    }
    for (size_t at = 1; at < ranges_.size(); ++at) {
        ranges_[at - 1].next = &ranges_[at];
    }
    request_->transferRange = ranges_.empty() ? nullptr : ranges_.data();
}

void Request::AddContent(const Settings &settings, const Text &upload)
{
    if (upload) {
        AddUpload(*upload);
    } else if (!settings.form.empty()) {
        AddForm(settings.form);
    } else if (settings.data && !settings.get) {
        SetString(*settings.data);
    } else {
        return;
    }
    request_->content = &content_;
}

void Request::SetString(const std::string &body)
{
    content_.type = TNX_CONTENT_STRING;
    content_.value.string = {body.data(), Length(body)};
}

void Request::AddUpload(const std::string &path)
{
    const auto size = FileSize(path);
    if (size && *size <= MAX_REPLAYED) {
        body_ = ReadWhole(path);
        SetString(body_);
        return;
    }
    content_.type = TNX_CONTENT_GET_DATA;
    content_.value.getDataCallback = sources_.emplace_back(path).Callback();
    if (size) {
        OVX_Tnx_SetHeaderValue(headers_.get(), "content-length", std::to_string(*size).c_str());
    }
}

void Request::AddForm(const std::vector<FormPart> &parts)
{
    form_.reset(OVX_Tnx_CreateMultipartForm());
    if (!form_) {
        throw std::bad_alloc();
    }
    for (const FormPart &part : parts) {
        AddFormPart(part);
    }
    content_.type = TNX_CONTENT_MULTIPART_FORM;
    content_.value.multipartForm = form_.get();
}

void Request::AddFormPart(const FormPart &part)
{
    Tnx_MultipartFormFieldValue record{};
    if (part.kind == FormPart::Kind::TEXT && !part.contentType && !part.fileName) {
        record.type = TNX_MULTIPART_VALUE_PLAIN;
        Tnx_FormFieldValue &plain = record.value.plainValue;
        plain.type = TNX_FORM_FIELD_VALUE_STRING;
        plain.value.stringValue.data = part.value.data();
        plain.value.stringValue.length = Length(part.value);
    } else {
        record.type = TNX_MULTIPART_VALUE_FILE;
        FillFile(record.value.fileValue, part);
    }
    if (OVX_Tnx_SetMultipartFormValue(form_.get(), part.name.c_str(), &record) != TNX_OK) {
        throw std::bad_alloc();
    }
}

void Request::FillFile(Tnx_FormFieldFileValue &file, const FormPart &part)
{
    Tnx_ContentOrPathOrCallback &source = file.contentOrPath;
    Copy(file.contentType, part.contentType.value_or(""), part.name);
    if (part.kind == FormPart::Kind::TEXT) {
        Copy(file.fileName, part.fileName.value_or(""), part.name);
        source.type = TNX_FILE_SOURCE_CONTENT;
        source.value.content = {part.value.data(), Length(part.value)};
        return;
    }
    const std::string name = std::filesystem::path(part.value).filename().string();
    Copy(file.fileName, part.fileName.value_or(name), part.name);
    if (FileSize(part.value) && part.value.size() < sizeof(source.value.path)) {
        source.type = TNX_FILE_SOURCE_PATH;
        Copy(source.value.path, part.value, part.name);
    } else {
        source.type = TNX_FILE_SOURCE_CALLBACK;
        source.value.getDataCallback = sources_.emplace_back(part.value).Callback();
    }
}

} // namespace TnxTool

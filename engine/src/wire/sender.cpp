// Bodies of each kind, as options of libcurl.
#include "sender.h"

#include <algorithm>
#include <cerrno>
#include <map>
#include <string_view>
#include <system_error>

#include <sys/stat.h>
#include <unistd.h>

#include "base/secrets.h"
#include "body/file_body.h"
#include "body/form_encoding.h"
#include "http/content_type.h"

namespace OHOS::Pelloria::Tnx
{
namespace
{

template <class... Fs> struct Overloaded : Fs... {
    using Fs::operator()...;
};
template <class... Fs> Overloaded(Fs...) -> Overloaded<Fs...>;

size_t ReadPull(char *buffer, size_t size, size_t count, void *pull)
{
    return static_cast<PullBody *>(pull)->Read(buffer, size * count);
}

// libcurl goes nowhere but to the start.
int SeekPull(void *pull, curl_off_t offset, int origin)
{
    const bool toStart = offset == 0 && origin == SEEK_SET;
    return toStart && static_cast<PullBody *>(pull)->GoBack() ? CURL_SEEKFUNC_OK
                                                              : CURL_SEEKFUNC_FAIL;
}

// Why libcurl could not read the file, or nothing. It opens the file late, and takes a directory
// for an empty one.
std::string WhyUnreadable(const std::string &path)
{
    struct stat status = {};
    int error = 0;
    if (stat(path.c_str(), &status) != 0 || access(path.c_str(), R_OK) != 0) {
        error = errno;
    } else if (S_ISDIR(status.st_mode)) {
        error = EISDIR;
    }
    return error == 0 ? std::string()
                      : "Cannot read '" + path + "': " + std::generic_category().message(error);
}

} // namespace

bool Sender::HasBody() const
{
    return request_.GetContent() != nullptr &&
           !std::holds_alternative<std::monostate>(request_.GetContent()->Get());
}

// A multipart form that is not there is an empty text.
bool Sender::IsText() const
{
    const auto &content = request_.GetContent()->Get();
    const auto *const multipart = std::get_if<std::shared_ptr<MultipartForm>>(&content);
    return multipart != nullptr ? *multipart == nullptr : !IsPulled();
}

bool Sender::IsPulled() const
{
    const auto &content = request_.GetContent()->Get();
    return std::holds_alternative<GetDataFunction>(content) ||
           std::holds_alternative<BodySource>(content) || std::holds_alternative<BodyFile>(content);
}

std::string_view Sender::Text()
{
    const auto &content = request_.GetContent()->Get();
    if (const auto *const text = std::get_if<std::shared_ptr<std::string>>(&content)) {
        return *text != nullptr ? std::string_view(**text) : "";
    }
    if (const auto *const form = std::get_if<std::shared_ptr<Form>>(&content)) {
        SecretSeen(); // people type passwords into forms
        form_ = *form != nullptr ? EncodeForm(**form) : std::string();
        return form_;
    }
    return "";
}

CURLcode Sender::SetOptions(CURL *easy, std::optional<uint64_t> length)
{
    Stop(); // of hops before
    const auto &content = request_.GetContent()->Get();
    if (const auto *const form = std::get_if<std::shared_ptr<MultipartForm>>(&content)) {
        SecretSeen();
        return SetMultipartOptions(easy, **form);
    }
    BodySource source;
    const CURLcode code = FindSource(source, length);
    return code == CURLE_OK ? SetPullOptions(easy, std::move(source), length) : code;
}

CURLcode Sender::FindSource(BodySource &source, std::optional<uint64_t> length)
{
    const auto &content = request_.GetContent()->Get();
    if (const auto *const function = std::get_if<GetDataFunction>(&content)) {
        source.read = *function;
    } else if (const auto *const given = std::get_if<BodySource>(&content)) {
        source = *given;
    } else {
        std::optional<BodySource> file =
            OpenBody(std::get<BodyFile>(content).path, delivery_, problem_);
        if (!file) {
            return CURLE_READ_ERROR;
        }
        if (length && length != file->length) {
            problem_ = "The request is not sent: the content-length does not tell the " +
                       std::to_string(*file->length) + " bytes of the file";
            return CURLE_BAD_FUNCTION_ARGUMENT;
        }
        source = std::move(*file);
    }
    return CURLE_OK;
}

PullBody &Sender::NewPull(BodySource source, std::optional<uint64_t> length)
{
    pulls_.push_back(std::make_unique<PullBody>(std::move(source), length, delivery_));
    return *pulls_.back();
}

CURLcode Sender::SetPullOptions(CURL *easy, BodySource source, std::optional<uint64_t> length)
{
    length = source.length ? source.length : length;
    PullBody &pull = NewPull(std::move(source), length);
    curl_easy_setopt(easy, CURLOPT_UPLOAD, 1L);
    curl_easy_setopt(easy, CURLOPT_UPLOAD_BUFFERSIZE, 256L * 1024);
    curl_easy_setopt(easy, CURLOPT_READFUNCTION, ReadPull);
    curl_easy_setopt(easy, CURLOPT_READDATA, &pull);
    curl_easy_setopt(easy, CURLOPT_SEEKFUNCTION, SeekPull);
    curl_easy_setopt(easy, CURLOPT_SEEKDATA, &pull);
    return curl_easy_setopt(easy, CURLOPT_INFILESIZE_LARGE,
                            length ? static_cast<curl_off_t>(*length) : curl_off_t{-1});
}

CURLcode Sender::SetMultipartOptions(CURL *easy, const MultipartForm &form)
{
    mime_.reset(curl_mime_init(easy));
    if (mime_ == nullptr) {
        return CURLE_OUT_OF_MEMORY;
    }
    std::map<std::string_view, const std::vector<MultipartFormFieldValue> *> sorted;
    for (const auto &[name, values] : form.fields) {
        sorted.emplace(name, &values);
    }
    for (const auto &[name, values] : sorted) {
        if (values->empty()) {
            MultipartFormFieldValue empty;
            empty.SetFormFieldSimpleValue({});
            if (const CURLcode code = AddPart(std::string(name), empty); code != CURLE_OK) {
                return code;
            }
        }
        for (const MultipartFormFieldValue &value : *values) {
            if (const CURLcode code = AddPart(std::string(name), value); code != CURLE_OK) {
                return code;
            }
        }
    }
    return curl_easy_setopt(easy, CURLOPT_MIMEPOST, mime_.get());
}

CURLcode Sender::AddPart(const std::string &name, const MultipartFormFieldValue &value)
{
    curl_mimepart *const part = curl_mime_addpart(mime_.get());
    if (part == nullptr) {
        return CURLE_OUT_OF_MEMORY;
    }
    if (const CURLcode code = curl_mime_name(part, name.c_str()); code != CURLE_OK) {
        return code;
    }
    if (const auto *file = std::get_if<FormFieldFileValue>(&value.Get())) {
        return AddFile(part, *file);
    }
    const auto *simple = std::get_if<FormFieldValue>(&value.Get());
    const std::string text = simple != nullptr ? FormValueText(*simple) : std::string();
    return curl_mime_data(part, text.data(), text.size());
}

CURLcode Sender::AddFile(curl_mimepart *part, const FormFieldFileValue &file)
{
    using Source = ContentOrPathOrGetDataCallback;
    std::string fileName = file.fileName;
    CURLcode code =
        std::visit(Overloaded{
                       [](std::monostate) { return CURLE_OK; },
                       [&](const std::shared_ptr<std::string> &content) {
                           return content != nullptr
                                      ? curl_mime_data(part, content->data(), content->size())
                                      : CURLE_OK;
                       },
                       [&](const Source::Path &path) {
                           if (fileName.empty()) {
                               fileName = path.name.substr(path.name.rfind('/') + 1);
                           }
                           problem_ = WhyUnreadable(path.name);
                           return problem_.empty() ? curl_mime_filedata(part, path.name.c_str())
                                                   : CURLE_READ_ERROR;
                       },
                       [&](const GetDataFunction &function) {
                           return curl_mime_data_cb(part, -1, ReadPull, SeekPull, nullptr,
                                                    &NewPull({function, {}, {}}, std::nullopt));
                       },
                   },
                   file.contentOrPath->Get());
    if (code == CURLE_OK && !fileName.empty()) {
        code = curl_mime_filename(part, fileName.c_str());
    }
    if (code != CURLE_OK) {
        return code;
    }
    return curl_mime_type(part, file.contentType.empty() ? GuessContentType(fileName)
                                                         : file.contentType.c_str());
}

bool Sender::CanReplay() const
{
    return std::all_of(pulls_.begin(), pulls_.end(),
                       [](const auto &pull) { return pull->CanReplay(); });
}

bool Sender::Ended() const
{
    return !pulls_.empty() && pulls_.back()->Ended();
}

bool Sender::Resumable() const
{
    return std::any_of(pulls_.begin(), pulls_.end(),
                       [](const auto &pull) { return pull->Ready(); });
}

bool Sender::Asks() const
{
    return std::any_of(pulls_.begin(), pulls_.end(), [](const auto &pull) { return pull->Asks(); });
}

// libcurl counts the framing of chunks too.
uint64_t Sender::Uploaded(uint64_t counted) const
{
    return HasBody() && IsPulled() && !pulls_.empty() ? std::min(counted, pulls_.back()->Sent())
                                                      : counted;
}

void Sender::Stop()
{
    for (const auto &pull : pulls_) {
        pull->Stop();
    }
}

} // namespace OHOS::Pelloria::Tnx

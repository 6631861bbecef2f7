// The body of a request: a string, a form, a multipart form, a file, or what gives it piece by
// piece.
#ifndef TNX_NATIVE_CONTENT_H
#define TNX_NATIVE_CONTENT_H

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <variant>
#include <vector>

namespace OHOS::Pelloria::Tnx
{

// Gives at most `size` bytes of a body. An empty string is its end, an empty reference a failure.
using GetDataFunction = std::function<std::shared_ptr<std::string>(size_t size)>;

// A body that is read piece by piece.
struct BodySource {
    GetDataFunction read;
    std::function<bool()> rewind; // before each start; empty: it is there once
    std::optional<uint64_t>
        length; // exactly so many bytes; else what a content-length says, if any
};

// A body that is read from a file.
struct BodyFile {
    std::string path;
};

// One typed value of a form field.
class FormFieldValue
{
public:
    using Value = std::variant<std::monostate, int32_t, int64_t, bool, std::string, double>;

    void SetInt32(int value) { value_ = int32_t{value}; }
    void SetInt64(long value) { value_ = int64_t{value}; }
    void SetBool(bool value) { value_ = value; }
    void SetString(const std::string &value) { value_ = value; }
    void SetDouble(double value) { value_ = value; }
    const Value &Get() const { return value_; }

private:
    Value value_;
};

using Form = std::unordered_map<std::string, std::vector<FormFieldValue>>;

// Where the content of a file part comes from.
class ContentOrPathOrGetDataCallback
{
public:
    struct Path {
        std::string name;
    };
    using Source =
        std::variant<std::monostate, std::shared_ptr<std::string>, Path, GetDataFunction>;

    void SetFileContent(const std::shared_ptr<std::string> &content) { source_ = content; }
    void SetPath(const std::string &path) { source_ = Path{path}; }
    void SetGetDataCallback(const GetDataFunction &callback) { source_ = callback; }
    const Source &Get() const { return source_; }

private:
    Source source_;
};

// A file part. An empty content type is guessed from the file name.
struct FormFieldFileValue {
    std::string contentType;
    std::string fileName;
    std::shared_ptr<ContentOrPathOrGetDataCallback> contentOrPath;
};

// One value of a multipart field.
class MultipartFormFieldValue
{
public:
    using Value = std::variant<std::monostate, FormFieldValue, FormFieldFileValue>;

    void SetFormFieldSimpleValue(const FormFieldValue &value) { value_ = value; }
    void SetFormFieldFileValue(const FormFieldFileValue &value) { value_ = value; }
    const Value &Get() const { return value_; }

private:
    Value value_;
};

struct MultipartForm {
    std::unordered_map<std::string, std::vector<MultipartFormFieldValue>> fields;
};

// The body, of one kind. An empty reference to a form counts as an empty body.
class RequestContent
{
public:
    using Content =
        std::variant<std::monostate, std::shared_ptr<std::string>, std::shared_ptr<Form>,
                     std::shared_ptr<MultipartForm>, GetDataFunction, BodySource, BodyFile>;

    void SetString(const std::shared_ptr<std::string> &value) { content_ = value; }
    void SetForm(const std::shared_ptr<Form> &form) { content_ = form; }
    void SetMultipartForm(const std::shared_ptr<MultipartForm> &form) { content_ = form; }
    void SetGetDataCallback(const GetDataFunction &callback) { content_ = callback; }
    void SetSource(BodySource source) { content_ = std::move(source); }
    void SetFile(const std::string &path) { content_ = BodyFile{path}; }
    const Content &Get() const { return content_; }

private:
    Content content_;
};

} // namespace OHOS::Pelloria::Tnx

#endif

// Opened where the transfer is driven, read where callbacks run.
#include "file_body.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <memory>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace OHOS::Pelloria::Tnx
{
namespace
{

std::string Unreadable(const std::string &path, const std::string &why)
{
    return "Cannot read '" + path + "': " + why;
}

std::string ErrorText(int error)
{
    return std::generic_category().message(error);
}

class File
{
public:
    // Does not wait for who writes into a pipe.
    explicit File(std::string path)
        : path_(std::move(path))
        , fd_(open(path_.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK))
    {
    }
    ~File()
    {
        if (fd_ >= 0) {
            close(fd_);
        }
    }
    File(const File &) = delete;
    File &operator=(const File &) = delete;

    // Why it cannot be sent, or nothing; finds its length out.
    std::string Look()
    {
        struct stat status = {};
        if (fd_ < 0 || fstat(fd_, &status) != 0) {
            return Unreadable(path_, ErrorText(errno));
        }
        if (!S_ISREG(status.st_mode)) {
            return Unreadable(path_, S_ISDIR(status.st_mode) ? ErrorText(EISDIR)
                                                             : "It is no regular file");
        }
        length_ = static_cast<uint64_t>(status.st_size);
        return {};
    }

    uint64_t Length() const { return length_; }

    bool Rewind()
    {
        offset_ = 0;
        return true;
    }

    // Null for a failure, of which the transfer is told.
    std::shared_ptr<std::string> Read(size_t size, Delivery &delivery)
    {
        const auto piece = std::make_shared<std::string>();
        piece->resize(std::min<uint64_t>(size, length_ - offset_));
        ssize_t count = 0;
        do {
            count = pread(fd_, piece->data(), piece->size(), static_cast<off_t>(offset_));
        } while (count < 0 && errno == EINTR);
        if (count < 0) {
            delivery.Stop(CURLE_READ_ERROR, Unreadable(path_, ErrorText(errno)));
            return nullptr;
        }
        piece->resize(static_cast<size_t>(count));
        offset_ += static_cast<uint64_t>(count);
        return piece;
    }

private:
    const std::string path_;
    const int fd_;
    uint64_t length_ = 0;
    uint64_t offset_ = 0;
};

} // namespace

std::optional<BodySource> OpenBody(const std::string &path, Delivery &delivery, std::string &why)
{
    const auto file = std::make_shared<File>(path);
    why = file->Look();
    if (!why.empty()) {
        return std::nullopt;
    }
    return BodySource{.read = [file, &delivery](size_t size) { return file->Read(size, delivery); },
                      .rewind = [file] { return file->Rewind(); },
                      .length = file->Length()};
}

} // namespace OHOS::Pelloria::Tnx

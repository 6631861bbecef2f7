// Reading and replacing files.
#include "files.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace OHOS::Pelloria::Tnx
{
namespace
{

class Descriptor
{
public:
    explicit Descriptor(int descriptor)
        : descriptor_(descriptor)
    {
    }
    ~Descriptor()
    {
        if (descriptor_ >= 0) {
            close(descriptor_);
        }
    }
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;

    bool Open() const { return descriptor_ >= 0; }
    operator int() const { return descriptor_; }

private:
    const int descriptor_;
};

int ErrorOfRegular(const struct stat &status)
{
    return S_ISREG(status.st_mode) ? 0 : S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
}

// The file that links lead to, which need not be there.
std::filesystem::path Follow(std::filesystem::path path)
{
    constexpr int MOST_LINKS = 40; // as the kernel has it, which tells of more
    std::error_code isNone;
    for (int links = 0; links < MOST_LINKS; ++links) {
        const std::filesystem::path target = std::filesystem::read_symlink(path, isNone);
        if (isNone) {
            break;
        }
        path = path.parent_path() / target;
    }
    return path;
}

int WriteAll(int descriptor, std::string_view text)
{
    while (!text.empty()) {
        const ssize_t count = write(descriptor, text.data(), text.size());
        if (count < 0 && errno != EINTR) {
            return errno;
        }
        text.remove_prefix(count < 0 ? 0 : static_cast<size_t>(count));
    }
    return fsync(descriptor) == 0 ? 0 : errno;
}

} // namespace

int ReadWholeFile(const std::string &path, size_t most, std::string &text)
{
    // Opening a pipe would wait for someone to write.
    const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status;
    if (!file.Open() || fstat(file, &status) != 0) {
        return errno;
    }
    if (const int error = ErrorOfRegular(status); error != 0) {
        return error;
    }
    if (static_cast<size_t>(status.st_size) > most) {
        return EFBIG;
    }
    text.resize(static_cast<size_t>(status.st_size));
    size_t size = 0;
    while (size < text.size()) {
        const ssize_t count = read(file, text.data() + size, text.size() - size);
        if (count < 0 && errno != EINTR) {
            return errno;
        }
        if (count == 0) { // it has become shorter
            break;
        }
        size += count < 0 ? 0 : static_cast<size_t>(count);
    }
    text.resize(size);
    return 0;
}

int ReplaceFile(const std::string &path, std::string_view text)
{
    const std::filesystem::path target = Follow(path);
    const std::filesystem::path folder = target.has_parent_path() ? target.parent_path() : ".";
    struct stat status;
    if (stat(target.c_str(), &status) != 0) {
        if (errno != ENOENT) {
            return errno;
        }
    } else if (const int error = ErrorOfRegular(status); error != 0) {
        return error;
    }
    std::string temporary = target.string() + ".XXXXXX";
    const Descriptor file(mkostemp(temporary.data(), O_CLOEXEC));
    if (!file.Open()) {
        return errno;
    }
    int error = WriteAll(file, text);
    if (error == 0 && rename(temporary.c_str(), target.c_str()) != 0) {
        error = errno;
    }
    if (error != 0) {
        unlink(temporary.c_str());
        return error;
    }
    // That the new name outlives a crash, where the file system can promise it.
    const Descriptor names(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (names.Open()) {
        fsync(names);
    }
    return 0;
}

} // namespace OHOS::Pelloria::Tnx

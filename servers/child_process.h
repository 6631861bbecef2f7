// A program that runs beside the test and ends with it, and a directory that goes with it.
#ifndef TNX_TESTS_SERVERS_CHILD_PROCESS_H
#define TNX_TESTS_SERVERS_CHILD_PROCESS_H

#include <string>
#include <vector>

#include <sys/types.h>

namespace OHOS::Pelloria::TnxTest
{

// Removed with all it has when the object goes.
class TemporaryDirectory
{
public:
    TemporaryDirectory();
    ~TemporaryDirectory();
    TemporaryDirectory(const TemporaryDirectory &) = delete;
    TemporaryDirectory &operator=(const TemporaryDirectory &) = delete;
    const std::string &Path() const { return path_; }
    std::string Path(const std::string &name) const { return path_ + "/" + name; }

private:
    std::string path_;
};

// Stopped by its process id: SIGTERM, after two seconds SIGKILL. Also killed when the thread that
// started it ends, so that a test that crashes leaves nothing behind.
class ChildProcess
{
public:
    // The program is looked for in PATH and in the sbin directories. `log` takes its output.
    ChildProcess(const std::vector<std::string> &command, const std::string &log);
    ~ChildProcess();
    ChildProcess(const ChildProcess &) = delete;
    ChildProcess &operator=(const ChildProcess &) = delete;

    pid_t Id() const { return id_; }
    bool Running();
    // Waits for its end. Returns its exit status, or 128 plus the signal.
    int Wait();
    void Stop();

private:
    pid_t id_ = -1;
    int status_ = 0;
};

bool HaveProgram(const std::string &name);
void WriteFile(const std::string &path, const std::string &text);
std::string ReadFile(const std::string &path);

} // namespace OHOS::Pelloria::TnxTest

#endif

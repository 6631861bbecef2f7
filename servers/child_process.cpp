// Programs beside the test.
#include "child_process.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include <csignal>
#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace OHOS::Pelloria::TnxTest
{

namespace
{

constexpr int PATIENCE_MS = 2000;
constexpr int STEP_MS = 20;

std::string FindProgram(const std::string &name)
{
    if (name.find('/') != std::string::npos) {
        return name;
    }
    const char *path = std::getenv("PATH");
    std::stringstream folders(std::string(path == nullptr ? "" : path) + ":/usr/sbin:/sbin");
    std::string folder;
    while (std::getline(folders, folder, ':')) {
        if (const auto file = folder + "/" + name; access(file.c_str(), X_OK) == 0) {
            return file;
        }
    }
    return "";
}

} // namespace

TemporaryDirectory::TemporaryDirectory()
{
    path_ = (std::filesystem::temp_directory_path() / "tnx-XXXXXX").string();
    if (mkdtemp(path_.data()) == nullptr) {
        throw std::runtime_error("cannot make a temporary directory");
    }
}

TemporaryDirectory::~TemporaryDirectory()
{
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

ChildProcess::ChildProcess(const std::vector<std::string> &command, const std::string &log)
{
    const std::string program = FindProgram(command.front());
    if (program.empty()) {
        throw std::runtime_error(command.front() + " is not installed");
    }
    std::vector<char *> arguments;
    for (const auto &word : command) {
        arguments.push_back(const_cast<char *>(word.c_str()));
    }
    arguments.push_back(nullptr);
    const pid_t parent = getpid();
    id_ = fork();
    if (id_ != 0) {
        return;
    }
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent) {
        _exit(1);
    }
    if (!log.empty()) {
        const int out = open(log.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
        dup2(out, STDOUT_FILENO);
        dup2(out, STDERR_FILENO);
    }
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    execv(program.c_str(), arguments.data());
    _exit(127);
}

ChildProcess::~ChildProcess()
{
    Stop();
}

bool ChildProcess::Running()
{
    if (id_ > 0 && waitpid(id_, &status_, WNOHANG) == id_) {
        id_ = -1;
    }
    return id_ > 0;
}

int ChildProcess::Wait()
{
    if (id_ > 0) {
        while (waitpid(id_, &status_, 0) < 0 && errno == EINTR) {
        }
        id_ = -1;
    }
    return WIFEXITED(status_) ? WEXITSTATUS(status_) : 128 + WTERMSIG(status_);
}

void ChildProcess::Stop()
{
    if (!Running()) {
        return;
    }
    for (int waited = 0; waited < PATIENCE_MS && Running(); waited += STEP_MS) {
        // Again and again: nginx as one process sleeps through a signal that comes between its
        // look at the flag and its wait for events.
        kill(id_, SIGTERM);
        usleep(STEP_MS * 1000);
    }
    if (Running()) {
        kill(id_, SIGKILL);
        Wait();
    }
}

bool HaveProgram(const std::string &name)
{
    return !FindProgram(name).empty();
}

void WriteFile(const std::string &path, const std::string &text)
{
    std::ofstream(path, std::ios::binary) << text;
}

std::string ReadFile(const std::string &path)
{
    std::stringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}

} // namespace OHOS::Pelloria::TnxTest

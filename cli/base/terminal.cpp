// The terminal: what goes to it whole, and what is asked there.
#include "terminal.h"

#include <cerrno>

#include <fcntl.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include "settings.h"

namespace TnxTool
{

namespace
{

// Turns echo off for as long as it lives.
class QuietTerminal
{
public:
    explicit QuietTerminal(int file)
        : file_(file)
    {
        tcgetattr(file_, &before_);
        termios quiet = before_;
        quiet.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        tcsetattr(file_, TCSAFLUSH, &quiet);
    }
    ~QuietTerminal() { tcsetattr(file_, TCSAFLUSH, &before_); }
    QuietTerminal(const QuietTerminal &) = delete;
    QuietTerminal &operator=(const QuietTerminal &) = delete;

private:
    int file_;
    termios before_{};
};

} // namespace

bool IsTerminal(int file)
{
    return isatty(file) == 1;
}

bool WriteAll(int file, std::string_view bytes) noexcept
{
    while (!bytes.empty()) {
        const ssize_t written = write(file, bytes.data(), bytes.size());
        if (written >= 0) {
            bytes.remove_prefix(static_cast<size_t>(written));
        } else if (errno != EINTR) {
            return false;
        }
    }
    return true;
}

void Complain(std::string_view text)
{
    WriteAll(STDERR_FILENO, "tnx: " + std::string(text) + "\n");
}

std::string AskPassword(const char *whom, const std::string &user)
{
    const int terminal = open("/dev/tty", O_RDWR | O_CLOEXEC);
    if (terminal < 0) {
        throw UsageError("no password given for user '" + user + "', and no terminal to ask at");
    }
    std::string password;
    {
        const QuietTerminal quiet(terminal);
        WriteAll(terminal, "Enter " + std::string(whom) + " password for user '" + user + "':");
        for (char c = 0; read(terminal, &c, 1) == 1 && c != '\n';) {
            password += c;
        }
    }
    WriteAll(terminal, "\n");
    close(terminal);
    return password;
}

unsigned int TerminalWidth()
{
    winsize size{};
    const bool known = ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col != 0;
    return known ? size.ws_col : 80;
}

} // namespace TnxTool

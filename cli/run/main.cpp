// tnx: fetches URLs from the command line.
#include <csignal>
#include <exception>
#include <new>

#include <unistd.h>

#include "base/terminal.h"
#include "documents/help.h"
#include "options/parser.h"
#include "run.h"

namespace
{

using namespace TnxTool;

int Main(std::span<char *const> arguments)
{
    Parser parser;
    parser.Parse(arguments);
    const std::vector<Settings> groups = parser.TakeGroups();
    const RunSettings &settings = groups.front();
    if (settings.help || settings.version) {
        const std::string text = settings.help ? HelpText(*settings.help) : VersionText();
        return WriteAll(STDOUT_FILENO, text) ? 0 : EXIT_WRITE;
    }
    return RunTransfers(groups);
}

} // namespace

int main(int argc, char **argv)
{
    // A reader that went away is a failed write, with its own exit status.
    std::signal(SIGPIPE, SIG_IGN);
    try {
        return Main(std::span<char *const>(argv, static_cast<size_t>(argc)).subspan(argc > 0));
    } catch (const UsageError &error) {
        Complain(std::string(error.what()) + "\ntnx: try 'tnx --help' for more information");
        return EXIT_USAGE;
    } catch (const ToolError &error) {
        Complain("(" + std::to_string(error.status) + ") " + error.what());
        return error.status;
    } catch (const std::bad_alloc &) {
        Complain("(27) out of memory");
        return EXIT_OUT_OF_MEMORY;
    } catch (const std::exception &error) {
        Complain(error.what());
        return EXIT_USAGE;
    }
}

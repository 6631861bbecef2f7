// Prints one of the documents that are made from the table of options.
#include <cstdio>
#include <string_view>

#include "manual.h"

int main(int argc, char **argv)
{
    const std::string_view which = argc == 2 ? argv[1] : "";
    if (which == "manual") {
        std::fputs(TnxTool::ManualPage().c_str(), stdout);
    } else if (which == "bash") {
        std::fputs(TnxTool::BashCompletion().c_str(), stdout);
    } else if (which == "zsh") {
        std::fputs(TnxTool::ZshCompletion().c_str(), stdout);
    } else {
        std::fputs("usage: tnx_documents manual|bash|zsh\n", stderr);
        return 2;
    }
    return std::fflush(stdout) == 0 ? 0 : 1;
}

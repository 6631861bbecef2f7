// What a command line asks to be fetched, one URL after another.
#ifndef TNX_CLI_JOB_H
#define TNX_CLI_JOB_H

#include <vector>

#include "settings.h"

namespace TnxTool
{

struct Job {
    std::string url;
    size_t urlNumber = 0; // of the URL that it comes from, from 0
    size_t run = 0;       // which of the runs of --timing, from 0; only the first one is shown
    std::optional<Output> output;
    Text upload;
};

// The URLs of one group of options, with their globs taken apart. Throws ToolError.
std::vector<Job> ReadJobs(const Settings &settings);

} // namespace TnxTool

#endif

// What a command line asks to be fetched.
#include "job.h"

#include <algorithm>

#include "glob.h"

namespace TnxTool
{

std::vector<Job> ReadJobs(const Settings &settings)
{
    std::vector<Job> jobs;
    for (size_t number = 0; number < settings.urls.size(); ++number) {
        Job job;
        job.urlNumber = number;
        if (number < settings.outputs.size()) {
            job.output = settings.outputs[number];
        } else if (settings.remoteNameAll) {
            job.output = {{}, true};
        }
        if (number < settings.uploads.size()) {
            job.upload = settings.uploads[number];
        }
        const std::string &url = settings.urls[number];
        for (const GlobMatch &match :
             settings.globOff ? std::vector<GlobMatch>{{url, {}}} : ExpandGlobs(url)) {
            Job one = job;
            one.url = match.text;
            if (one.output) {
                one.output->file = FillPieces(one.output->file, match.pieces);
            }
            for (one.run = 0; one.run < std::max(1U, settings.timingRuns); ++one.run) {
                jobs.push_back(one);
            }
        }
    }
    return jobs;
}

} // namespace TnxTool

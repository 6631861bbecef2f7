// What a command line asks to be fetched.
#include "job.h"

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
            Job &one = jobs.emplace_back(job);
            one.url = match.text;
            if (one.output) {
                one.output->file = FillPieces(one.output->file, match.pieces);
            }
        }
    }
    return jobs;
}

} // namespace TnxTool

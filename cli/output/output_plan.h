// Decides where the body of a URL goes.
#ifndef TNX_CLI_OUTPUT_PLAN_H
#define TNX_CLI_OUTPUT_PLAN_H

#include "base/job.h"
#include "sink.h"

namespace TnxTool
{

// Throws UsageError or ToolError.
Sink::Plan PlanOutput(const Settings &settings, const Job &job);

// Where a download resumes by -C; 0 for its beginning.
uint64_t ResumeOffset(const Settings &settings, const Sink::Plan &plan);

} // namespace TnxTool

#endif

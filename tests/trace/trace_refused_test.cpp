// A registration that fails with anything but -1 ends the reporting of the process.
#include "tnx_c.h"
#include "tnx_platform/controls.h"

#include <gtest/gtest.h>

namespace
{

TEST(TraceRefusedTest, IsNeverTriedAgain)
{
    OHOS::Pelloria::Platform::EventCapture capture;
    capture.ForceRegistrationResults({-2});
    TnxTraceApiEvent(0, 0, "OVX_Tnx_Fetch", 0);
    TnxTraceApiEvent(0, 0, "OVX_Tnx_Fetch", 0);
    EXPECT_EQ(capture.TakeRegistrations().size(), 1U);
    EXPECT_TRUE(capture.TakeEvents().empty());
}

} // namespace

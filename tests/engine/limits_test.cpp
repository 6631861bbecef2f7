// Who may have a connection, and whom a close waits for.
#include "event/activity.h"
#include "pool/admission.h"
#include "tests/objects/failing_memory.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <new>
#include <thread>

namespace
{

using namespace OHOS::Pelloria::Tnx;

struct Waiting final : Candidate {
    void Admitted() override { ++admitted; }
    int admitted = 0;
};

std::shared_ptr<const std::string> Name(std::string text)
{
    return std::make_shared<const std::string>(std::move(text));
}

class AdmissionTest : public testing::Test
{
protected:
    // Whether a newcomer has got its slot by now.
    std::shared_ptr<Waiting> Enter(const Admission::Slot &slot)
    {
        auto candidate = std::make_shared<Waiting>();
        candidate->admitted = admission_.Enter(slot, candidate) ? 1 : 0;
        return candidate;
    }

    Admission admission_{2, 3};
    const Admission::Slot a_{.host = Name("a")};
    const Admission::Slot b_{.host = Name("b")};
    const Admission::Slot alone_{.host = Name("a"), .exclusive = true};
};

TEST_F(AdmissionTest, KeepsBothLimitsAndTheOrder)
{
    EXPECT_TRUE(Enter(a_)->admitted);
    EXPECT_TRUE(Enter(a_)->admitted);
    const auto third = Enter(a_);
    EXPECT_FALSE(third->admitted);
    EXPECT_TRUE(Enter(b_)->admitted);
    const auto fifth = Enter(b_);
    EXPECT_FALSE(fifth->admitted);

    // A slot of one host lets those of another in as well, where the total was the limit.
    admission_.Leave(a_);
    EXPECT_EQ(third->admitted + fifth->admitted, 1);
    admission_.Leave(a_);
    EXPECT_EQ(third->admitted + fifth->admitted, 2);
}

TEST_F(AdmissionTest, FirstComeIsFirstServed)
{
    Enter(a_);
    Enter(a_);
    const auto first = Enter(a_);
    const auto second = Enter(a_);
    admission_.Leave(a_);
    EXPECT_TRUE(first->admitted);
    const auto late = Enter(a_);
    EXPECT_FALSE(late->admitted);
    admission_.Leave(a_);
    EXPECT_TRUE(second->admitted);
    EXPECT_FALSE(late->admitted);
}

TEST_F(AdmissionTest, OneWhoHasGoneTakesNoSlot)
{
    Enter(a_);
    Enter(a_);
    auto gone = Enter(a_);
    const auto next = Enter(a_);
    gone.reset();
    admission_.Leave(a_);
    EXPECT_TRUE(next->admitted);
}

TEST_F(AdmissionTest, StreamsShareConnectionsButExclusiveOnesDoNot)
{
    EXPECT_TRUE(Enter(a_)->admitted);
    EXPECT_TRUE(Enter(a_)->admitted);
    const auto third = Enter(a_);
    EXPECT_FALSE(third->admitted);
    admission_.SharesConnections("a");
    EXPECT_TRUE(third->admitted);
    for (int i = 3; i < 100; ++i) {
        ASSERT_TRUE(Enter(a_)->admitted) << i;
    }
    EXPECT_TRUE(Enter(alone_)->admitted); // the second connection
    const auto stream101 = Enter(a_);     // would need a third
    EXPECT_FALSE(stream101->admitted);
    EXPECT_TRUE(Enter(b_)->admitted);
    const auto total = Enter({.host = Name("c")});
    EXPECT_FALSE(total->admitted);
    admission_.Leave(alone_);
    EXPECT_EQ(stream101->admitted + total->admitted, 1);
}

TEST_F(AdmissionTest, ForgettingIdleHostsKeepsTheBusyOnes)
{
    Admission many(1, 1);
    const auto busy = std::make_shared<Waiting>();
    ASSERT_TRUE(many.Enter(a_, busy));
    const auto waiting = std::make_shared<Waiting>();
    ASSERT_FALSE(many.Enter(b_, waiting));
    many.Leave(a_);
    for (int i = 0; i < 5000; ++i) { // the total is b's: nobody else gets in
        ASSERT_FALSE(many.Enter({.host = Name(std::to_string(i))}, std::make_shared<Waiting>()));
    }
    EXPECT_EQ(waiting->admitted, 1);
    many.Leave(b_); // nobody of the five thousand is there any more
    EXPECT_TRUE(many.Enter(a_, busy));
}

// A turn for a host that nobody waits for would be looked up after the host is forgotten.
TEST_F(AdmissionTest, OneWhoCannotWaitForWantOfMemoryLeavesNothing)
{
    Admission one(1, 1);
    const auto busy = std::make_shared<Waiting>();
    ASSERT_TRUE(one.Enter(a_, busy));
    const Admission::Slot longName{.host = Name(std::string(100, 'b'))};
    int failures = 0;
    for (bool failed = true; failed; ++failures) {
        const FailingMemory::Failure failure(failures + 1, FailingMemory::Kind::TRANSIENT);
        try {
            one.Enter(longName, std::make_shared<Waiting>());
        } catch (const std::bad_alloc &) {
        }
        failed = failure.Happened();
    }
    EXPECT_GT(failures, 4);
    for (int i = 0; i < 5000; ++i) {
        ASSERT_FALSE(one.Enter({.host = Name(std::to_string(i))}, std::make_shared<Waiting>()));
    }
    one.Leave(a_);
    EXPECT_TRUE(one.Enter(a_, busy));
}

constexpr auto PATIENCE = std::chrono::seconds(20);

TEST(ActivityTest, AClosedOneLetsNobodyInAndWaitsForOthers)
{
    Activity activity;
    std::promise<void> inside;
    std::promise<void> mayLeave;
    std::atomic<bool> left = false;
    std::thread other([&] {
        const Activity::Scope running(activity);
        EXPECT_TRUE(running);
        inside.set_value();
        mayLeave.get_future().wait_for(PATIENCE);
        left = true;
    });
    inside.get_future().wait_for(PATIENCE);
    EXPECT_FALSE(Activity::Scope::OnStack(activity));
    EXPECT_TRUE(activity.Close());
    EXPECT_FALSE(activity.Close());
    EXPECT_FALSE(Activity::Scope(activity));
    mayLeave.set_value();
    activity.WaitForOthers();
    EXPECT_TRUE(left);
    other.join();
}

TEST(ActivityTest, DoesNotWaitForItsOwnStack)
{
    Activity activity;
    const Activity::Scope outer(activity);
    const Activity::Scope inner(activity);
    EXPECT_TRUE(Activity::Scope::OnStack(activity));
    activity.Close();
    activity.WaitForOthers();
}

TEST(ActivityTest, TwoThatCloseEachOtherComeBack)
{
    Activity one;
    Activity two;
    std::promise<void> ready;
    std::thread other([&] {
        const Activity::Scope running(two);
        ready.set_value();
        one.Close();
        one.WaitForOthers();
    });
    {
        const Activity::Scope running(one);
        ready.get_future().wait_for(PATIENCE);
        two.Close();
        two.WaitForOthers();
    }
    other.join();
}

} // namespace

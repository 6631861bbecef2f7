// Threads that wait for transfers, for one and for any, cancel them, destroy them with their
// requests and close their session, at random: every wait ends, and nothing is used that is gone.
#include "tests/e2e/client.h"

#include "tnx_c_ext/transfer.h"

#include <array>
#include <atomic>
#include <random>

namespace EndToEnd
{
namespace
{

constexpr size_t TRANSFERS = 12;
constexpr std::array<const char *, 6> TARGETS = {"/bytes?n=100",    "/drip?n=5&ms=1", "/stall?ms=3",
                                                 "/stall?ms=60000", "/close",         "/endless"};

class Round
{
public:
    explicit Round(unsigned seed)
        : random_(seed)
    {
        uint32_t code = 0;
        session_ = OVX_Tnx_CreateSession(nullptr, &code);
    }

    void Run()
    {
        for (size_t i = 0; i < TRANSFERS; ++i) {
            Start(i);
        }
        std::thread threads[] = {
            std::thread([this, seed = static_cast<unsigned>(random_())] { Cancel(seed); }),
            std::thread([this] { WaitForAll(); }),
            std::thread([this] { WaitForAnyOfShared(); }),
            std::thread([this, seed = static_cast<unsigned>(random_())] { DestroyOwn(seed); }),
        };
        std::this_thread::sleep_for(std::chrono::milliseconds(random_() % 8));
        const bool closes = random_() % 2 == 0;
        if (closes) {
            OVX_Tnx_CloseSession(&session_);
        } else {
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
            OVX_Tnx_CancelSession(session_);
        }
        for (std::thread &thread : threads) {
            thread.join();
        }
        for (size_t i = 0; i < TRANSFERS / 2; ++i) {
            OVX_Tnx_DestroyTransfer(transfers_[i]);
            calls_[i].reset();
        }
        if (!closes) {
            OVX_Tnx_CloseSession(&session_);
        }
        EXPECT_EQ(waits_, TRANSFERS / 2 * 2);
    }

private:
    void Start(size_t index)
    {
        calls_[index] = std::make_unique<Call>(Scripted().Url(TARGETS[random_() % TARGETS.size()]));
        calls_[index]->OnData([](std::string_view data) {
            std::this_thread::sleep_for(std::chrono::milliseconds(data.size() % 3));
            return data.size();
        });
        uint32_t code = 1;
        transfers_[index] = OVX_Tnx_Start(session_, calls_[index]->Get(), &code);
        EXPECT_EQ(code, 0U);
    }

    // The first half is everybody's, until all have finished.
    void Cancel(unsigned seed)
    {
        std::mt19937 random(seed);
        for (int i = 0; i < 20; ++i) {
            OVX_Tnx_Cancel(transfers_[random() % (TRANSFERS / 2)]);
            std::this_thread::yield();
        }
    }

    void WaitForAll()
    {
        for (size_t i = 0; i < TRANSFERS / 2; ++i) {
            Take(transfers_[i], TNX_NO_TIMEOUT);
        }
    }

    void WaitForAnyOfShared()
    {
        std::array<Tnx_Transfer *, TRANSFERS / 2> waited;
        std::copy_n(transfers_.begin(), waited.size(), waited.begin());
        for (size_t ended = 0; ended < waited.size(); ++ended) {
            const size_t index = OVX_Tnx_WaitAny(waited.data(), waited.size(), TNX_NO_TIMEOUT);
            ASSERT_LT(index, waited.size());
            Take(std::exchange(waited[index], nullptr), 0);
        }
    }

    void Take(Tnx_Transfer *transfer, uint32_t milliseconds)
    {
        uint32_t code = 1;
        const Outcome outcome(OVX_Tnx_Wait(transfer, milliseconds, &code), code);
        EXPECT_NE(code, uint32_t{TNX_WAIT_TIMEOUT});
        ++waits_;
    }

    // The second half is one thread's: each request goes right behind its transfer.
    void DestroyOwn(unsigned seed)
    {
        std::mt19937 random(seed);
        for (size_t i = TRANSFERS / 2; i < TRANSFERS; ++i) {
            OVX_Tnx_WaitAny(&transfers_[i], TRANSFERS - i, static_cast<uint32_t>(random() % 3));
            OVX_Tnx_DestroyTransfer(transfers_[i]);
            calls_[i].reset();
        }
    }

    std::mt19937 random_;
    Tnx_Session *session_ = nullptr;
    std::array<std::unique_ptr<Call>, TRANSFERS> calls_;
    std::array<Tnx_Transfer *, TRANSFERS> transfers_ = {};
    std::atomic<size_t> waits_ = 0;
};

TEST(TransferStormTest, EveryWaitEndsWhateverElseHappens)
{
    Scripted();
    for (unsigned seed = 0; seed < 100 && !testing::Test::HasFailure(); ++seed) {
        Round(seed).Run();
    }
    EXPECT_TRUE(Scripted().WaitForOpenConnections(0));
}

} // namespace
} // namespace EndToEnd

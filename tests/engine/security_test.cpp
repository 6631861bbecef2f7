// Secrets leave no copy behind when they are moved.
#include "tnx_native/security.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <memory>
#include <new>
#include <string>
#include <utility>

namespace
{

using namespace OHOS::Pelloria::Tnx;

// A secret whose own bytes can be looked at, after its end too.
class Watched
{
public:
    ~Watched() { End(); }

    template <class... From> SecretString &Start(From &&...from)
    {
        return *(secret_ = new (bytes_.data()) SecretString(std::forward<From>(from)...));
    }
    void End()
    {
        if (secret_ != nullptr) {
            std::destroy_at(std::exchange(secret_, nullptr));
        }
    }
    // Not in the pointer and the length, which may be any bytes.
    bool Holds(char c) const
    {
        return std::find(bytes_.begin() + sizeof(char *) + sizeof(size_t), bytes_.end(), c) !=
               bytes_.end();
    }

private:
    alignas(SecretString) std::array<char, sizeof(SecretString)> bytes_ = {};
    SecretString *secret_ = nullptr;
};

TEST(SecurityTest, MovedSecretsLeaveNothingBehind)
{
    for (const size_t length : {1U, 15U, 16U, 96U}) {
        SCOPED_TRACE(length);
        const std::string text(length, '#');
        for (const bool assign : {false, true}) {
            Watched source;
            SecretString &from = source.Start();
            from.Assign(text.c_str());
            const char *const before = from.Get().data();
            Watched target;
            SecretString &to = assign ? target.Start() : target.Start(std::move(from));
            if (assign) {
                to = std::move(from);
            }
            EXPECT_EQ(to.Get(), text);
            EXPECT_FALSE(source.Holds('#'));
            // What is too long for the object itself is handed over, not copied.
            EXPECT_EQ(to.Get().data() == before, length > 15);
            target.End();
            EXPECT_FALSE(target.Holds('#'));
        }
    }
}

} // namespace

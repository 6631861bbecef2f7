// Fails C allocations on purpose, and counts what is alive. A test that uses it links with
// --wrap=malloc, calloc, strdup and free.
#ifndef TNX_TESTS_FAILING_MEMORY_H
#define TNX_TESTS_FAILING_MEMORY_H

namespace FailingMemory
{

enum class Kind {
    TRANSIENT, // one allocation fails
    PERSISTENT // it and all later ones fail
};

// Fails the n-th allocation (1 is the next) while it lives.
class Failure
{
public:
    Failure(int n, Kind kind);
    ~Failure();
    Failure(const Failure &) = delete;
    Failure &operator=(const Failure &) = delete;

    // Whether the n-th allocation was reached.
    bool Happened() const;
};

// Blocks allocated and not freed, as seen by the code that is linked into the test.
long LiveBlocks();

} // namespace FailingMemory

#endif

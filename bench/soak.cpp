// bench_soak NGINX: a million requests on one session. Memory must be flat after the first tenth.
#include <cstdio>

#include "harness.h"
#include "tnx_client.h"

using namespace TnxBench;

constexpr uint64_t TENTH = 100000;
constexpr double MOST_GROWTH = 0.01;

int main(int, char **argv)
{
    TnxParallel client({.url = std::string(argv[1]) + "/1k"}, 64);
    uint64_t first = 0;
    uint64_t last = 0;
    std::printf("\nSoak: a million requests on one session\n");
    for (int tenth = 1; tenth <= 10; ++tenth) {
        client.Run(TENTH);
        last = ResidentKib();
        first = tenth == 1 ? last : first;
        std::printf("  %8llu requests, %llu KiB resident\n",
                    static_cast<unsigned long long>(TENTH * static_cast<uint64_t>(tenth)),
                    static_cast<unsigned long long>(last));
        std::fflush(stdout);
    }
    const double growth = static_cast<double>(last) / static_cast<double>(first) - 1;
    std::printf("  growth %.2f %% (at most 1 %%)\n", growth * 100);
    return growth < MOST_GROWTH ? 0 : 1;
}

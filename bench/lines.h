// The header lines that every contestant sends.
#ifndef TNX_BENCH_LINES_H
#define TNX_BENCH_LINES_H

namespace TnxBench
{

constexpr char ACCEPT[] = "*/*";
constexpr char ACCEPT_ENCODING[] = "gzip, br, zstd";
constexpr char CONTENT_TYPE[] = "text/plain";
constexpr char USER_AGENT[] = "libtnx/1.0";

} // namespace TnxBench

#endif

// The memory of libcurl: wiped before it is released, once a secret may be in it, and, for its
// large buffers, kept.
#ifndef TNX_ENGINE_WIPING_ALLOCATOR_H
#define TNX_ENGINE_WIPING_ALLOCATOR_H

#include <cstdint>

#include <curl/curl.h>

namespace OHOS::Pelloria::Tnx
{

// Initialises libcurl with this memory. libcurl copies credentials and keys and releases the copies
// as they are; and it allocates a transfer buffer for each request, which costs the C library's
// allocator a trip to the kernel on threads other than the first. Where the application has
// initialised libcurl before, its choice of memory stays.
CURLcode InitialiseCurl();

// How often libcurl was refused memory so far.
uint64_t FailedAllocations();

} // namespace OHOS::Pelloria::Tnx

#endif

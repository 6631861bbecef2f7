// Preloaded into a program, counts what it asks of the allocator and of locks, and prints the sums
// when it ends. What libcurl allocates is told from the rest by libcurl's allocator hooks: they are
// wrapped, whether the program chose them or they are the C library's functions.
#define _GNU_SOURCE
#include <dlfcn.h>
#include <errno.h>
#include <pthread.h>
#include <stdatomic.h>
#include <stdbool.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <curl/curl.h>

static atomic_ulong g_curl;
static atomic_ulong g_others;
static atomic_ulong g_locks;
static atomic_ulong g_waits;
static atomic_ulong g_wakes;

// Whether this thread is inside one of libcurl's hooks, which allocate in turn.
static _Thread_local bool t_inHook;

static void Add(atomic_ulong *counter)
{
    atomic_fetch_add_explicit(counter, 1, memory_order_relaxed);
}

__attribute__((destructor)) static void Print(void)
{
    printf("libcurl_allocations %lu\nallocations %lu\nlocks %lu\nwaits %lu\nwakes %lu\n", g_curl,
           g_others, g_locks, g_waits, g_wakes);
    fflush(stdout);
}

// The allocator of the C library, under the names that cannot be replaced.
void *__libc_malloc(size_t size);
void *__libc_calloc(size_t count, size_t size);
void *__libc_realloc(void *block, size_t size);
void *__libc_memalign(size_t alignment, size_t size);

static void CountAllocation(void)
{
    if (!t_inHook) {
        Add(&g_others);
    }
}

void *malloc(size_t size)
{
    CountAllocation();
    return __libc_malloc(size);
}

void *calloc(size_t count, size_t size)
{
    CountAllocation();
    return __libc_calloc(count, size);
}

void *realloc(void *block, size_t size)
{
    CountAllocation();
    return __libc_realloc(block, size);
}

void *aligned_alloc(size_t alignment, size_t size)
{
    CountAllocation();
    return __libc_memalign(alignment, size);
}

int posix_memalign(void **block, size_t alignment, size_t size)
{
    CountAllocation();
    *block = __libc_memalign(alignment, size);
    return *block == NULL ? ENOMEM : 0;
}

static struct {
    curl_malloc_callback allocate;
    curl_realloc_callback resize;
    curl_strdup_callback duplicate;
    curl_calloc_callback allocateZeros;
} g_hooks;

#define THROUGH_HOOK(type, call)                                                                   \
    Add(&g_curl);                                                                                  \
    t_inHook = true;                                                                               \
    type const result = call;                                                                      \
    t_inHook = false;                                                                              \
    return result

static void *CurlAllocate(size_t size)
{
    THROUGH_HOOK(void *, g_hooks.allocate(size));
}

static void *CurlAllocateZeros(size_t count, size_t size)
{
    THROUGH_HOOK(void *, g_hooks.allocateZeros(count, size));
}

static void *CurlResize(void *block, size_t size)
{
    THROUGH_HOOK(void *, g_hooks.resize(block, size));
}

static char *CurlDuplicate(const char *text)
{
    THROUGH_HOOK(char *, g_hooks.duplicate(text));
}

CURLcode curl_global_init_mem(long flags, curl_malloc_callback allocate, curl_free_callback release,
                              curl_realloc_callback resize, curl_strdup_callback duplicate,
                              curl_calloc_callback allocateZeros)
{
    const __typeof__(&curl_global_init_mem) next = dlsym(RTLD_NEXT, "curl_global_init_mem");
    g_hooks.allocate = allocate;
    g_hooks.resize = resize;
    g_hooks.duplicate = duplicate;
    g_hooks.allocateZeros = allocateZeros;
    return next(flags, CurlAllocate, release, CurlResize, CurlDuplicate, CurlAllocateZeros);
}

CURLcode curl_global_init(long flags)
{
    return curl_global_init_mem(flags, malloc, free, realloc, strdup, calloc);
}

// The function of that name, counted.
#define COUNTED(counter, name, parameters, ...)                                                    \
    int name parameters                                                                            \
    {                                                                                              \
        static int(*_Atomic next) parameters;                                                      \
        if (next == NULL) {                                                                        \
            next = dlsym(RTLD_NEXT, #name);                                                        \
        }                                                                                          \
        Add(&counter);                                                                             \
        return next(__VA_ARGS__);                                                                  \
    }

COUNTED(g_locks, pthread_mutex_lock, (pthread_mutex_t * mutex), mutex)
COUNTED(g_locks, pthread_mutex_trylock, (pthread_mutex_t * mutex), mutex)
COUNTED(g_locks, pthread_rwlock_rdlock, (pthread_rwlock_t * lock), lock)
COUNTED(g_locks, pthread_rwlock_wrlock, (pthread_rwlock_t * lock), lock)
COUNTED(g_waits, pthread_cond_wait, (pthread_cond_t * condition, pthread_mutex_t *mutex), condition,
        mutex)
COUNTED(g_waits, pthread_cond_timedwait,
        (pthread_cond_t * condition, pthread_mutex_t *mutex, const struct timespec *until),
        condition, mutex, until)
COUNTED(g_waits, pthread_cond_clockwait,
        (pthread_cond_t * condition, pthread_mutex_t *mutex, clockid_t clock,
         const struct timespec *until),
        condition, mutex, clock, until)
COUNTED(g_wakes, pthread_cond_signal, (pthread_cond_t * condition), condition)
COUNTED(g_wakes, pthread_cond_broadcast, (pthread_cond_t * condition), condition)

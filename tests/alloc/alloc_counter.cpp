// The counting allocator of alloc_counter.h, over glibc's own entry points (__libc_malloc and the
// rest), which stay exported for replacements like this one. Not for sanitizer builds, whose runtime
// replaces the same functions.
#include "alloc/alloc_counter.h"

#include <cstdlib>

extern "C"
{
    void* __libc_malloc(size_t aSize);
    void* __libc_calloc(size_t aCount, size_t aSize);
    void* __libc_realloc(void* pOld, size_t aSize);
    void __libc_free(void* pBlock);
}

namespace
{
// Plain thread-local words of the executable: reading them allocates nothing.
thread_local bool counting = false;
thread_local AllocCount counted{0, 0};

inline void Count(size_t aSize)
{
    if (counting)
    {
        ++counted.allocations;
        counted.bytes += aSize;
    }
}
} // namespace

void AllocCounter_Start()
{
    counted = AllocCount{0, 0};
    counting = true;
}

AllocCount AllocCounter_Stop()
{
    counting = false;
    return counted;
}

extern "C"
{
    void* malloc(size_t aSize)
    {
        Count(aSize);
        return __libc_malloc(aSize);
    }

    void* calloc(size_t aCount, size_t aSize)
    {
        Count(aCount * aSize);
        return __libc_calloc(aCount, aSize);
    }

    // Every realloc counts: it may move the block, which is an allocation all the same.
    void* realloc(void* pOld, size_t aSize)
    {
        Count(aSize);
        return __libc_realloc(pOld, aSize);
    }

    void free(void* pBlock)
    {
        __libc_free(pBlock);
    }
}

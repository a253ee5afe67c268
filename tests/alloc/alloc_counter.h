// Counts the heap allocations of the calling thread. Linking alloc_counter.cpp into an executable
// replaces malloc, calloc, realloc and free there (operator new reaches malloc through the C++
// runtime); the replacements hand every call on to the C library's allocator and count only what a
// thread does between AllocCounter_Start and AllocCounter_Stop, so the simulator's thread and the trace
// flush thread are not counted.
#pragma once

#include <cstddef>

struct AllocCount
{
    size_t allocations; // calls of malloc, calloc and realloc
    size_t bytes;       // bytes asked for by those calls
};

// Starts counting on this thread from zero.
void AllocCounter_Start();
// Stops counting on this thread and returns what was counted since the start.
AllocCount AllocCounter_Stop();

// Replaces the global allocation functions of the test executable so that
// tests can count allocations or make one fail.
#ifndef ALLOC_HOOK_H
#define ALLOC_HOOK_H

#include <cstddef>

// Allocations made through operator new so far, the engine's included.
long allocationCount();
// Allocations of exactly `size` bytes raise std::bad_alloc (the nothrow forms
// give null); 0 ends it.
void failAllocationsOfSize(std::size_t size);

#endif

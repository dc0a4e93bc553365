// Counts heap allocations made through operator new anywhere in the process
// (the XML engine's memory manager and the library allocate through it).
#ifndef BENCH_ALLOC_H
#define BENCH_ALLOC_H

#include <cstdint>

namespace bench {

std::uint64_t allocationCount();

}  // namespace bench

#endif

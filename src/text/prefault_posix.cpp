#include "text/prefault.h"

#include <cstdint>

#include <sys/mman.h>
#include <unistd.h>

namespace kes {

void prefaultForWriting(void* data, size_t size) {
#ifdef __linux__
    constexpr int kPopulateWrite = 23;   // MADV_POPULATE_WRITE, Linux 5.14; older kernels refuse it
    constexpr size_t kWorthIt = size_t(1) << 20;
    if (size < kWorthIt) return;
    const uintptr_t page = uintptr_t(sysconf(_SC_PAGESIZE));
    const uintptr_t begin = (uintptr_t(data) + page - 1) & ~(page - 1);
    const uintptr_t end = (uintptr_t(data) + size) & ~(page - 1);
    if (end <= begin) return;
    // Large pages where the system gives them on request: a large table read at random places
    // (the texts' hash slots, the cell pool) then misses the address cache far less often.
    madvise(reinterpret_cast<void*>(begin), end - begin, MADV_HUGEPAGE);
    madvise(reinterpret_cast<void*>(begin), end - begin, kPopulateWrite);
#else
    (void)data;
    (void)size;
#endif
}

}  // namespace kes

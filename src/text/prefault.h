#pragma once
// Big buffers that are about to be filled: the pages of a fresh allocation are mapped on
// first write, one fault each, and on some virtual machines a fault costs microseconds. A
// print of 100,000 labels writes tens of megabytes, so it asks for them in one go.
#include <cstddef>

namespace kes {

// A hint only: maps the whole pages inside [data, data + size) for writing where the system
// can do that in one call, as large pages where it gives them on request, and does nothing
// otherwise.
void prefaultForWriting(void* data, size_t size);

}  // namespace kes

#include "text/prefault.h"

namespace kes {

// Windows has no call that maps private pages ahead of their first write, and its faults on
// fresh pages are cheap enough.
void prefaultForWriting(void*, size_t) {}

}  // namespace kes

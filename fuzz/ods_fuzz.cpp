// Fuzz target: OpenDocument spreadsheets, the whole load through LoadFromStream, with the rollback checked on failure.
#include "fuzz_common.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const kes::SpreadSheetFormat& format = kes::fuzz::formatOf(u"fuzz.ods");
    kes::fuzz::loadChecked(data, size, format);
    return 0;
}

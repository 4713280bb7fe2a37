// Fuzz target: Excel 97-2003 workbooks, the whole load through the compound file through LoadFromStream, with the rollback checked on failure.
#include "fuzz_common.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const kes::SpreadSheetFormat& format = kes::fuzz::formatOf(u"fuzz.xls");
    kes::fuzz::loadChecked(data, size, format);
    return 0;
}

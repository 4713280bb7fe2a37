// Fuzz target: Excel's binary workbooks, the whole load through LoadFromStream with the rollback
// checked on failure. A compound file goes as it is; a BIFF5/BIFF8 workbook stream (it starts
// with their BOF) is first put in a compound file, so that mutations reach the records rather
// than the container; anything else is read as a bare BIFF2-4 stream.
#include "fuzz_common.h"
#include "workbook/xls/compound_file_writer.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const kes::SpreadSheetFormat& format = kes::fuzz::formatOf(u"fuzz.xls");
    if (size >= 2 && data[0] == 0x09 && data[1] == 0x08) {
        kes::CompoundFileWriter file;
        file.add(u"Workbook", std::string(reinterpret_cast<const char*>(data), size));
        const std::string wrapped = file.finish();
        kes::fuzz::loadChecked(reinterpret_cast<const uint8_t*>(wrapped.data()), wrapped.size(), format);
        return 0;
    }
    kes::fuzz::loadChecked(data, size, format);
    return 0;
}

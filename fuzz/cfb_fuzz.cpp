// Fuzz target: the compound file reader, its tables, directory and streams as the xls reader
// asks for them. Only ECompoundFileError may come out of it.
#include <cstdint>
#include <string_view>

#include "workbook/xls/compound_file.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    kes::CompoundFile::hasSignature(bytes);
    try {
        const kes::CompoundFile file(bytes);
        for (std::u16string_view name : {u"Workbook", u"Book", u"EncryptionInfo"}) {
            file.hasStream(name);
            try {
                file.stream(name);
            } catch (const kes::ECompoundFileError&) {
            }
        }
    } catch (const kes::ECompoundFileError&) {
    }
    return 0;
}

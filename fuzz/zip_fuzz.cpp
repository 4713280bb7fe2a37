// Fuzz target: the ZIP reader, its central directory and every entry's extraction. Only
// EZipError may come out of it.
#include <cstdint>
#include <string_view>

#include "workbook/zip/zip_reader.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    kes::ZipReader::looksLikeZip(bytes);
    try {
        const kes::ZipReader zip(bytes);
        for (const kes::ZipEntry& entry : zip.entries()) {
            zip.find(entry.name);
            try {
                zip.extract(entry);
            } catch (const kes::EZipError&) {
            }
        }
    } catch (const kes::EZipError&) {
    }
    return 0;
}

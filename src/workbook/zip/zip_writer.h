#pragma once
// Writing a ZIP archive into memory: each part deflated (or stored when that is smaller),
// with its CRC, then the central directory. Errors come from finish(), never a destructor.
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace kes {

class ZipWriter {
public:
    explicit ZipWriter(int level = 5) : level_(level) {}

    void add(std::string_view name, std::string_view data);
    // The archive's bytes; the writer is spent afterwards.
    std::string finish();

private:
    struct Written {
        std::string name;
        uint32_t crc;
        uint32_t compressedSize;
        uint32_t size;
        uint32_t offset;
        uint16_t method;
    };
    void putCommonFields(const Written& w);

    int level_;
    std::string out_;
    std::vector<Written> entries_;
};

}  // namespace kes

#pragma once
// Reading streams out of a compound file (the container of .xls workbooks): the sector
// allocation tables, the directory and the mini stream, every chain walked with a bound so
// that a cyclic or damaged table ends in an error.
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace kes {

class ECompoundFileError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

class CompoundFile {
public:
    // Throws ECompoundFileError when the bytes are no sound compound file. They must outlive it.
    explicit CompoundFile(std::string_view bytes);

    // The stream of that name (ASCII case ignored) in the root storage, or none.
    std::optional<std::string> stream(std::u16string_view name) const;
    bool hasStream(std::u16string_view name) const;

    static bool hasSignature(std::string_view bytes);

private:
    struct Entry {
        std::u16string name;
        uint8_t type;
        uint32_t start;
        uint64_t size;
    };
    std::string chain(const std::vector<uint32_t>& table, uint32_t start, size_t sectorSize, std::string_view area,
                      uint64_t limit, const char* what) const;
    std::string_view sector(uint32_t index) const;
    const Entry* find(std::u16string_view name) const;

    std::string_view data_;
    size_t sectorSize_ = 512;
    size_t miniSectorSize_ = 64;
    uint32_t miniCutoff_ = 4096;
    std::vector<uint32_t> fat_;
    std::vector<uint32_t> miniFat_;
    std::vector<Entry> entries_;
    std::string miniStream_;
};

}  // namespace kes

#pragma once
// Writing a ZIP archive into memory: each part deflated (or stored when that is smaller),
// with its CRC, then the central directory. A large part can be written in pieces as it is
// made: it is deflated as it comes, so that only its packed bytes are ever held whole. Errors
// come from the calls, never a destructor.
#include <cstdint>
#include <deque>
#include <future>
#include <string>
#include <string_view>
#include <vector>

namespace kes {

class ZipWriter {
public:
    explicit ZipWriter(int level = 5) : level_(level) {}
    ZipWriter(const ZipWriter&) = delete;
    ZipWriter& operator=(const ZipWriter&) = delete;

    void add(std::string_view name, std::string_view data);

    // A part written piece by piece: cut in 4 MB pieces that a second thread deflates while the
    // next is made, the pieces joined into one deflate stream as pigz does. Only one part is
    // open at a time; close() finishes it.
    class Part {
    public:
        void write(std::string_view data);
        void close();

    private:
        friend class ZipWriter;
        Part(ZipWriter& zip, size_t entry) : zip_(&zip), entry_(entry) {}
        struct Piece {
            std::string bytes;
            uint32_t crc;
            size_t size;
        };
        void submit(bool last);
        void collect(Piece piece);

        ZipWriter* zip_;
        size_t entry_;
        std::string pending_;
        std::string window_;   // the last 32 KB before pending_, for the next piece's dictionary
        std::deque<std::future<Piece>> inFlight_;
        uint32_t crc_ = 0;
        uint64_t size_ = 0;
        uint64_t packed_ = 0;
        bool closed_ = false;
    };
    Part open(std::string_view name);

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
    static void putCommonFields(std::string& out, const Written& w);

    int level_;
    std::string out_;
    std::vector<Written> entries_;
    bool partOpen_ = false;
};

}  // namespace kes

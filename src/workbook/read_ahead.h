#pragma once
// Reading ahead on a second thread: the bytes a source gives (a ZIP entry as it inflates) are
// made while the caller works through the ones before, a few chunks ahead, in a bounded memory.
#include <condition_variable>
#include <cstddef>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace kes {

class ReadAhead {
public:
    // Fills `into` with up to `capacity` bytes, 0 at the end; it may throw.
    using Source = std::function<size_t(char* into, size_t capacity)>;

    explicit ReadAhead(Source source, size_t chunkSize = 128 * 1024, size_t chunks = 4);
    // Stops the reading ahead, if it still runs, and waits for it.
    ~ReadAhead();
    ReadAhead(const ReadAhead&) = delete;
    ReadAhead& operator=(const ReadAhead&) = delete;

    // The source's bytes in order, as the source itself would give them; what the source threw
    // is thrown here, once the bytes before it have been read.
    size_t read(char* into, size_t capacity);

private:
    struct Chunk {
        std::unique_ptr<char[]> bytes;
        size_t size = 0;
    };
    void produce();

    Source source_;
    size_t chunkSize_;
    std::vector<Chunk> chunks_;   // a ring: [head_, tail_) are filled, in order
    size_t head_ = 0;
    size_t tail_ = 0;
    size_t readInHead_ = 0;       // what read() has taken of the head chunk
    bool ended_ = false;          // the source gave 0 or threw
    bool stopping_ = false;
    std::exception_ptr error_;
    std::mutex mutex_;
    std::condition_variable filled_;
    std::condition_variable emptied_;
    std::thread thread_;
};

}  // namespace kes

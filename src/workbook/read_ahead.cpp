#include "workbook/read_ahead.h"

#include <algorithm>
#include <cstring>

namespace kes {

ReadAhead::ReadAhead(Source source, size_t chunkSize, size_t chunks)
    : source_(std::move(source)), chunkSize_(std::max<size_t>(chunkSize, 1)), chunks_(std::max<size_t>(chunks, 2)) {
    for (Chunk& chunk : chunks_) chunk.bytes = std::make_unique_for_overwrite<char[]>(chunkSize_);
    thread_ = std::thread([this] { produce(); });
}

ReadAhead::~ReadAhead() {
    {
        std::lock_guard lock(mutex_);
        stopping_ = true;
    }
    emptied_.notify_one();
    thread_.join();
}

void ReadAhead::produce() {
    for (;;) {
        Chunk* chunk;
        {
            std::unique_lock lock(mutex_);
            emptied_.wait(lock, [this] { return stopping_ || tail_ - head_ < chunks_.size(); });
            if (stopping_) return;
            chunk = &chunks_[tail_ % chunks_.size()];   // free: only this thread fills it
        }
        size_t size = 0;
        std::exception_ptr error;
        try {
            size = source_(chunk->bytes.get(), chunkSize_);
        } catch (...) {
            error = std::current_exception();
        }
        {
            std::lock_guard lock(mutex_);
            if (error || size == 0) {
                error_ = error;
                ended_ = true;
            } else {
                chunk->size = size;
                ++tail_;
            }
        }
        filled_.notify_one();
        if (error || size == 0) return;
    }
}

size_t ReadAhead::read(char* into, size_t capacity) {
    Chunk* chunk;
    {
        std::unique_lock lock(mutex_);
        filled_.wait(lock, [this] { return head_ != tail_ || ended_; });
        if (head_ == tail_) {
            if (error_) std::rethrow_exception(error_);
            return 0;
        }
        chunk = &chunks_[head_ % chunks_.size()];   // filled: the other thread leaves it alone
    }
    const size_t n = std::min(capacity, chunk->size - readInHead_);
    std::memcpy(into, chunk->bytes.get() + readInHead_, n);
    readInHead_ += n;
    if (readInHead_ == chunk->size) {
        readInHead_ = 0;
        {
            std::lock_guard lock(mutex_);
            ++head_;
        }
        emptied_.notify_one();
    }
    return n;
}

}  // namespace kes

#pragma once
// A file's bytes in memory with a read position: loading reads a whole file first, so that
// every format's content test can look at it and seek back freely.
#include <cstddef>
#include <string>
#include <string_view>

namespace kes {

struct ByteStream {
    std::string data;
    size_t position = 0;

    std::string_view rest() const { return std::string_view(data).substr(position < data.size() ? position : data.size()); }
    size_t size() const { return data.size(); }
};

// Restores a stream's position when it goes out of scope, whatever happened in between.
class StreamPositionGuard {
public:
    explicit StreamPositionGuard(ByteStream& stream) : stream_(stream), position_(stream.position) {}
    ~StreamPositionGuard() { stream_.position = position_; }
    StreamPositionGuard(const StreamPositionGuard&) = delete;
    StreamPositionGuard& operator=(const StreamPositionGuard&) = delete;

private:
    ByteStream& stream_;
    size_t position_;
};

}  // namespace kes

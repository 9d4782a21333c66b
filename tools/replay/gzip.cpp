// SPDX-License-Identifier: MIT
#include <zlib.h>

#include <array>

#include "bytes.h"

namespace replay {
namespace {

constexpr int gzip_with_largest_window = 16 + MAX_WBITS;

class Unpacked : public Bytes {
public:
    explicit Unpacked(std::unique_ptr<Bytes> packed) : packed_(std::move(packed))
    {
        ready_ = inflateInit2(&stream_, gzip_with_largest_window) == Z_OK;
    }
    Unpacked(const Unpacked&) = delete;
    Unpacked& operator=(const Unpacked&) = delete;
    ~Unpacked() override
    {
        if (ready_)
            inflateEnd(&stream_);
    }

    ssize_t read(std::span<char> buffer) override
    {
        if (!ready_)
            return fail("there is no memory to unpack it");
        stream_.next_out = reinterpret_cast<Bytef*>(buffer.data());
        stream_.avail_out = static_cast<uInt>(buffer.size());
        while (stream_.avail_out == buffer.size()) {
            if (stream_.avail_in == 0) {
                if (const ssize_t length = fill(); length <= 0)
                    return length;
            }
            const int result = inflate(&stream_, Z_NO_FLUSH);
            within_ = result != Z_STREAM_END;
            if (result == Z_STREAM_END)
                inflateReset(&stream_); // another file may have been appended
            else if (result != Z_OK && result != Z_BUF_ERROR)
                return fail("its compressed data is damaged");
        }
        return static_cast<ssize_t>(buffer.size() - stream_.avail_out);
    }

    const std::string& error() const override { return error_; }
    std::uint64_t position() const override { return packed_->position(); }
    std::uint64_t size() const override { return packed_->size(); }

private:
    ssize_t fail(const std::string& why)
    {
        error_ = why;
        return -1;
    }

    ssize_t fill()
    {
        const ssize_t length = packed_->read(input_);
        if (length < 0)
            return fail(packed_->error());
        if (length == 0 && within_)
            return fail("its compressed data is cut off");
        stream_.next_in = reinterpret_cast<Bytef*>(input_.data());
        stream_.avail_in = static_cast<uInt>(length);
        return length;
    }

    std::unique_ptr<Bytes> packed_;
    z_stream stream_{};
    std::array<char, 65536> input_;
    std::string error_;
    bool ready_ = false;
    bool within_ = true; // a member's data
};

} // namespace

std::unique_ptr<Bytes> unpack(std::unique_ptr<Bytes> packed, std::string&)
{
    return std::make_unique<Unpacked>(std::move(packed));
}

} // namespace replay

// SPDX-License-Identifier: MIT
#include "bytes.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <string_view>

#include "host/base/descriptor.h"
#include "interruption.h"

namespace replay {
namespace {

class File : public Bytes {
public:
    explicit File(host::Descriptor file) : file_(std::move(file))
    {
        struct stat info {};
        if (fstat(file_.get(), &info) == 0 && S_ISREG(info.st_mode))
            size_ = static_cast<std::uint64_t>(info.st_size);
    }

    ssize_t read(std::span<char> buffer) override
    {
        if (!first_.empty()) {
            const std::size_t length = std::min(first_.size(), buffer.size());
            std::copy_n(first_.begin(), length, buffer.begin());
            first_.erase(0, length);
            return static_cast<ssize_t>(length);
        }
        for (;;) {
            const ssize_t length = ::read(file_.get(), buffer.data(), buffer.size());
            if (length >= 0) {
                position_ += static_cast<std::uint64_t>(length);
                return length;
            }
            if (errno == EINTR && interruption() == 0)
                continue;
            error_ = std::strerror(errno);
            return -1;
        }
    }

    // The first bytes, which are read all the same later; fewer when there are no more.
    std::string_view look(std::size_t count)
    {
        while (first_.size() < count) {
            std::array<char, 16> part;
            const ssize_t length = ::read(file_.get(), part.data(), count - first_.size());
            if (length <= 0)
                break; // the next read tells
            first_.append(part.data(), static_cast<std::size_t>(length));
        }
        return first_;
    }

    const std::string& error() const override { return error_; }
    std::uint64_t position() const override { return position_; }
    std::uint64_t size() const override { return size_; }

private:
    host::Descriptor file_;
    std::string first_; // looked at
    std::string error_;
    std::uint64_t position_ = 0;
    std::uint64_t size_ = 0;
};

constexpr std::string_view gzip_mark = "\x1f\x8b";

} // namespace

std::unique_ptr<Bytes> open_bytes(const std::string& path, std::string& error)
{
    host::Descriptor descriptor(path == "-" ? fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0)
                                            : open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (!descriptor) {
        error = std::strerror(errno);
        return nullptr;
    }
    auto file = std::make_unique<File>(std::move(descriptor));
    if (file->look(gzip_mark.size()) == gzip_mark)
        return unpack(std::move(file), error);
    return file;
}

} // namespace replay

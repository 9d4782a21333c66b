// SPDX-License-Identifier: MIT
// Where a trace comes from: a file or standard input, compressed with gzip or not.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <memory>
#include <span>
#include <string>

namespace replay {

class Bytes {
public:
    virtual ~Bytes() = default;

    // Fills the buffer from its beginning, at least in part. 0 at the end, -1 on failure, which
    // error() tells in words. Blocks as the file does.
    virtual ssize_t read(std::span<char> buffer) = 0;

    virtual const std::string& error() const = 0;

    // How much of the file has been read, and how much there is; 0 when that cannot be known.
    virtual std::uint64_t position() const = 0;
    virtual std::uint64_t size() const = 0;
};

// Opens the file, "-" for standard input, and recognises gzip by its first bytes. Null, with one
// line in `error` without the file's name, when that cannot be done.
std::unique_ptr<Bytes> open_bytes(const std::string& path, std::string& error);

// What `packed` holds in gzip's format; null, with a line in `error`, in a build without zlib.
std::unique_ptr<Bytes> unpack(std::unique_ptr<Bytes> packed, std::string& error);

} // namespace replay

// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "bytes.h"

namespace replay {

// The lines of a file, without their ends.
class Lines {
public:
    static constexpr std::size_t longest = std::size_t{1} << 20U;

    Lines(std::unique_ptr<Bytes> bytes, std::string name);

    // The next line, to be changed at will and valid until the next call; false at the end and on
    // failure, which is told by failed().
    bool next(std::span<char>& line);

    // The line that next() gave is given once more.
    void again() { again_ = true; }

    std::uint64_t number() const { return number_; } // of the last line, from 1
    bool failed() const { return !error_.empty(); }

    // For a person: "FILE: REASON", or "FILE:LINE: REASON" about the last line.
    const std::string& error() const { return error_; }
    std::string at_line(const std::string& reason) const;

    const Bytes& bytes() const { return *bytes_; }

private:
    bool fill();
    std::span<char> take(std::size_t length);

    std::unique_ptr<Bytes> bytes_;
    std::string name_;
    std::vector<char> buffer_;
    std::size_t begin_ = 0; // of what was read and not yet given
    std::size_t end_ = 0;
    std::span<char> line_;
    std::uint64_t number_ = 0;
    std::string error_;
    bool again_ = false;
    bool at_end_ = false;
};

} // namespace replay

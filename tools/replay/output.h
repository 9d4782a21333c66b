// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

namespace replay {

// A file that is written from its beginning to its end, or standard output. After the first failure
// nothing more is written; close() tells.
class Output {
public:
    Output() = default;
    ~Output();
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    // "-" for standard output. False, and error(), when it cannot be opened.
    bool open(const std::string& path);

    Output& operator<<(std::string_view text)
    {
        buffer_.append(text);
        if (buffer_.size() >= full)
            flush();
        return *this;
    }

    // False, and error(), when something could not be written.
    bool close();

    bool failed() const { return !error_.empty(); }
    const std::string& error() const { return error_; } // with the file's name

private:
    static constexpr std::size_t full = std::size_t{64} << 10U;

    void flush();
    void fail();

    std::string name_;
    std::string buffer_;
    std::string error_;
    int fd_ = -1;
};

} // namespace replay

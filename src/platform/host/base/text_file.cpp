// SPDX-License-Identifier: MIT
#include "host/base/text_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

#include "host/base/descriptor.h"

namespace host {
namespace {

constexpr std::size_t longest_text = 1U << 20U;

} // namespace

std::optional<std::string> read_text(const std::string& path, std::string* error)
{
    const auto fail = [error](const char* why) {
        if (error != nullptr)
            *error = why;
        return std::nullopt;
    };
    // A FIFO that nobody writes must not hold the start up.
    const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat info {};
    if (!file || fstat(file.get(), &info) != 0)
        return fail(std::strerror(errno));
    if (!S_ISREG(info.st_mode))
        return fail("not a regular file");
    std::string text;
    std::array<char, 1024> part;
    while (text.size() <= longest_text) {
        const ssize_t length = read(file.get(), part.data(), part.size());
        if (length == 0)
            return text;
        if (length < 0 && errno != EINTR)
            return fail(std::strerror(errno));
        text.append(part.data(), static_cast<std::size_t>(std::max<ssize_t>(length, 0)));
    }
    return fail("longer than a megabyte");
}

std::optional<std::string_view> take_line(std::string_view& text)
{
    if (text.empty())
        return std::nullopt;
    const std::string_view line = text.substr(0, text.find('\n'));
    text.remove_prefix(std::min(line.size() + 1, text.size()));
    return line;
}

std::string_view without_blanks(std::string_view text)
{
    const std::size_t first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

} // namespace host

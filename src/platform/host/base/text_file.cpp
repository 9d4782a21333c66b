// SPDX-License-Identifier: MIT
#include "host/base/text_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>

#include "host/base/descriptor.h"

namespace host {

std::optional<std::string> read_text(const std::string& path, int flags)
{
    const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | flags));
    std::string text;
    std::array<char, 1024> part;
    for (;;) {
        const ssize_t length = file ? read(file.get(), part.data(), part.size()) : -1;
        if (length > 0)
            text.append(part.data(), static_cast<std::size_t>(length));
        else if (length == 0)
            return text;
        else if (!file || errno != EINTR)
            return std::nullopt;
    }
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

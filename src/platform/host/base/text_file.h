// SPDX-License-Identifier: MIT
// Small text files, whole: without the streams of the C++ library, which would be a third of the
// daemon's size on the terminal.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace host {

// The file's content. None, and why in `error` where one is given, when it cannot be read, is no
// regular file, whose end may never come, or is longer than a megabyte.
std::optional<std::string> read_text(const std::string& path, std::string* error = nullptr);

// Takes the first line from the text, without its end; none when nothing is left.
std::optional<std::string_view> take_line(std::string_view& text);

inline constexpr std::string_view blanks = " \t\r";

// The text without the blanks around it.
std::string_view without_blanks(std::string_view text);

} // namespace host

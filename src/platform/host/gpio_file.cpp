// SPDX-License-Identifier: MIT
#include "host/gpio_file.h"

#include <array>
#include <utility>

namespace host {
namespace {

using Kind = GpioFile::Kind;

constexpr std::string_view line_prefix = "gpio";

constexpr std::array<std::pair<std::string_view, Kind>, 2> class_files = {{
    {"export", Kind::export_line},
    {"unexport", Kind::unexport_line},
}};

constexpr std::array<std::pair<std::string_view, Kind>, 3> line_files = {{
    {"direction", Kind::direction},
    {"value", Kind::value},
    {"edge", Kind::edge},
}};

template <typename Table>
Kind find(const Table& table, std::string_view name)
{
    for (const auto& [known, kind] : table) {
        if (known == name)
            return kind;
    }
    return Kind::other;
}

} // namespace

GpioFile gpio_file(std::string_view path)
{
    if (!path.starts_with(gpio_directory))
        return {};
    const std::string_view name = path.substr(gpio_directory.size());
    const std::size_t slash = name.find('/');
    if (slash == std::string_view::npos)
        return {find(class_files, name), {}};
    std::string_view line = name.substr(0, slash);
    if (!line.starts_with(line_prefix))
        return {};
    line.remove_prefix(line_prefix.size());
    if (line.empty() || line.find_first_not_of("0123456789") != std::string_view::npos)
        return {};
    return {find(line_files, name.substr(slash + 1)), line};
}

std::string_view written_word(std::string_view text)
{
    if (text.ends_with('\n'))
        text.remove_suffix(1);
    return text;
}

} // namespace host

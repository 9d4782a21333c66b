// SPDX-License-Identifier: MIT
#include "host/board/gpio_file.h"

#include <array>
#include <cerrno>
#include <charconv>
#include <utility>

namespace host {
namespace {

using Kind = GpioFile::Kind;

constexpr std::string_view line_prefix = "gpio";
constexpr std::string_view chip_prefix = "gpiochip";

constexpr std::array<std::pair<std::string_view, Kind>, 2> class_files = {{
    {"export", Kind::export_line},
    {"unexport", Kind::unexport_line},
}};

constexpr std::array<std::pair<std::string_view, Kind>, 4> line_files = {{
    {"direction", Kind::direction},
    {"value", Kind::value},
    {"edge", Kind::edge},
    {"active_low", Kind::active_low},
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
    if (line.starts_with(chip_prefix))
        return {Kind::chip, {}};
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

int read_kernel_number(std::string_view word, std::int32_t& number)
{
    const bool negative = word.starts_with('-');
    if (negative || word.starts_with('+'))
        word.remove_prefix(1);
    int base = 10;
    if (word.starts_with("0x") || word.starts_with("0X")) {
        word.remove_prefix(2);
        base = 16;
    } else if (word.starts_with('0')) {
        base = 8;
    }
    std::uint32_t magnitude = 0;
    const char* const end = word.data() + word.size();
    const auto [stop, error] = std::from_chars(word.data(), end, magnitude, base);
    constexpr std::uint32_t largest = INT32_MAX;
    if (error == std::errc::result_out_of_range ||
        (error == std::errc{} && magnitude > largest + (negative ? 1U : 0U)))
        return -ERANGE;
    if (error != std::errc{} || stop != end)
        return -EINVAL;
    number = static_cast<std::int32_t>(negative ? 0U - magnitude : magnitude);
    return 0;
}

} // namespace host

// SPDX-License-Identifier: MIT
#include "host/config/seed.h"

#include <cerrno>
#include <cstring>
#include <optional>
#include <utility>
#include <vector>

#include "host/base/text_file.h"
#include "host/config/configuration.h"

namespace host {
namespace {

// Why the pair is refused; empty when it is fine.
std::string complaint(std::string_view key, std::string_view value)
{
    if (const int result = check_key(key); result != 0)
        return "bad key: " + std::string(std::strerror(-result));
    if (const int result = check_value(value); result != 0)
        return "bad value: " + std::string(std::strerror(-result));
    return {};
}

} // namespace

bool load_seed(const std::string& file, Store& store, std::string& error)
{
    const auto refuse = [&](const std::string& why) {
        error = file + why;
        return false;
    };
    std::string failure;
    const std::optional<std::string> content = read_text(file, &failure);
    if (!content)
        return refuse(": " + failure);

    std::vector<std::pair<std::string, std::string>> pairs;
    std::string_view rest = *content;
    for (int number = 1; const auto line = take_line(rest); ++number) {
        const std::string_view text = without_blanks(*line);
        if (text.empty() || text.front() == '#')
            continue;
        const std::string place = ":" + std::to_string(number) + ": ";
        const std::size_t equals = text.find('=');
        if (equals == std::string_view::npos)
            return refuse(place + "write 'key = value'");
        const std::string_view key = without_blanks(text.substr(0, equals));
        const std::string_view value = without_blanks(text.substr(equals + 1));
        if (const std::string why = complaint(key, value); !why.empty())
            return refuse(place + why);
        pairs.emplace_back(key, value);
    }

    std::vector<Write> writes;
    for (const auto& [key, value] : pairs)
        writes.push_back({key, value});
    if (const int result = store.write(writes); result != 0)
        return refuse(std::string(": ") + std::strerror(-result));
    return true;
}

} // namespace host

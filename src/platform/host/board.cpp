// SPDX-License-Identifier: MIT
#include "host/board.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <utility>

#include "ap/log.h"
#include "host/descriptor.h"
#include "host/gpio_file.h"
#include "host/integer.h"

namespace host::board {
namespace {

namespace fs = std::filesystem;

struct DirectionWord {
    std::string_view word;
    std::string_view direction; // what the file reads afterwards
    std::string_view value;     // the level that is driven; empty: left alone
};

constexpr std::array<DirectionWord, 4> direction_words = {{
    {"in", "in\n", ""},
    {"out", "out\n", "0\n"},
    {"low", "out\n", "0\n"},
    {"high", "out\n", "1\n"},
}};

constexpr std::array<std::string_view, 4> edge_words = {"none", "rising", "falling", "both"};

struct Target {
    const std::string& root;
    GpioFile file;
    int fd;

    std::string directory() const { return root + std::string(gpio_directory); }
    std::string line() const { return directory() + "gpio" + std::string(file.line); }
};

// The first line of a small file; empty when it cannot be read.
std::string first_line(const std::string& path)
{
    std::ifstream stream(path);
    std::string line;
    std::getline(stream, line);
    return line;
}

// Longer content is cut only after the new one is there: a reader always finds something.
ssize_t replace(int fd, std::string_view text)
{
    struct stat info {};
    if (fstat(fd, &info) != 0)
        return -errno;
    const bool plain = S_ISREG(info.st_mode);
    const ssize_t taken =
        plain ? pwrite(fd, text.data(), text.size(), 0) : ::write(fd, text.data(), text.size());
    if (taken < 0 || (plain && info.st_size > taken && ftruncate(fd, taken) != 0))
        return -errno;
    return taken;
}

int set(int fd, std::string_view text)
{
    const ssize_t taken = replace(fd, text);
    if (taken < 0)
        return static_cast<int>(taken);
    return static_cast<std::size_t>(taken) == text.size() ? 0 : -EIO;
}

int set_file(const std::string& path, int flags, std::string_view text)
{
    const Descriptor file(open(path.c_str(), O_WRONLY | O_CLOEXEC | flags, 0644));
    return file ? set(file.get(), text) : -errno;
}

bool on_a_chip(const std::string& directory, int number)
{
    std::error_code error;
    for (fs::directory_iterator entry(directory, error), end; !error && entry != end;
         entry.increment(error)) {
        const std::string chip = entry->path().string();
        if (!entry->path().filename().string().starts_with("gpiochip"))
            continue;
        const auto base = parse_integer(first_line(chip + "/base"));
        const auto count = parse_integer(first_line(chip + "/ngpio"));
        if (base && count && number >= *base && std::int64_t{number} - *base < *count)
            return true;
    }
    return false;
}

bool bad_rows_told = false; // of "lines", which is read at each export

std::string_view level_at_export(const std::string& root, int number)
{
    const std::string path = root + "/lines";
    std::ifstream stream(path);
    const bool tell = !bad_rows_told;
    std::string_view found = "0\n";
    std::string text;
    for (int row = 1; std::getline(stream, text); ++row) {
        std::istringstream words(text.substr(0, text.find('#')));
        if ((words >> std::ws).eof())
            continue;
        int line = 0;
        int level = 0;
        if (!(words >> line >> level) || (level != 0 && level != 1) || !(words >> std::ws).eof()) {
            bad_rows_told = true;
            if (tell)
                qv_slog(4, "%s:%d: write 'NUMBER LEVEL', with level 0 or 1\n", path.c_str(), row);
        } else if (line == number) {
            found = level == 0 ? "0\n" : "1\n";
        }
    }
    return found;
}

// The directory appears complete: it is made under another name first.
int export_line(const Target& target, std::string_view word)
{
    const auto number = parse_integer(word);
    if (!number || !on_a_chip(target.directory(), *number))
        return -EINVAL;
    const std::string line = target.directory() + "gpio" + std::to_string(*number);
    std::error_code error;
    if (fs::exists(line, error))
        return -EBUSY;
    const std::string draft = target.directory() + ".gpio" + std::to_string(*number);
    fs::remove_all(draft, error); // left by a process that was killed
    fs::create_directory(draft, error);
    const std::array<std::pair<const char*, std::string_view>, 4> files = {{
        {"/value", level_at_export(target.root, *number)},
        {"/direction", "in\n"},
        {"/edge", "none\n"},
        {"/active_low", "0\n"},
    }};
    int result = -error.value();
    for (const auto& [name, content] : files) {
        if (result == 0)
            result = set_file(draft + name, O_CREAT, content);
    }
    if (result == 0 && rename(draft.c_str(), line.c_str()) != 0)
        result = -errno;
    if (result != 0)
        fs::remove_all(draft, error);
    return result;
}

int unexport_line(const Target& target, std::string_view word)
{
    const auto number = parse_integer(word);
    const std::string line = target.directory() + "gpio" + std::to_string(number.value_or(-1));
    std::error_code error;
    if (!number || !fs::exists(line, error))
        return -EINVAL;
    fs::remove_all(line, error);
    return -error.value();
}

int set_direction(const Target& target, std::string_view word)
{
    const auto* const found =
        std::find_if(direction_words.begin(), direction_words.end(),
                     [word](const DirectionWord& known) { return known.word == word; });
    if (found == direction_words.end())
        return -EINVAL;
    if (!found->value.empty()) {
        if (const int result = set_file(target.line() + "/value", 0, found->value); result != 0)
            return result;
    }
    return set(target.fd, found->direction);
}

int set_value(const Target& target, std::string_view word)
{
    if (first_line(target.line() + "/direction") != "out")
        return -EPERM;
    const auto level = parse_integer(word);
    if (!level)
        return -EINVAL;
    return set(target.fd, *level == 0 ? "0\n" : "1\n");
}

int set_edge(const Target& target, std::string_view word)
{
    if (std::find(edge_words.begin(), edge_words.end(), word) == edge_words.end())
        return -EINVAL;
    return set(target.fd, std::string(word) + "\n");
}

struct Reaction {
    GpioFile::Kind kind;
    int (*write)(const Target& target, std::string_view word);
};

constexpr std::array<Reaction, 5> reactions = {{
    {GpioFile::Kind::export_line, export_line},
    {GpioFile::Kind::unexport_line, unexport_line},
    {GpioFile::Kind::direction, set_direction},
    {GpioFile::Kind::value, set_value},
    {GpioFile::Kind::edge, set_edge},
}};

// 0 when a command can be written to that descriptor.
int check(const Target& target)
{
    const int flags = fcntl(target.fd, F_GETFL);
    if (flags < 0 || (flags & O_ACCMODE) == O_RDONLY)
        return -EBADF;
    struct stat info {};
    if (fstat(target.fd, &info) != 0)
        return -errno;
    return info.st_nlink == 0 ? -ENODEV : 0;
}

} // namespace

ssize_t write(const std::string& root, std::string_view path, int fd, std::string_view text)
{
    const Target target{root, gpio_file(path), fd};
    const auto* const reaction =
        std::find_if(reactions.begin(), reactions.end(),
                     [&](const Reaction& candidate) { return candidate.kind == target.file.kind; });
    if (reaction == reactions.end())
        return replace(fd, text);
    if (const int result = check(target); result != 0)
        return result;
    if (text.empty())
        return 0; // the kernel does not show it to the attribute
    const int result = reaction->write(target, written_word(text));
    return result != 0 ? result : static_cast<ssize_t>(text.size());
}

} // namespace host::board

// SPDX-License-Identifier: MIT
#include "host/board/board.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <memory>

#include "host/base/descriptor.h"
#include "host/base/integer.h"
#include "host/base/text_file.h"
#include "host/board/gpio_file.h"

namespace host {
namespace {

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
    BoardWires& wires;
    GpioFile file;
    int fd;

    std::string directory() const { return root + std::string(gpio_directory); }
    std::string line() const { return directory() + "gpio" + std::string(file.line); }
};

// The first line of a small file; empty when it cannot be read, or is a pipe for instance.
std::string first_line(const std::string& path)
{
    const std::string text = read_text(path).value_or("");
    return text.substr(0, text.find('\n'));
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
    const Descriptor file(open(path.c_str(), O_WRONLY | O_CLOEXEC | O_NONBLOCK | flags, 0644));
    return file ? set(file.get(), text) : -errno;
}

bool exists(const std::string& path)
{
    return access(path.c_str(), F_OK) == 0;
}

// Calls `visit` with each name in a directory until it returns true; whether it did.
template <typename Visit>
bool find_in(const std::string& directory, Visit visit)
{
    const std::unique_ptr<DIR, int (*)(DIR*)> stream(opendir(directory.c_str()), closedir);
    while (const dirent* const entry = stream ? readdir(stream.get()) : nullptr) {
        const std::string_view name = entry->d_name;
        if (name != "." && name != ".." && visit(name))
            return true;
    }
    return false;
}

// Removes a line's directory with what somebody may have laid beside its files: 0 or -errno.
int remove_line(const std::string& directory)
{
    find_in(directory, [&](std::string_view name) {
        unlink((directory + "/").append(name).c_str());
        return false;
    });
    return rmdir(directory.c_str()) == 0 || errno == ENOENT ? 0 : -errno;
}

bool on_a_chip(const std::string& directory, int number)
{
    return find_in(directory, [&](std::string_view name) {
        if (!name.starts_with("gpiochip"))
            return false;
        const std::string chip = directory + std::string(name);
        const auto base = parse_integer(first_line(chip + "/base"));
        const auto count = parse_integer(first_line(chip + "/ngpio"));
        return base && count && number >= *base && std::int64_t{number} - *base < *count;
    });
}

// The directory appears complete: it is made under another name first.
int export_line(const Target& target, std::string_view word)
{
    std::int32_t number = 0;
    if (const int wrong = read_kernel_number(word, number); wrong != 0)
        return wrong;
    if (!on_a_chip(target.directory(), number))
        return -EINVAL;
    const std::string line = target.directory() + "gpio" + std::to_string(number);
    if (exists(line))
        return -EBUSY;
    const std::string draft = target.directory() + ".gpio" + std::to_string(number);
    remove_line(draft); // left by a process that was killed
    const std::array<std::pair<const char*, std::string_view>, 4> files = {{
        {"/value", target.wires.level(number)},
        {"/direction", "in\n"},
        {"/edge", "none\n"},
        {"/active_low", "0\n"},
    }};
    int result = mkdir(draft.c_str(), 0755) == 0 ? 0 : -errno;
    for (const auto& [name, content] : files) {
        if (result == 0)
            result = set_file(draft + name, O_CREAT, content);
    }
    if (result == 0 && rename(draft.c_str(), line.c_str()) != 0)
        result = -errno;
    if (result != 0)
        remove_line(draft);
    return result;
}

int unexport_line(const Target& target, std::string_view word)
{
    std::int32_t number = 0;
    if (const int wrong = read_kernel_number(word, number); wrong != 0)
        return wrong;
    const std::string line = target.directory() + "gpio" + std::to_string(number);
    if (!exists(line))
        return -EINVAL;
    // Nothing is left to read for those that have it open.
    if (truncate((line + "/value").c_str(), 0) != 0 && errno != ENOENT)
        return -errno;
    return remove_line(line);
}

bool is_output(const Target& target)
{
    return first_line(target.line() + "/direction") == "out";
}

// What `value` reads at that level of the wire.
std::string_view shown(const Target& target, std::string_view wire)
{
    if (first_line(target.line() + "/active_low") != "1")
        return wire;
    return wire == "0\n" ? "1\n" : "0\n";
}

int set_direction(const Target& target, std::string_view word)
{
    const auto* const found =
        std::find_if(direction_words.begin(), direction_words.end(),
                     [word](const DirectionWord& known) { return known.word == word; });
    if (found == direction_words.end())
        return -EINVAL;
    std::string_view wire = found->value;
    std::int32_t number = 0;
    if (wire.empty() && is_output(target) && read_kernel_number(target.file.line, number) == 0)
        wire = target.wires.level(number);
    if (!wire.empty()) {
        const int result = set_file(target.line() + "/value", 0, shown(target, wire));
        if (result != 0)
            return result;
    }
    return set(target.fd, found->direction);
}

int set_value(const Target& target, std::string_view word)
{
    if (!is_output(target))
        return -EPERM;
    std::int32_t level = 0;
    if (const int wrong = read_kernel_number(word, level); wrong != 0)
        return wrong;
    return set(target.fd, level == 0 ? "0\n" : "1\n");
}

int set_edge(const Target& target, std::string_view word)
{
    if (std::find(edge_words.begin(), edge_words.end(), word) == edge_words.end())
        return -EINVAL;
    const std::string present = first_line(target.line() + "/edge");
    if (word == present || word == "none" || !is_output(target))
        return set(target.fd, std::string(word) + "\n");
    const int result = set(target.fd, "none\n"); // the old one goes before the new one is refused
    return result != 0 ? result : -EIO;
}

int set_active_low(const Target& target, std::string_view word)
{
    std::int32_t inverted = 0;
    if (const int wrong = read_kernel_number(word, inverted); wrong != 0)
        return wrong;
    const std::string wanted = inverted == 0 ? "0" : "1";
    if (first_line(target.line() + "/active_low") != wanted) {
        const std::string value = target.line() + "/value";
        const int result = set_file(value, 0, first_line(value) == "0" ? "1\n" : "0\n");
        if (result != 0)
            return result;
    }
    return set(target.fd, wanted + "\n");
}

struct Reaction {
    GpioFile::Kind kind;
    int (*write)(const Target& target, std::string_view word);
};

constexpr std::array<Reaction, 6> reactions = {{
    {GpioFile::Kind::export_line, export_line},
    {GpioFile::Kind::unexport_line, unexport_line},
    {GpioFile::Kind::direction, set_direction},
    {GpioFile::Kind::value, set_value},
    {GpioFile::Kind::edge, set_edge},
    {GpioFile::Kind::active_low, set_active_low},
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

ssize_t Board::write(std::string_view path, int fd, std::string_view text)
{
    const Target target{root_, wires_, gpio_file(path), fd};
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

int Board::check_open(std::string_view path, int flags)
{
    using Kind = GpioFile::Kind;
    const Kind kind = gpio_file(path).kind;
    const int mode = flags & O_ACCMODE;
    const bool write_only = kind == Kind::export_line || kind == Kind::unexport_line;
    const bool refused = write_only ? mode != O_WRONLY : kind == Kind::chip && mode != O_RDONLY;
    return refused ? -EACCES : 0;
}

} // namespace host

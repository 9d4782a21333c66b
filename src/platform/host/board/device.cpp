// SPDX-License-Identifier: MIT
#include "ap/device.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "host/board/board.h"
#include "host/board/gpio_file.h"
#include "host/host/host.h"

namespace host {
namespace {

// Flags that could create a file; a board has the files it has.
constexpr int creating_flags = O_CREAT | O_EXCL | (O_TMPFILE & ~O_DIRECTORY);

// A device does not care how its file was opened, a plain file does.
constexpr int plain_file_flags = O_TRUNC | O_APPEND;

// The board paths of the open descriptors: a write knows its descriptor only.
std::map<int, std::string>& open_paths()
{
    static std::map<int, std::string> paths;
    return paths;
}

// The path on the board in its plain form; none, and errno, when it is not acceptable.
std::optional<std::string> board_path(const char* path)
{
    if (path == nullptr) {
        errno = EFAULT;
        return std::nullopt;
    }
    std::string plain;
    std::string_view rest = path;
    bool acceptable = rest.starts_with('/');
    while (!rest.empty()) {
        const std::string_view component = rest.substr(0, rest.find('/'));
        rest.remove_prefix(std::min(component.size() + 1, rest.size()));
        acceptable = acceptable && component != "..";
        if (!component.empty() && component != ".")
            plain.append("/").append(component);
    }
    if (!acceptable) {
        errno = EINVAL;
        return std::nullopt;
    }
    return plain.empty() ? "/" : plain;
}

bool is_emulated()
{
    return !instance().settings.board_root.empty();
}

std::string machine_path(const char* given, const std::string& path)
{
    return is_emulated() ? instance().settings.board_root + path : std::string(given);
}

// The journal's word for a GPIO file; null for other files.
const char* journal_word(GpioFile::Kind kind)
{
    using Kind = GpioFile::Kind;
    constexpr std::array<std::pair<Kind, const char*>, 5> words = {{
        {Kind::export_line, "export"},
        {Kind::unexport_line, "unexport"},
        {Kind::direction, "pin"},
        {Kind::value, "value"},
        {Kind::edge, "edge"},
    }};
    for (const auto& [known, word] : words) {
        if (known == kind)
            return word;
    }
    return nullptr;
}

void note(const std::string& path, std::string_view text)
{
    Journal& journal = instance().journal;
    const GpioFile file = gpio_file(path);
    std::string_view word = written_word(text).substr(0, Journal::line_length);
    std::int32_t level = 0;
    if (file.kind == GpioFile::Kind::value) // it was taken: any number but 0 is high
        word = read_kernel_number(word, level) == 0 && level == 0 ? "0" : "1";
    const int length = static_cast<int>(word.size());
    const char* const verb = journal_word(file.kind);
    if (verb == nullptr)
        journal.write("file %s %.*s", path.c_str(), length, word.data());
    else if (file.line.empty())
        journal.write("%s %.*s", verb, length, word.data());
    else
        journal.write("%s %.*s %.*s", verb, static_cast<int>(file.line.size()), file.line.data(),
                      length, word.data());
}

} // namespace
} // namespace host

int device_open(const char* path, int flags)
{
    const auto plain = host::board_path(path);
    if (!plain)
        return -1;
    flags = (flags & ~host::creating_flags) | O_CLOEXEC;
    if (host::is_emulated()) {
        flags &= ~host::plain_file_flags;
        if (const int refused = host::board::check_open(*plain, flags); refused != 0) {
            errno = -refused;
            return -1;
        }
    }
    const int fd = open(host::machine_path(path, *plain).c_str(), flags);
    if (fd >= 0)
        host::open_paths()[fd] = *plain;
    return fd;
}

ssize_t device_write(int fd, const void* data, size_t length)
{
    const auto opened = host::open_paths().find(fd);
    if (opened == host::open_paths().end()) {
        errno = EBADF;
        return -1;
    }
    const std::string_view text(static_cast<const char*>(data), length);
    ssize_t taken = -1;
    if (host::is_emulated()) {
        taken = host::board::write(host::instance().settings.board_root, opened->second, fd, text);
        if (taken < 0) {
            errno = static_cast<int>(-taken);
            return -1;
        }
    } else {
        taken = write(fd, data, length);
    }
    if (taken > 0) {
        const int error = errno;
        host::note(opened->second, text.substr(0, static_cast<std::size_t>(taken)));
        errno = error;
    }
    return taken;
}

int device_close(int fd)
{
    host::open_paths().erase(fd);
    return close(fd);
}

int device_exists(const char* path)
{
    const auto plain = host::board_path(path);
    return plain && access(host::machine_path(path, *plain).c_str(), F_OK) == 0 ? 1 : 0;
}

// SPDX-License-Identifier: MIT
#include "host/board/devices.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <utility>

#include "host/board/gpio_file.h"

namespace host {
namespace {

// Flags that could create a file; a board has the files it has.
constexpr int creating_flags = O_CREAT | O_EXCL | (O_TMPFILE & ~O_DIRECTORY);

// A device does not care how its file was opened, a plain file does.
constexpr int plain_file_flags = O_TRUNC | O_APPEND;

// A pipe in a device's place waits for its other end, in open() and in write(), a device does not:
// it sees the flags as they are.
int with_no_wait_for_a_pipe(const std::string& path, int flags)
{
    struct stat info {};
    return stat(path.c_str(), &info) == 0 && S_ISFIFO(info.st_mode) ? flags | O_NONBLOCK : flags;
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

} // namespace

Devices::Devices(const std::string& board_root, Journal& journal, Log& log) : journal_(journal)
{
    if (!board_root.empty())
        board_.emplace(board_root, log);
}

std::string Devices::machine_path(const char* given, const std::string& path) const
{
    return board_ ? board_->root() + path : std::string(given);
}

void Devices::note(const std::string& path, std::string_view text)
{
    const GpioFile file = gpio_file(path);
    std::string_view word = written_word(text).substr(0, Journal::line_length);
    std::int32_t level = 0;
    if (file.kind == GpioFile::Kind::value) // it was taken: any number but 0 is high
        word = read_kernel_number(word, level) == 0 && level == 0 ? "0" : "1";
    const int length = static_cast<int>(word.size());
    const char* const verb = journal_word(file.kind);
    if (verb == nullptr)
        journal_.write("file %s %.*s", path.c_str(), length, word.data());
    else if (file.line.empty())
        journal_.write("%s %.*s", verb, length, word.data());
    else
        journal_.write("%s %.*s %.*s", verb, static_cast<int>(file.line.size()), file.line.data(),
                       length, word.data());
}

int Devices::open(const char* path, int flags)
{
    const auto plain = board_path(path);
    if (!plain)
        return -1;
    flags = (flags & ~creating_flags) | O_CLOEXEC;
    if (board_) {
        flags &= ~plain_file_flags;
        if (const int refused = Board::check_open(*plain, flags); refused != 0) {
            errno = -refused;
            return -1;
        }
    }
    const std::string file = machine_path(path, *plain);
    const int fd = ::open(file.c_str(), with_no_wait_for_a_pipe(file, flags));
    if (fd >= 0)
        open_paths_[fd] = *plain;
    return fd;
}

ssize_t Devices::write(int fd, std::string_view text)
{
    const auto opened = open_paths_.find(fd);
    if (opened == open_paths_.end()) {
        errno = EBADF;
        return -1;
    }
    ssize_t taken = -1;
    if (board_) {
        taken = board_->write(opened->second, fd, text);
        if (taken < 0) {
            errno = static_cast<int>(-taken);
            return -1;
        }
    } else {
        taken = ::write(fd, text.data(), text.size());
    }
    if (taken > 0) {
        const int error = errno;
        note(opened->second, text.substr(0, static_cast<std::size_t>(taken)));
        errno = error;
    }
    return taken;
}

int Devices::close(int fd)
{
    open_paths_.erase(fd);
    return ::close(fd);
}

bool Devices::exists(const char* path) const
{
    const auto plain = board_path(path);
    return plain && access(machine_path(path, *plain).c_str(), F_OK) == 0;
}

} // namespace host

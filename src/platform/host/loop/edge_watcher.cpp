// SPDX-License-Identifier: MIT
#include "host/loop/edge_watcher.h"

#include <fcntl.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <optional>
#include <string_view>
#include <utility>

namespace host {
namespace {

// Reads of the notifier for each wake-up; a flood of changes waits for the next one.
constexpr int reads_per_turn = 8;

constexpr char unknown_level = '?';

struct EdgeRule {
    std::string_view word;
    bool rising;
    bool falling;
};

constexpr std::array<EdgeRule, 4> edge_rules = {{
    {"none", false, false},
    {"rising", true, false},
    {"falling", false, true},
    {"both", true, true},
}};

// The file's first word of a few letters; none when it cannot be read or is empty, as a file is
// in the middle of being written anew.
std::optional<std::string> first_word(const std::string& path)
{
    const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    std::array<char, 16> text;
    const ssize_t length = file ? pread(file.get(), text.data(), text.size(), 0) : -1;
    if (length <= 0)
        return std::nullopt;
    const std::string_view all(text.data(), static_cast<std::size_t>(length));
    return std::string(all.substr(0, all.find('\n')));
}

char level_of(const std::string& path)
{
    const std::optional<std::string> word = first_word(path);
    return word == "0" || word == "1" ? word->front() : unknown_level;
}

bool matches(const std::string& edge_path, bool rising)
{
    const std::optional<std::string> word = first_word(edge_path);
    return std::any_of(edge_rules.begin(), edge_rules.end(), [&](const EdgeRule& rule) {
        return word == rule.word && (rising ? rule.rising : rule.falling);
    });
}

// The path of an open file; empty when it has none that fits.
std::string path_of(int fd)
{
    std::array<char, PATH_MAX> path;
    const std::string link = "/proc/self/fd/" + std::to_string(fd);
    const ssize_t length = readlink(link.c_str(), path.data(), path.size());
    if (length <= 0 || static_cast<std::size_t>(length) == path.size())
        return {};
    return {path.data(), static_cast<std::size_t>(length)};
}

} // namespace

int EdgeWatcher::add(int fd)
{
    const std::string value_path = path_of(fd);
    const std::size_t slash = value_path.rfind('/');
    if (slash == std::string::npos)
        return -ENOENT;
    const std::string directory = value_path.substr(0, slash);
    const std::string edge_path = directory + "/edge";
    if (access(edge_path.c_str(), F_OK) != 0)
        return -EPERM;

    Descriptor fresh;
    if (!notifier_) {
        fresh = Descriptor(inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
        if (!fresh)
            return -errno;
    }
    // The directory, not the file: a program may put a new file in the place of the old one.
    const int watch = inotify_add_watch((fresh ? fresh : notifier_).get(), directory.c_str(),
                                        IN_MODIFY | IN_CREATE | IN_MOVED_TO);
    if (watch < 0)
        return -errno;
    if (fresh)
        notifier_ = std::move(fresh);
    std::erase_if(lines_, [fd](const Line& line) { return line.fd == fd; });
    lines_.push_back({fd, watch, value_path, edge_path, level_of(value_path)});
    return 0;
}

void EdgeWatcher::remove(int fd)
{
    const auto line = std::find_if(lines_.begin(), lines_.end(),
                                   [fd](const Line& candidate) { return candidate.fd == fd; });
    if (line == lines_.end())
        return;
    const int watch = line->watch;
    lines_.erase(line);
    const bool shared = std::any_of(lines_.begin(), lines_.end(),
                                    [watch](const Line& other) { return other.watch == watch; });
    if (!shared)
        inotify_rm_watch(notifier_.get(), watch); // fails when the directory is gone: as well
}

void EdgeWatcher::collect(std::vector<int>& changed)
{
    // What exactly happened does not matter, and after an overflow it is not told: the levels
    // are what counts, and there are few lines.
    alignas(inotify_event) std::array<char, 4096> events;
    for (int i = 0; i < reads_per_turn; ++i) {
        if (read(notifier_.get(), events.data(), events.size()) <= 0)
            break;
    }
    for (Line& line : lines_) {
        const char level = level_of(line.value_path);
        if (level == unknown_level || level == line.level)
            continue;
        const bool known = line.level != unknown_level;
        line.level = level;
        if (known && matches(line.edge_path, level == '1'))
            changed.push_back(line.fd);
    }
}

} // namespace host

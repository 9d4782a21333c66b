// SPDX-License-Identifier: MIT
#include "host/shell/config_watch.h"

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "ap/config.h"
#include "ap/output.h"
#include "host/base/printable.h"
#include "host/config/configuration.h"
#include "host/shell/shell.h"

namespace host {
namespace {

constexpr std::size_t longest_shown_value = 160;
constexpr std::size_t longest_text = 4096; // of one delivery: a ready pipe or terminal takes it

// The integer of the record, which belongs to its own write; else the text that is there now.
std::string change_line(const config_data_t& record)
{
    const std::string key = printable(record.key);
    if (record.data != nullptr)
        return "set " + key + " " + std::to_string(*static_cast<const std::int32_t*>(record.data));
    std::string_view value;
    if (config_read(record.key, value) != 0)
        return "del " + key;
    return "set " + key + " " + printable(value, longest_shown_value);
}

void write_or_drop(int fd, std::string_view text)
{
    if (fd >= 0 &&
        (send(fd, text.data(), text.size(), MSG_DONTWAIT | MSG_NOSIGNAL) >= 0 || errno != ENOTSOCK))
        return;
    pollfd receiver{fd >= 0 ? fd : STDOUT_FILENO, POLLOUT, 0};
    if (poll(&receiver, 1, 0) != 1 || (receiver.revents & POLLOUT) == 0)
        return;
    // A receiver that is gone is noticed by whoever reads from it.
    [[maybe_unused]] const ssize_t written = write(receiver.fd, text.data(), text.size());
}

void show_changes(unsigned int count, const config_data_t* records, void* user)
{
    const auto& shell = *static_cast<const qv_cshell*>(user);
    std::string current = std::string(shell.name) + "> ";
    const std::size_t prompt_width = current.size();
    shell.editor.draw(current);
    const std::size_t width = prompt_width + shell.editor.typed().size();

    std::string text = "\r";
    for (unsigned int i = 0; i < count; ++i) {
        std::string line = change_line(records[i]);
        if (i == 0 && line.size() < width)
            line.append(width - line.size(), ' '); // over the prompt that stood there
        if (text.size() + line.size() + current.size() + 2 > longest_text)
            break;
        text += line + "\r\n";
    }
    write_or_drop(shell.watch_fd, text + current);
}

} // namespace

int watch_key(qv_cshell& shell, const std::string& key)
{
    if (std::find(shell.watched.begin(), shell.watched.end(), key) != shell.watched.end())
        return -EEXIST;
    if (shell.watched.size() >= most_watches)
        return -ENOSPC;
    if (const int error = config_change_register(key.c_str(), show_changes, &shell); error != 0)
        return error;
    shell.watched.push_back(key);
    shell.watch_fd = fdloop_telnet_get_fd();
    return 0;
}

int unwatch_key(qv_cshell& shell, const std::string& key)
{
    const auto found = std::find(shell.watched.begin(), shell.watched.end(), key);
    if (found == shell.watched.end())
        return -ENOENT;
    shell.watched.erase(found);
    return config_change_deregister(key.c_str(), show_changes, &shell);
}

void unwatch_all(qv_cshell& shell)
{
    for (const std::string& key : shell.watched)
        config_change_deregister(key.c_str(), show_changes, &shell);
    shell.watched.clear();
}

} // namespace host

// SPDX-License-Identifier: MIT
#include "host/shell/config_watch.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "ap/output.h"
#include "host/base/outlet.h"
#include "host/base/printable.h"

namespace host {
namespace {

constexpr std::size_t longest_shown_value = 160;
constexpr std::size_t longest_text = 4096; // of one delivery

} // namespace

ConfigWatch::~ConfigWatch()
{
    for (const std::string& key : keys_)
        config_.unfollow(key, show_changes, this);
}

// The integer of the record, which belongs to its own write; else the text that is there now.
std::string ConfigWatch::change_line(const config_data_t& record) const
{
    const std::string key = printable(record.key);
    if (record.data != nullptr)
        return "set " + key + " " + std::to_string(*static_cast<const std::int32_t*>(record.data));
    std::string_view value;
    if (config_.read(record.key, value) != 0)
        return "del " + key;
    return "set " + key + " " + printable(value, longest_shown_value);
}

void ConfigWatch::show_changes(unsigned int count, const config_data_t* records, void* self)
{
    const auto& watch = *static_cast<const ConfigWatch*>(self);
    const bool above_prompt = !watch.listing_ || !watch.listing_->running();
    std::string current;
    std::size_t width = 0;
    std::string text;
    if (above_prompt) {
        current = std::string(watch.prompt_) + "> ";
        width = current.size() + watch.editor_.typed().size();
        watch.editor_.draw(current);
        text = "\r";
    }
    for (unsigned int i = 0; i < count; ++i) {
        std::string line = watch.change_line(records[i]);
        if (i == 0 && line.size() < width)
            line.append(width - line.size(), ' '); // over the prompt that stood there
        if (text.size() + line.size() + current.size() + 2 > longest_text)
            break;
        text += line + "\r\n";
    }
    // A receiver that is gone is noticed by whoever reads from it.
    if (above_prompt)
        write_ready(watch.fd_ >= 0 ? watch.fd_ : STDOUT_FILENO, text + current);
    else
        watch.listing_->insert(text);
}

int ConfigWatch::add(const std::string& key)
{
    if (std::find(keys_.begin(), keys_.end(), key) != keys_.end())
        return -EEXIST;
    if (keys_.size() >= most)
        return -ENOSPC;
    if (const int error = check_key(key); error != 0)
        return error;
    if (const int error = config_.follow(key, show_changes, this); error != 0)
        return error;
    keys_.push_back(key);
    fd_ = fdloop_telnet_get_fd();
    return 0;
}

int ConfigWatch::remove(const std::string& key)
{
    const auto found = std::find(keys_.begin(), keys_.end(), key);
    if (found == keys_.end())
        return -ENOENT;
    keys_.erase(found);
    return config_.unfollow(key, show_changes, this);
}

} // namespace host

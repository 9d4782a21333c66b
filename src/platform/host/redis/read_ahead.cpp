// SPDX-License-Identifier: MIT
#include "host/redis/read_ahead.h"

#include <algorithm>
#include <utility>

namespace host {
namespace {

constexpr std::size_t most_causes = 64;
constexpr std::size_t most_keys = 8; // for one of them

const std::vector<std::string> nothing;

} // namespace

const std::vector<std::string>& ReadAhead::begin(const std::string& cause)
{
    kept_.clear();
    habit_ = nullptr;
    if (!habits_.contains(cause) && habits_.size() >= most_causes)
        return nothing;
    habit_ = &habits_[cause];
    begun_now_ = true;
    return *habit_;
}

const ReadAhead::Answer* ReadAhead::read(std::string_view key)
{
    const auto found = kept_.find(key);
    if (found != kept_.end())
        return &found->second;
    if (habit_ != nullptr && habit_->size() < most_keys &&
        std::find(habit_->begin(), habit_->end(), key) == habit_->end())
        habit_->emplace_back(key);
    return nullptr;
}

void ReadAhead::forget(std::string_view key)
{
    const auto found = kept_.find(key);
    if (found != kept_.end())
        kept_.erase(found);
}

void ReadAhead::stop()
{
    kept_.clear();
    habit_ = nullptr;
    begun_now_ = false;
}

void ReadAhead::callback_ended()
{
    if (!std::exchange(begun_now_, false))
        stop();
}

} // namespace host

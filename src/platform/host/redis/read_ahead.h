// SPDX-License-Identifier: MIT
// Saves the reads that follow a change their round trips. Callbacks read the same few keys each
// time a certain key changes: what they read last time is asked for together with the change's
// own value, and kept for that one delivery.
//
// A kept value is as new as the change itself. It is forgotten when this process writes its key,
// and when the callbacks have run.
#pragma once

#include <map>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace host {

class ReadAhead {
public:
    struct Answer {
        int result; // as of Store::read()
        std::string value;
    };

    // A delivery is about to happen, of changes that `cause` stands for; the keys to be asked.
    const std::vector<std::string>& begin(const std::string& cause);
    void keep(const std::string& key, Answer answer) { kept_[key] = std::move(answer); }

    // Null when the server has to be asked. Notes the key for the next time.
    const Answer* read(std::string_view key);

    void forget(std::string_view key);
    void stop(); // the delivery is not the next callback's after all

    // To be called at the end of each callback of the loop: the first one has begun the delivery,
    // the second was the delivery.
    void callback_ended();

private:
    std::map<std::string, std::vector<std::string>, std::less<>> habits_; // by cause
    std::map<std::string, Answer, std::less<>> kept_;
    std::vector<std::string>* habit_ = nullptr; // of the delivery that goes on
    bool begun_now_ = false;
};

} // namespace host

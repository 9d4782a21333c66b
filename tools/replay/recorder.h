// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

#include "story.h"
#include "terminal.h"

namespace replay {

// Understands what the daemon does and tells it to the listeners.
class Recorder : public Witness {
public:
    // All must outlive the recorder.
    Recorder(const power_man::Model& model, std::vector<Listener*> listeners);

    void started();
    void row(std::int64_t now, const Row& row);
    void ended(std::int64_t now);

    void evaluated(std::size_t sensor, const power_man::Evaluation& evaluation) override;
    void written(const host::Journal::Line& line) override;
    void settled() override;

    bool is_off(power_man::ConsumerIndex consumer) const { return consumers_[consumer].off; }

private:
    struct Held {
        bool off = false;
        Sensors by = 0;
    };

    struct Effect {
        std::int64_t time;
        std::string line;
    };

    void tell_effects(std::int64_t until);
    void tell(const Effect& effect);
    void cross(std::int64_t now, std::size_t sensor, power_man::Action action);
    void key_written(std::int64_t now, std::string_view key, std::string_view value);
    bool is_copy(std::string_view key) const;

    const power_man::Model& model_;
    std::vector<Listener*> listeners_;
    std::deque<Effect> effects_; // not told yet: the evaluation that they follow from comes behind
    std::array<Held, power_man::consumer_count> consumers_{};
};

} // namespace replay

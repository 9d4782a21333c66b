// SPDX-License-Identifier: MIT
// What the parts of a drawing and of the page write alike.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "output.h"

namespace replay {

inline constexpr int title_height = 22; // pixels

// Text as it may stand in a document, attributes too.
std::string escaped(std::string_view text);

// Milliseconds as seconds, with no more digits than needed.
std::string in_seconds(std::int64_t milliseconds);

// A title, `title_height` high.
void write_title(Output& output, int y, const std::string& text);

// Begins a drawing of class "plot": over the whole width, in units of seconds and those of `view`,
// its first value and how many there are. Attributes begin with a blank.
struct View {
    int first;
    int height;
};
void open_plot(Output& output, int y, int height, double seconds, View view,
               const std::string& attributes);

// Rectangles in a plot one unit high, in order of time: each from the one before, which is short,
// but now and then from the beginning, lest a reader with few digits should go astray.
class SpanPath {
public:
    void add(std::int64_t begin, std::int64_t end); // milliseconds

    const std::string& text() const { return path_; }

private:
    std::string path_;
    std::int64_t before_ = 0;
    std::size_t count_ = 0;
};

} // namespace replay

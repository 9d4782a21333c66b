// SPDX-License-Identifier: MIT
#include "markup.h"

#include "formatted.h"

namespace replay {
namespace {

constexpr std::size_t absolute_every = 16; // spans of a path

} // namespace

std::string escaped(std::string_view text)
{
    std::string result;
    for (const char c : text) {
        switch (c) {
        case '&':
            result += "&amp;";
            break;
        case '<':
            result += "&lt;";
            break;
        case '>':
            result += "&gt;";
            break;
        case '"':
            result += "&quot;";
            break;
        default: // a file's name may have any
            result += static_cast<unsigned char>(c) < ' ' ? '?' : c;
        }
    }
    return result;
}

// Milliseconds as seconds, with no more digits than needed.
std::string in_seconds(std::int64_t milliseconds)
{
    std::string text = std::to_string(milliseconds / 1000);
    if (const auto rest = milliseconds % 1000; rest != 0) {
        text += formatted(".%03d", static_cast<int>(rest));
        text.erase(text.find_last_not_of('0') + 1);
    }
    return text;
}

void write_title(Output& output, int y, const std::string& text)
{
    output << formatted("<text class=\"title\" y=\"%d\">", y + title_height - 7) << escaped(text)
           << "</text>\n";
}

void open_plot(Output& output, int y, int height, double seconds, View view,
               const std::string& attributes)
{
    output << formatted("<svg class=\"plot\" y=\"%d\" width=\"100%%\" height=\"%d\" "
                        "preserveAspectRatio=\"none\" viewBox=\"0 %d %.10g %d\"",
                        y, height, view.first, seconds, view.height)
           << attributes << ">\n";
}

void SpanPath::add(std::int64_t begin, std::int64_t end)
{
    const std::string length = in_seconds(end - begin);
    path_ += count_++ % absolute_every == 0 ? "M" + in_seconds(begin)
                                            : "m" + in_seconds(begin - before_);
    path_.append(" 0h").append(length).append("v1h-").append(length).append("z");
    before_ = begin;
}

} // namespace replay

// SPDX-License-Identifier: MIT
// The line editor: a terminal that shows its echo shows the line that is being typed.
//
// Code: src/platform/host/shell/line_editor.cpp
#include "fuzz.h"
#include "host/base/printable.h"
#include "host/shell/line_editor.h"

using fuzz::require;
using host::LineEditor;

namespace {

struct Screen {
    std::string cells; // of the last line
    std::size_t cursor = 0;

    void show(std::string_view echo)
    {
        for (const char c : echo) {
            if (c == '\b') {
                require(cursor-- > 0);
            } else if (c == '\n') {
                *this = {};
            } else if (c != '\a') {
                require(host::is_printable(c));
                cells.resize(std::max(cells.size(), cursor + 1));
                cells[cursor++] = c;
            }
        }
    }
};

void complete(std::string_view, std::string_view word, std::vector<std::string>& candidates)
{
    candidates = {"a.", "a.b", "config", "configure", "not\x1bprintable", "z"};
    if (word.starts_with('l') || word.starts_with('m'))
        candidates.assign(word == "l" ? 40 : 1, std::string(word) + std::string(250, 'o'));
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    LineEditor editor(complete);
    Screen screen;
    for (fuzz::Input input(data, size); !input.rest.empty();) {
        std::string echo;
        const LineEditor::Event event = editor.feed(input.take(1).front(), echo);
        require(echo.size() <= LineEditor::longest_echo);
        screen.show(echo);
        std::string drawn;
        editor.draw(drawn);
        if (event == LineEditor::Event::redraw)
            screen.show(drawn);
        const std::string& line = editor.typed();
        const std::size_t left = drawn.size() - line.size(); // from its end, to the cursor
        require(drawn == line + std::string(left, '\b') && screen.cursor == line.size() - left);
        require(screen.cells.substr(0, line.size()) == line);
        require(screen.cells.find_first_not_of(' ', line.size()) == std::string::npos);
        require(std::max(line.size(), editor.line().size()) <= LineEditor::longest_line);
    }
    return 0;
}

// SPDX-License-Identifier: MIT
#include "host/shell/line_editor.h"

#include <algorithm>
#include <utility>

#include "host/base/printable.h"

namespace host {
namespace {

constexpr char bell = '\a';
constexpr char escape = '\x1b';
constexpr char rubout = '\x7f';
constexpr std::size_t longest_listing = 1024; // of completions

constexpr char ctrl(char letter)
{
    return static_cast<char>(letter & 0x1f);
}

void back(std::size_t count, std::string& echo)
{
    echo.append(count, '\b');
}

std::size_t word_start(std::string_view line, std::size_t end)
{
    while (end > 0 && line[end - 1] != ' ')
        --end;
    return end;
}

std::string common_beginning(const std::vector<std::string>& words)
{
    std::string common = words.front();
    for (const std::string& word : words) {
        const auto differs = std::mismatch(common.begin(), common.end(), word.begin(), word.end());
        common.erase(differs.first, common.end());
    }
    return common;
}

void list(const std::vector<std::string>& words, std::string& echo)
{
    std::string text = "\n";
    for (const std::string& word : words) {
        if (text.size() + word.size() > longest_listing) {
            text += "...";
            break;
        }
        text += word + "  ";
    }
    echo += text + "\n";
}

} // namespace

LineEditor::Event LineEditor::feed(char byte, std::string& echo)
{
    if (std::exchange(after_return_, false) && (byte == '\n' || byte == '\0'))
        return Event::none; // the second half of a line end
    const auto code = static_cast<unsigned char>(byte);
    if (state_ != State::ground && code >= ' ') {
        sequence(byte, echo);
        return Event::none;
    }
    state_ = State::ground; // a control character breaks a sequence off
    if (!is_printable(byte))
        return control(byte, echo);
    insert(byte, echo);
    return Event::none;
}

LineEditor::Event LineEditor::control(char byte, std::string& echo)
{
    switch (byte) {
    case '\r':
        after_return_ = true;
        return finish(echo);
    case '\n':
        return finish(echo);
    case '\t':
        return complete(echo);
    case ctrl('C'):
        echo += "^C\n";
        start_afresh();
        return Event::cancelled;
    case ctrl('D'):
        if (line_.empty()) {
            echo += '\n';
            return Event::end;
        }
        erase(cursor_, cursor_ + 1, echo);
        break;
    case '\b':
    case rubout:
        if (cursor_ > 0)
            erase(cursor_ - 1, cursor_, echo);
        break;
    case ctrl('A'):
        move_to(0, echo);
        break;
    case ctrl('E'):
        move_to(line_.size(), echo);
        break;
    case ctrl('K'):
        erase(cursor_, line_.size(), echo);
        break;
    case ctrl('U'):
        erase(0, cursor_, echo);
        break;
    case ctrl('W'):
        erase_word(echo);
        break;
    case escape:
        state_ = State::escape;
        break;
    default:
        break;
    }
    return Event::none;
}

// Behind ESC: "[", parameters, a final letter; or "O" and a letter.
void LineEditor::sequence(char byte, std::string& echo)
{
    if (state_ == State::escape) {
        parameter_ = 0;
        state_ = byte == '[' ? State::bracket : byte == 'O' ? State::letter : State::ground;
        return;
    }
    if (state_ == State::bracket && byte >= ' ' && byte < '@') {
        if (byte >= '0' && byte <= '9')
            parameter_ = std::min(parameter_ * 10 + (byte - '0'), 999);
        return;
    }
    state_ = State::ground;
    key(byte, echo);
}

void LineEditor::key(char byte, std::string& echo)
{
    if (byte == '~') { // the numbered keys: 1 and 7 home, 3 delete, 4 and 8 end
        constexpr std::string_view letters = ".H.~F..HF";
        const auto number = static_cast<std::size_t>(parameter_);
        byte = number < letters.size() ? letters[number] : '.';
    }
    switch (byte) {
    case 'A':
    case 'B':
        browse(byte == 'A', echo);
        break;
    case 'C':
        move_to(std::min(cursor_ + 1, line_.size()), echo);
        break;
    case 'D':
        move_to(cursor_ > 0 ? cursor_ - 1 : 0, echo);
        break;
    case 'H':
        move_to(0, echo);
        break;
    case 'F':
        move_to(line_.size(), echo);
        break;
    case '~':
        erase(cursor_, std::min(cursor_ + 1, line_.size()), echo);
        break;
    default:
        break;
    }
}

void LineEditor::insert(char byte, std::string& echo)
{
    if (line_.size() >= longest_line) {
        if (!std::exchange(overflow_, true))
            echo += bell;
        return;
    }
    line_.insert(cursor_, 1, byte);
    echo.append(line_, cursor_);
    ++cursor_;
    back(line_.size() - cursor_, echo);
}

// Takes out the characters from `from` up to `to`, and leaves the cursor there.
void LineEditor::erase(std::size_t from, std::size_t to, std::string& echo)
{
    to = std::min(to, line_.size());
    if (from >= to)
        return;
    move_to(from, echo);
    const std::size_t count = to - from;
    line_.erase(from, count);
    echo.append(line_, from);
    echo.append(count, ' ');
    back(line_.size() - from + count, echo);
    overflow_ = false;
}

void LineEditor::move_to(std::size_t place, std::string& echo)
{
    if (place < cursor_)
        back(cursor_ - place, echo);
    else
        echo.append(line_, cursor_, place - cursor_);
    cursor_ = place;
}

void LineEditor::replace(const std::string& text, std::string& echo)
{
    move_to(0, echo);
    const std::size_t surplus = line_.size() > text.size() ? line_.size() - text.size() : 0;
    echo += text;
    echo.append(surplus, ' ');
    back(surplus, echo);
    line_ = text;
    cursor_ = text.size();
    overflow_ = false;
}

void LineEditor::erase_word(std::string& echo)
{
    std::size_t end = cursor_;
    while (end > 0 && line_[end - 1] == ' ')
        --end;
    erase(word_start(line_, end), cursor_, echo);
}

void LineEditor::browse(bool older, std::string& echo)
{
    if (older ? browsed_ == history_.size() : browsed_ == 0) {
        echo += bell;
        return;
    }
    if (browsed_ == 0)
        draft_ = line_;
    browsed_ = older ? browsed_ + 1 : browsed_ - 1;
    replace(browsed_ == 0 ? draft_ : history_[history_.size() - browsed_], echo);
}

LineEditor::Event LineEditor::complete(std::string& echo)
{
    const std::size_t start = word_start(line_, cursor_);
    const std::string word = line_.substr(start, cursor_ - start);
    std::vector<std::string> candidates;
    if (complete_ != nullptr)
        complete_(std::string_view(line_).substr(0, start), word, candidates);
    // Names come from a database: what cannot be typed is not offered.
    std::erase_if(candidates, [&](const std::string& candidate) {
        return !candidate.starts_with(word) ||
               !std::all_of(candidate.begin(), candidate.end(), is_printable);
    });
    if (candidates.empty()) {
        echo += bell;
        return Event::none;
    }
    std::string rest = common_beginning(candidates).substr(word.size());
    if (candidates.size() == 1 && !candidates.front().ends_with('.'))
        rest += ' ';
    if (rest.empty() && candidates.size() > 1) {
        list(candidates, echo);
        return Event::redraw;
    }
    if (line_.size() + rest.size() > longest_line) {
        echo += bell;
        return Event::none;
    }
    line_.insert(cursor_, rest);
    echo.append(line_, cursor_);
    cursor_ += rest.size();
    back(line_.size() - cursor_, echo);
    return Event::none;
}

LineEditor::Event LineEditor::finish(std::string& echo)
{
    echo += '\n';
    const bool overflow = overflow_;
    finished_ = line_;
    start_afresh();
    if (overflow)
        return Event::too_long;
    if (finished_.empty() || (!history_.empty() && history_.back() == finished_))
        return Event::line;
    history_.push_back(finished_);
    if (history_.size() > history_lines)
        history_.pop_front();
    return Event::line;
}

void LineEditor::start_afresh()
{
    line_.clear();
    draft_.clear();
    cursor_ = 0;
    browsed_ = 0;
    overflow_ = false;
}

void LineEditor::draw(std::string& echo) const
{
    echo += line_;
    back(line_.size() - cursor_, echo);
}

} // namespace host

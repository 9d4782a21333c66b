// SPDX-License-Identifier: MIT
#include "console.h"

#include <sys/random.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "output.h"

namespace ctl {
namespace {

constexpr std::size_t most_text = 16384; // of a line, and of what comes unasked
constexpr const char* no_console = "that is not the console of power_man, or of an older one";

std::optional<std::string> make_token()
{
    std::uint64_t number = 0;
    if (getrandom(&number, sizeof number, 0) != sizeof number) {
        complain("no random numbers: " + std::string(std::strerror(errno)));
        return std::nullopt;
    }
    std::array<char, 17> text;
    std::snprintf(text.data(), text.size(), "%016llx", static_cast<unsigned long long>(number));
    return text.data();
}

// "TOKEN STATUS"
std::optional<int> parse_status(std::string_view line, std::string_view token)
{
    int status = 0;
    if (!line.starts_with(token) || line.size() < token.size() + 2)
        return std::nullopt;
    const char* const end = line.data() + line.size();
    const auto [stop, error] = std::from_chars(line.data() + token.size() + 1, end, status);
    return error == std::errc{} && stop == end ? std::optional(status) : std::nullopt;
}

// How much of the end of the text could be the beginning of the mark.
std::size_t begun_mark(std::string_view text, std::string_view mark)
{
    std::size_t length = std::min(text.size(), mark.size() - 1);
    while (!text.ends_with(mark.substr(0, length)))
        --length;
    return length;
}

} // namespace

std::optional<int> Console::run(const std::string& line)
{
    const std::optional<std::string> token = make_token();
    if (!token)
        return std::nullopt;
    const std::string question = "result " + *token;
    if (!connection_.send(line + "\n" + question + "\n") || !skip_echo(line))
        return std::nullopt;
    if (line.starts_with("config watch "))
        return follow(question, *token);
    std::string answer;
    if (!print_until(prompt_ + question + "\n") || !take_line(answer))
        return std::nullopt;
    const std::optional<int> status = parse_status(answer, *token);
    if (!status)
        connection_.complain(no_console);
    return status;
}

bool Console::more(Connection::Wait wait)
{
    const Connection::Received received = connection_.receive(received_, wait);
    if (received == Connection::Received::silence)
        connection_.complain_of_silence();
    if (received == Connection::Received::end) {
        while (unasked_.ends_with('\n'))
            unasked_.pop_back();
        connection_.complain(unasked_.empty() ? "the connection was lost" : unasked_);
    }
    return received == Connection::Received::text;
}

bool Console::take_line(std::string& line, Connection::Wait wait)
{
    std::size_t end = 0;
    while ((end = received_.find('\n')) == std::string::npos) {
        if (received_.size() > most_text) {
            connection_.complain(no_console);
            return false;
        }
        if (!more(wait))
            return false;
    }
    line = received_.substr(0, end);
    received_.erase(0, end + 1);
    return true;
}

// The first echo shows what the prompt is.
bool Console::skip_echo(const std::string& line)
{
    std::string echo;
    while (take_line(echo)) {
        if (echo.size() > line.size() && echo.ends_with(line)) {
            prompt_ = echo.substr(0, echo.size() - line.size());
            unasked_.clear();
            return true;
        }
        unasked_ += echo + "\n";
        if (unasked_.size() > most_text) {
            connection_.complain(no_console);
            return false;
        }
    }
    return false;
}

bool Console::print_until(const std::string& mark)
{
    for (;;) {
        const std::size_t found = received_.find(mark);
        const bool complete = found != std::string::npos;
        const std::size_t length =
            complete ? found : received_.size() - begun_mark(received_, mark);
        if (!print({received_.data(), length}))
            return false;
        received_.erase(0, complete ? found + mark.size() : length);
        if (complete)
            return true;
        if (!more())
            return false;
    }
}

// Each change is a line that is drawn over the prompt, with blanks where that was longer; then the
// prompt is drawn anew.
std::optional<int> Console::follow(const std::string& question, const std::string& token)
{
    auto wait = Connection::Wait::patiently;
    std::string line;
    while (take_line(line, wait)) {
        if (line.starts_with(prompt_))
            line.erase(0, prompt_.size());
        line.erase(0, line.rfind('\r') + 1);
        line.erase(line.find_last_not_of(' ') + 1);
        const std::optional<int> status = parse_status(line, token);
        if (status && *status != 0)
            return status;
        if (status)
            wait = Connection::Wait::for_ever;
        else if (line != question && !print(line + "\n"))
            return std::nullopt;
    }
    return std::nullopt;
}

} // namespace ctl

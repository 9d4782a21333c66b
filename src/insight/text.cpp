// SPDX-License-Identifier: MIT
#include "insight/text.h"

#include <algorithm>
#include <cstdarg>

#include "ap/text.h"

namespace power_man::insight {
namespace {

void vprint_to(std::string& text, const char* format, va_list arguments)
{
    va_list again;
    va_copy(again, arguments);
    const int length = qv_vsnprintf(nullptr, 0, format, again);
    va_end(again);
    if (length <= 0)
        return;
    const std::size_t before = text.size();
    const auto added = static_cast<std::size_t>(length);
    text.resize(before + added + 1); // with the NUL
    qv_vsnprintf(text.data() + before, static_cast<unsigned int>(added + 1), format, arguments);
    text.pop_back();
}

char lower(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

} // namespace

std::string printed(const char* format, ...)
{
    std::string text;
    va_list arguments;
    va_start(arguments, format);
    vprint_to(text, format, arguments);
    va_end(arguments);
    return text;
}

void print_to(std::string& text, const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    vprint_to(text, format, arguments);
    va_end(arguments);
}

std::string joined(const std::vector<std::string>& words, const char* last)
{
    std::string text;
    for (std::size_t i = 0; i < words.size(); ++i) {
        if (i > 0)
            text += i + 1 == words.size() ? last : ", ";
        text += words[i];
    }
    return text;
}

std::string table(const std::vector<std::vector<std::string>>& lines, std::string_view indent)
{
    std::vector<std::size_t> widths;
    for (const auto& line : lines) {
        widths.resize(std::max(widths.size(), line.size()));
        for (std::size_t i = 0; i < line.size(); ++i)
            widths[i] = std::max(widths[i], line[i].size());
    }
    std::string text;
    for (const auto& line : lines) {
        text += indent;
        for (std::size_t i = 0; i < line.size(); ++i) {
            text += line[i];
            if (i + 1 < line.size())
                text.append(widths[i] - line[i].size() + 2, ' ');
        }
        text.erase(text.find_last_not_of(' ') + 1);
        text += '\n';
    }
    return text;
}

std::string quoted(std::string_view text)
{
    std::string result = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\')
            result += '\\';
        result += c;
    }
    return result + '"';
}

std::size_t count_words(std::string_view text)
{
    std::size_t words = 0;
    for (std::size_t i = 0; i < text.size(); ++i)
        words += text[i] != ' ' && (i == 0 || text[i - 1] == ' ') ? 1U : 0U;
    return words;
}

bool begins_with(std::string_view text, std::string_view beginning)
{
    return text.size() >= beginning.size() && equals(text.substr(0, beginning.size()), beginning);
}

bool equals(std::string_view one, std::string_view other)
{
    return std::equal(one.begin(), one.end(), other.begin(), other.end(),
                      [](char a, char b) { return lower(a) == lower(b); });
}

} // namespace power_man::insight

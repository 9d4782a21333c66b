// SPDX-License-Identifier: MIT
#include "support/platform.h"

#include <cstdarg>
#include <tuple>

#include "ap/output.h"
#include "ap/shell.h"
#include "host/bus/bus.h"
#include "host/shell/line_editor.h"

namespace {

std::string output; // of the shells

using Event = host::LineEditor::Event;

void complete_fruit(std::string_view before, std::string_view, std::vector<std::string>& words)
{
    if (before.empty())
        words = {"apple", "apricot", "banana", "b\x1b[2J", "tree."};
}

// What comes out of the editor: the echo, and in brackets what it reports.
std::string edit(host::LineEditor& editor, std::string_view input)
{
    std::string seen;
    for (const char byte : input) {
        std::string echo;
        const Event event = editor.feed(byte, echo);
        EXPECT_LE(echo.size(), host::LineEditor::longest_echo);
        seen += echo + (event == Event::line        ? "[" + editor.line() + "]"
                        : event == Event::too_long  ? "[too long]"
                        : event == Event::cancelled ? "[cancelled]"
                        : event == Event::end       ? "[end]"
                        : event == Event::redraw    ? "[redraw]"
                                                    : "");
    }
    return seen;
}

class Shell : public testing::Test {
protected:
    Shell() : connection_(connect_platform()), shell_(qv_cshell_alloc("box")) {}
    ~Shell() override { qv_cshell_free(shell_); }

    // What the shell prints for the lines, without their echo and the prompts.
    std::string run(const std::string& lines)
    {
        std::istringstream stream(lines);
        std::string all;
        for (std::string line; std::getline(stream, line, ';');) {
            output.clear();
            line += '\n';
            EXPECT_EQ(qv_cshell_process_buf(shell_, line.data(), static_cast<int>(line.size())), 0);
            EXPECT_TRUE(output.starts_with(line) && output.ends_with("box> ")) << output;
            all += output.substr(line.size(), output.size() - line.size() - 5);
        }
        return all;
    }
    // Input as it comes from a terminal: all that it shows.
    std::string type(std::string_view input)
    {
        output.clear();
        qv_cshell_process_buf(shell_, input.data(), static_cast<int>(input.size()));
        return output;
    }

    _cbus_conn_t* connection_;
    qv_cshell_t* shell_;
};

// A command of the daemon's, added before main().
int probe(int argc, char** argv)
{
    for (int i = 1; i < argc; ++i)
        qv_printf("<%s>", argv[i]);
    return argc == 1 ? SHELL_USAGE : argv[argc] == nullptr ? 0 : -1;
}
constexpr shell_command_t probe_command{"/bin", "probe", probe, 4, "Needs words\n", {0, 0}};
const int probe_added = shell_command_add_sorted(&probe_command);

} // namespace

// The program's own output: the platform's is left out by the linker.
int qv_vprintf(const char* format, va_list arguments)
{
    std::array<char, 4096> text;
    const int length = std::vsnprintf(text.data(), text.size(), format, arguments);
    output += text.data();
    return length;
}
int qv_puts(const char* text)
{
    output += text;
    return 0;
}
int fdloop_telnet_get_fd(void)
{
    return -1;
}

TEST(LineEditor, echoes_what_the_terminal_must_show)
{
    const std::string_view nul("\0", 1);
    const std::string full(host::LineEditor::longest_line, 'x');
    const std::vector<std::pair<std::string, std::string>> cases{
        {"ab\r", "ab\n[ab]"},
        {"a\r\nb\n\r" + std::string(nul) + "c\r", "a\n[a]b\n[b]\n[]c\n[c]"},
        {"abc\b\x7f!\r", "abc\b \b\b \b!\n[a!]"},
        {"\b\x7f\x1b[D\x1b[3~\x0b\x15\x17\r", "\n[]"},
        {"ac\x1b[Db\x1b[C!\r", "ac\bbc\bc!\n[abc!]"},
        {"bc\x1b[Ha\x1bOFd\x01>\x05<\r", "bc\b\babc\b\bbcd\b\b\b\b>abcd\b\b\b\babcd<\n[>abcd<]"},
        {"abc\x1b[D\x1b[D\x1b[3~\r", "abc\b\bc \b\b\n[ac]"},
        {"abcd\x02\x1b[1~\x1b[C\x0b\r", "abcd\b\b\b\ba   \b\b\b\n[a]"},
        {"one two \x17\x17x\r", "one two \b\b\b\b    \b\b\b\b\b\b\b\b    \b\b\b\bx\n[x]"},
        {"ab\x1b[D\x15\r", "ab\b\bb \b\b\n[b]"},
        {"ab\x03!\r", "ab^C\n[cancelled]!\n[!]"},
        {"ab\x01\x04\x04\x04", "ab\b\bb \b\b \b\n[end]"},
        {"\x1b[A", "\a"},
        {"a\xff\xc3\xa4\x01\x1b[99;5Zb\x1b\r", "a\bba\b\n[ba]"},
        {"ap\tr\t\r", "ap\napple  apricot  \n[redraw]ricot \n[apricot ]"},
        {"b\tx y\tz\tt", "banana x y\az\at"},
        {"tr\t\t", "tree."},
        {full + "\r", full + "\n[" + full + "]"},
        {full + "yy\b\r", full + "\a\b \b\n[" + full.substr(1) + "]"},
        {full + std::string(100'000, 'z') + "\rok\r", full + "\a\n[too long]ok\n[ok]"},
    };
    for (const auto& [input, seen] : cases) {
        host::LineEditor editor(complete_fruit);
        EXPECT_EQ(edit(editor, input), seen) << testing::PrintToString(input);
    }
}

TEST(LineEditor, history_keeps_32_lines_without_repetition_and_the_draft)
{
    const auto lines = [](std::string_view input) {
        host::LineEditor editor;
        std::string all;
        std::string echo;
        for (const char byte : input)
            all += editor.feed(byte, echo) == Event::line ? editor.line() + "|" : "";
        return all;
    };
    EXPECT_EQ(lines("a\rb\rb\r\r\x1b[A\x1b[A\r"), "a|b|b||a|");
    EXPECT_EQ(lines("a\rbc\x1b[A\x1b[Bd\r\x1b[Ae\r\x1b[A\r"), "a|bcd|bcde|bcde|");
    std::string many;
    for (int i = 1; i <= 40; ++i)
        many += std::to_string(i) + "\r";
    for (int i = 0; i < 50; ++i)
        many += "\x1bOA\x1b[A"; // 100 lines up
    EXPECT_TRUE(lines(many + "\r").ends_with("|40|9|"));
}

TEST_F(Shell, runs_commands_and_names_mistakes)
{
    EXPECT_EQ(probe_added, 0);
    EXPECT_EQ(shell_command_add_sorted(&probe_command), -EEXIST);
    EXPECT_EQ(run("  probe one  \"two words\" a\"b c\"d \"\""), "<one><two words><ab cd><>");
    EXPECT_EQ(run("probe;help probe;probe \"a;Probe a;help nothing"),
              "Needs words\nNeeds words\nA closing '\"' is missing\n"
              "Probe: no such command; try 'help'\nhelp: nothing: no such command\n");
    EXPECT_TRUE(type(std::string(256, 'x') + "\n")
                    .ends_with("x\a\nLonger than 255 characters: not run\nbox> "));
    const std::string all = run("help");
    std::string names;
    for (std::size_t at = 0; at < all.size(); at = all.find('\n', at) + 1)
        names += all.substr(at, all.find(' ', at) - at + 1);
    EXPECT_EQ(names, "bus config exit help journal loop probe result trace ");
    EXPECT_EQ(qv_cshell_process_buf(shell_, "\x04", 1), SHELL_EXIT);
}

TEST_F(Shell, config_reads_and_writes)
{
    EXPECT_EQ(run("config set a.b 1 a.c \"two words\" a.bc \"\";config get a.c;config list a"),
              "two words\na.b = 1\na.bc = \na.c = two words\n");
    const std::string none = "config: a.b: No such file or directory\n";
    EXPECT_EQ(run("config list a.b;config del a.b;config get a.b;config del a.b"),
              "a.b = 1\n" + none + none);
    EXPECT_EQ(run("config set a.b 1 \"a b\" 2;config get a.b;config unwatch a.b"),
              "config: a b: Invalid argument\n" + none + none);
    for (const char* wrong : {"config", "config set a", "config set a 1 b", "config get",
                              "config get a b", "config nothing", "config del"})
        EXPECT_EQ(run(wrong), run("help config")) << wrong;
    config_write_string("a.evil", "\x1b[2J\xff");
    EXPECT_EQ(run("config get a.evil"), "\\x1b[2J\\xff\n");
    EXPECT_TRUE(type("con\tg\ta\tc\t\r").starts_with("config get a.c \ntwo words\n")) << output;
}

TEST_F(Shell, journal_bus_trace_and_loop_tell_what_happened)
{
    setenv("TZ", "UTC", 1);
    qv_xtrace_init("group", "C:\tCommon\nD:\tDetails\n", 4);
    host::instance().clock.advance_to(1005);
    cbus_send_signal(connection_, "some.name", "hi\n", 3);
    cbus_send_signal(connection_, "other", "hi", 3);
    const std::string second = "2 00:00:01.005 signal other \"hi\"\n";
    EXPECT_EQ(run("bus;bus 1"), "1 00:00:01.005 signal some.name 68 69 0a\n" + second + second);
    for (int i = 3; i <= 300; ++i)
        host::instance().journal.write("line %d", i);
    const std::string last = run("journal");
    EXPECT_TRUE(last.starts_with("281 00:00:01.005 line 281\n") &&
                last.ends_with("300 00:00:01.005 line 300\n"));
    EXPECT_EQ(run("journal 299;journal 300;journal 18446744073709551615"),
              "300 00:00:01.005 line 300\n");
    EXPECT_EQ(run("bus x;journal -1"), run("help bus;help journal"));
    EXPECT_TRUE(run("journal 40").starts_with("lines 41 to 44 are forgotten\n45 "));
    EXPECT_EQ(run("journal --last 1"), run("journal 299"));
    EXPECT_EQ(run("journal --last 300"), run("journal 44"));

    host::instance().clock.advance_to(50'400'000); // 14:00
    host::instance().journal.write("afternoon");
    host::instance().clock.advance_to(108'000'000); // 6:00 of the next day
    host::instance().journal.write("morning");
    const std::string afternoon = "301 2026-01-01T14:00:00.000 afternoon\n";
    const std::string morning = "302 06:00:00.000 morning\n";
    EXPECT_EQ(run("journal 300"), afternoon + morning);
    EXPECT_EQ(run("journal --since 14:00;journal --since 14:00:01;journal --since 06:00"),
              afternoon + morning + morning + morning);
    EXPECT_EQ(run("journal --since 2026-01-01 14:00;journal --since \"2026-01-01T14:00:01\""),
              afternoon + morning + morning);
    EXPECT_EQ(run("journal --since 2026-01-03 00:00"), "");
    for (const char* const wrong : {"--since", "--since 25:00", "--since 6:00x", "--last",
                                    "--last x", "--since 2026-01-01 6:00 x", "--first 1", "1 2"})
        EXPECT_EQ(run(std::string("journal ") + wrong), run("help journal")) << wrong;
    EXPECT_TRUE(type("journal --s\t06:00\r").ends_with(morning + "box> "));
    EXPECT_EQ(run("trace group DC;trace"), "group: CD\n  C: Common\n  D: Details\n");
    EXPECT_EQ(run("trace group X;trace later M;trace later m;trace"),
              "trace: later: no such group yet\ntrace: m: write capital letters, or off\n"
              "group: X\n  C: Common\n  D: Details\nlater: M, once it is there\n");
    EXPECT_TRUE(run("trace group off;trace later off;trace").starts_with("group: off\n"));
    EXPECT_EQ(qv_xtrace_init("later", "", 0)->enabled, 0);
    EXPECT_TRUE(run("loop").starts_with("callbacks "));
}

// Readings that are copied for hours leave the lines that matter where they are.
TEST_F(Shell, journal_notes_the_daemons_repeated_writes_once)
{
    const host::Journal& journal = host::instance().journal;
    const auto copy = [](int temperature) {
        for (int time = 0; time < 300; ++time) {
            config_write_int("a.temperature", temperature);
            config_write_string("a", "two words");
        }
    };
    run("config set a.temperature 40");
    copy(40); // the daemon's own for the first time
    copy(41);
    config_write_int("a.temperature", 40);
    copy(41);
    cbus_send_signal(connection_, "other", "hi", 3);
    copy(41);
    run("config set a.temperature 41;config set a.temperature 41");
    std::string all;
    for (std::uint64_t number = 1; number <= journal.last(); ++number)
        all.append(journal.line(number).text).append(";");
    EXPECT_EQ(all, "set a.temperature 40;"
                   "set a.temperature 40;set a two words;"
                   "set a.temperature 41;"
                   "set a.temperature 40;"
                   "set a.temperature 41;"
                   "signal other \"hi\";"
                   "set a.temperature 41;set a two words;"
                   "set a.temperature 41;set a.temperature 41;");
    // What does not look as it is might be another text each time.
    const std::uint64_t before = journal.last();
    for (const char* const text : {"a\nb", "a\tb"})
        config_write_string("a", text);
    EXPECT_EQ(journal.last(), before + 2);
}

// Shows the bytes that it is given as text, and the length.
static int describe(const void* data, unsigned int kept, unsigned int length, char* text,
                    unsigned int size)
{
    const std::string bytes(static_cast<const char*>(data), kept);
    std::snprintf(text, size, "%s of %u", bytes.c_str(), length);
    return length == 7 ? -1 : static_cast<int>(length % 2);
}

TEST_F(Shell, describes_signals_and_trusts_no_length)
{
    using namespace std::string_view_literals;
    cbus_describe("known", describe);
    const std::tuple<std::string, std::string_view, std::size_t, std::string> cases[] = {
        {"known", "a\x1b", 400, "signal known a\\x1b of 400"},
        {"known", "abc", 3, "abc of 3"},
        {"known", "\1bcdefg", 7, "signal known 01 62 63 64 65 66 67"},
        {"known", std::string_view(), 1, " of 1"},
        {"knownx", "text\0"sv, 5, "signal knownx \"text\""},
        {"x", "te\0xt"sv, 5, "signal x 74 65 00 78 74"},
        {"x", "text", 400, "signal x \"text\"..."},
        {"x\n", "\0"sv, 1, "signal x\\x0a 00"},
    };
    for (const auto& [signal, bytes, length, text] : cases) {
        // On the heap and no longer than said: a read behind it is seen by the sanitizers.
        const std::vector<char> payload(bytes.begin(), bytes.end());
        EXPECT_EQ(host::instance().bus.describe(signal, {payload.data(), payload.size()}, length),
                  text);
    }
}

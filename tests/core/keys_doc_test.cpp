// SPDX-License-Identifier: MIT
// docs/keys.md against the sources and the defaults that the daemon writes.
#include <fstream>
#include <map>
#include <regex>
#include <set>

#include "core/config_defaults.h"
#include "core/pwr_mgr_main.h"
#include "support/terminal.h"

namespace fs = std::filesystem;

namespace {

const fs::path source_dir = SOURCE_DIR;

// The table: key and default.
std::map<std::string, std::string> documented()
{
    const std::regex row(R"(\| `([^`]+)` \|[^|]*\|[^|]*\| ([^ |]+) \|.*)");
    std::ifstream stream(source_dir / "docs/keys.md");
    std::map<std::string, std::string> keys;
    std::smatch match;
    for (std::string line; std::getline(stream, line);) {
        if (std::regex_match(line, match, row))
            keys[match[1]] = match[2];
    }
    return keys;
}

// The keys and beginnings of keys that the sources hold as text, with N for a number.
std::set<std::string> in_sources()
{
    const std::regex literal(R"re("((cfg|ram|rmcfg|txt|dyn)\.[^"]*)")re");
    std::set<std::string> keys;
    for (const fs::path& path : fs::recursive_directory_iterator(source_dir / "src")) {
        if ((path.extension() != ".cpp" && path.extension() != ".h") ||
            path.string().find("/src/platform/") != std::string::npos)
            continue;
        std::ifstream stream(path);
        for (std::string line; std::getline(stream, line);) {
            line = line.substr(0, line.find("//"));
            for (std::sregex_iterator found(line.begin(), line.end(), literal), end; found != end;
                 ++found) {
                std::string key = std::regex_replace((*found)[1].str(), std::regex("%[du]"), "N");
                if (key == "txt.evh.%s.N")
                    key = "txt.evh.stxt.N"; // the only text attribute that is written
                key = key.substr(0, key.find_first_of("%\\"));
                keys.insert(key.substr(0, key.find_last_not_of('.') + 1));
            }
        }
    }
    return keys;
}

} // namespace

TEST(KeysDocument, HasTheKeysOfTheSourcesAndNoOthers)
{
    const auto table = documented();
    const auto sources = in_sources();
    ASSERT_GT(table.size(), 40U);
    ASSERT_GT(sources.size(), 40U);
    for (const std::string& key : sources) {
        const auto row = table.lower_bound(key);
        const auto below = table.lower_bound(key + ".");
        EXPECT_TRUE((row != table.end() && row->first == key) ||
                    (below != table.end() && below->first.starts_with(key + ".")))
            << key << " is not in docs/keys.md";
    }
    for (const auto& [key, value] : table) {
        const std::string prefix = key.substr(0, key.find(".N"));
        EXPECT_TRUE(sources.contains(key) || (prefix != key && sources.contains(prefix)))
            << key << " is in docs/keys.md only";
    }
}

TEST(KeysDocument, HasTheDefaultsThatAreWritten)
{
    Terminal terminal("qv1202B");
    std::map<std::string, std::string> expected;
    for (const auto& [key, value] : documented()) {
        if (value == "-")
            continue;
        expected[key] = value;
        terminal.remove(key.c_str());
    }
    pwr_mgr_poe->init(nullptr);
    pwr_mgr_phone->init();
    terminal.story();
    pwr_man_create_config_default();
    std::istringstream story(terminal.story());
    std::map<std::string, std::string> written;
    for (std::string set, key, value; story >> set >> key >> value;)
        written[std::regex_replace(key, std::regex(R"(\.[0-9]+\.)"), ".N.")] = value;
    EXPECT_EQ(written, expected);
}

// SPDX-License-Identifier: MIT
// docs/keys.md against the sources.
#include <fstream>

#include "support/terminal.h"

namespace {

std::string content(const fs::path& path)
{
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
}

} // namespace

TEST(KeysDocument, HasTheKeysOfTheSources)
{
    const std::string page = content(SOURCE_DIR "/docs/keys.md");
    const std::regex literal(R"re("((cfg|ram|rmcfg|dyn)\.[a-z0-9_.]*[a-z0-9_]))re");
    int keys = 0;
    for (const fs::path& path : fs::recursive_directory_iterator(SOURCE_DIR "/src")) {
        const bool is_source = path.extension() == ".cpp" || path.extension() == ".h";
        if (!is_source || path.string().find("/src/platform/") != std::string::npos)
            continue;
        const std::string text = content(path);
        for (std::sregex_iterator found(text.begin(), text.end(), literal), end; found != end;
             ++found, ++keys)
            EXPECT_NE(page.find("| `" + found->str(1)), std::string::npos) << found->str(1);
    }
    EXPECT_GT(keys, 40);
}

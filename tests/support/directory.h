// SPDX-License-Identifier: MIT
#pragma once

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>

// A directory of one test's own, which goes with the object.
class OwnDirectory {
public:
    OwnDirectory()
    {
        std::string name = std::filesystem::temp_directory_path() / "power_man_XXXXXX";
        if (mkdtemp(name.data()) == nullptr)
            throw std::runtime_error("no directory like " + name);
        path_ = name;
    }
    OwnDirectory(const OwnDirectory&) = delete;
    OwnDirectory& operator=(const OwnDirectory&) = delete;
    ~OwnDirectory()
    {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }

    const std::filesystem::path& path() const { return path_; }

private:
    std::filesystem::path path_;
};

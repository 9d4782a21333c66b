// SPDX-License-Identifier: MIT
// The database's first content: a file is refused in one line and as a whole, or means the same
// when it is written again as the database has it.
//
// Code: src/platform/host/config/seed.cpp src/platform/host/base/text_file.cpp
#include <sys/mman.h>
#include <unistd.h>

#include "fuzz.h"
#include "host/base/printable.h"
#include "host/config/memory_store.h"
#include "host/config/seed.h"

using fuzz::require;

// What the database has then.
static std::string loaded(const std::string& content)
{
    static const int file = memfd_create("seed", MFD_CLOEXEC);
    require(ftruncate(file, 0) == 0 && pwrite(file, content.data(), content.size(), 0) >= 0);
    host::ChangeDispatcher changes;
    host::MemoryStore store(changes);
    std::string error;
    const bool taken = host::load_seed("/proc/self/fd/" + std::to_string(file), store, error);
    require(taken == error.empty());
    require(std::all_of(error.begin(), error.end(), host::is_printable));
    std::vector<std::string> keys;
    require(store.list("", keys) == 0 && (taken || keys.empty()));
    std::string text;
    for (const std::string& key : keys) {
        std::string_view value;
        require(store.read(key, value) == 0);
        text.append(key).append("=").append(value).append("\n");
    }
    return text;
}

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string once = loaded({reinterpret_cast<const char*>(data), size});
    require(loaded(once) == once);
    return 0;
}

// SPDX-License-Identifier: MIT
#include "bite/record_keys.h"

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

#include "ap/log.h"

namespace power_man {
namespace {

constexpr std::uint32_t no_index_bits = 0xFF000000; // set in what is no index of a field

struct Release {
    void operator()(config_data_t* items) const { std::free(items); }
};

// The part of a key behind the form's prefix, null when it has another form.
const char* leaf_of(const char* key, const std::string& format)
{
    unsigned int number = 0;
    int consumed = 0;
    if (key == nullptr || std::sscanf(key, format.c_str(), &number, &consumed) != 1 ||
        consumed <= 0)
        return nullptr;
    return key + consumed;
}

} // namespace

int load_record(const char* pattern,
                const std::function<void(unsigned int, const config_data_t*)>& parse)
{
    unsigned int count = 0;
    config_data_t* found = nullptr;
    const int result = config_readm(pattern, &count, &found);
    const std::unique_ptr<config_data_t, Release> items(found);
    if (result == 0 && items)
        parse(count, items.get());
    return result;
}

void parse_record(const RecordParser& parser, unsigned int count, const config_data_t* items)
{
    const std::string format = std::string(parser.key_format) + "%n";
    for (unsigned int i = 0; i < count; ++i) {
        const char* const leaf = leaf_of(items[i].key, format);
        if (leaf == nullptr)
            continue;
        config_data_t item = items[i];
        item.key = leaf;
        const std::uint32_t index = config_parse(&item, parser.fields.data(),
                                                 static_cast<unsigned int>(parser.fields.size()));
        if (parser.tracing)
            qv_slogd("%s: REC IDX(%d) config_parse res=%d ", "parseRec", static_cast<int>(i),
                     static_cast<int>(index));
        if ((index & no_index_bits) == 0)
            parser.found(index);
    }
}

} // namespace power_man

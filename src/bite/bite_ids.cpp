// SPDX-License-Identifier: MIT
#include "bite/bite_ids.h"

#include <cstdint>
#include <cstdio>

#include "bite/bite_api.h"

namespace {

static_assert(sizeof(unsigned int) == sizeof(std::uint32_t));

constexpr unsigned int past_kind = 0x00000000;
constexpr unsigned int post_kind = 0x04000000;
constexpr unsigned int cm_kind = 0x08000000;
constexpr unsigned int event_kind = 0x0C000000;

constexpr unsigned int pack(unsigned int kind, unsigned int module, unsigned int module_id,
                            unsigned int test_id)
{
    return (module & 0xF0000000U) | kind | (module_id & 0x03F00000U) | (test_id & 0x000FFFFFU);
}

constexpr unsigned int any = ~0U;
constexpr unsigned int shortest_name_buffer = 25;

struct ModuleName {
    unsigned int module;
    unsigned int module_id;
    const char* name;
};

// The first row that fits.
constexpr ModuleName module_names[] = {
    {5, 1, "ACD-AP"},    {5, 2, "ACD-BP"},   {5, 3, "AIS-AP"},    {5, 4, "AIS-BP"},
    {5, 5, "PIESD-AP"},  {5, 6, "PIESD-BP"}, {5, 7, "SEGFPGA"},   {5, 9, "ACD-RM"},
    {5, 10, "PIESD-RM"}, {6, 1, "SCM-USIM"}, {6, 2, "SCM-FLASH"}, {6, any, "SCM"},
    {7, 1, "LNA"},       {7, 2, "HLD"},      {7, 3, "HPA"},       {7, any, "ANT"},
    {any, any, "?"},
};

const char* module_name(unsigned int module, unsigned int module_id)
{
    for (const ModuleName& row : module_names) {
        if ((row.module == any || row.module == module) &&
            (row.module_id == any || row.module_id == module_id))
            return row.name;
    }
    return "?";
}

} // namespace

CEventId::CEventId() : packed_(0) {}
CEventId::CEventId(unsigned int module, unsigned int module_id, unsigned int test_id)
    : packed_(pack(event_kind, module, module_id, test_id))
{
}
CEventId::CEventId(unsigned int packed) : packed_(packed) {}
CEventId::~CEventId() = default;

char* CEventId::show(char* text, unsigned int size) const
{
    if (size >= shortest_name_buffer)
        std::snprintf(text, size, "%s", module_name(moduleNumber(), moduleIdNumber()));
    return text;
}

CPostId::CPostId() = default;
CPostId::CPostId(unsigned int module, unsigned int module_id, unsigned int test_id)
    : CEventId(pack(post_kind, module, module_id, test_id))
{
}
CPostId::CPostId(unsigned int packed) : CEventId(packed) {}
CPostId::~CPostId() = default;

CCmEventId::CCmEventId() = default;
CCmEventId::CCmEventId(unsigned int module, unsigned int module_id, unsigned int test_id)
    : CEventId(pack(cm_kind, module, module_id, test_id))
{
}
CCmEventId::CCmEventId(unsigned int packed) : CEventId(packed) {}
CCmEventId::~CCmEventId() = default;

CPastId::CPastId(unsigned int module, unsigned int module_id, unsigned int test_id)
    : CEventId(pack(past_kind, module, module_id, test_id))
{
}
CPastId::CPastId(unsigned int packed) : CEventId(packed) {}
CPastId::~CPastId() = default;

std::uint32_t bite_createEventRep(std::uint32_t module, std::uint32_t module_id,
                                  std::uint32_t test_id)
{
    return pack(event_kind, module, module_id, test_id);
}

std::uint32_t bite_createPostRep(std::uint32_t module, std::uint32_t module_id,
                                 std::uint32_t test_id)
{
    return pack(post_kind, module, module_id, test_id);
}

std::uint32_t bite_createCmRep(std::uint32_t module, std::uint32_t module_id, std::uint32_t test_id)
{
    return pack(cm_kind, module, module_id, test_id);
}

std::uint32_t bite_createPastRep(std::uint32_t module, std::uint32_t module_id,
                                 std::uint32_t test_id)
{
    return pack(past_kind, module, module_id, test_id);
}

// SPDX-License-Identifier: MIT
#include "terminal.h"

#include <algorithm>

#include "ap/log.h"
#include "ap/loop.h"
#include "base/config_keys.h"
#include "base/terminal.h"
#include "core/pwr_mgr_main.h"
#include "host/base/integer.h"
#include "host/config/seed.h"
#include "host/host/host.h"
#include "temperature/temp_desc.h"
#include "temperature/temp_sensors.h"

namespace replay {
namespace {

namespace key = power_man::key;

Witness* present_witness = nullptr;
std::size_t first_sensor = 0; // of the model, in the list of all models' sensors

void tell(const power_man::Evaluation& evaluation)
{
    present_witness->evaluated(evaluation.sensor - first_sensor, evaluation);
}

host::Settings settings_of(const BoardDirectory& board)
{
    host::Settings settings;
    settings.board_root = board.root();
    settings.log_level = 0; // the journal has the log
    return settings;
}

} // namespace

Terminal::Terminal(const power_man::Model& model, std::int64_t date_ms, bool supplied)
    : model_(model), board_(model)
{
    if (!board_.error().empty())
        return;
    host::Host& host = host::make_instance(settings_of(board_));
    host.clock.make_virtual(date_ms / 1000);
    const char* const switched_poe = model.poe != power_man::PoeSwitching::none ? "2" : "0";
    const host::Write as_new[] = {
        {"ram.platform.id", model.id},
        {"ram.platform.capabilities.usb", "1"},
        {"ram.platform.capabilities.isdn", "1"},
        {"ram.platform.capabilities.slic.connectors", "2"},
        {"ram.platform.capabilities.ether.poe.num_ports", switched_poe},
        {key::external_supply, supplied ? "1" : "0"},
        {key::usb_enabled, "1"},
        {key::usb_extended, "1"},
    };
    host.store->write(as_new);
    first_sensor = power_man::sensor_number(model, 0);
}

Terminal::~Terminal()
{
    if (board_.error().empty())
        host::instance().journal.set_observer(nullptr);
    delete pwr_mgr_poe;
    delete pwr_mgr_phone;
}

bool Terminal::load(const std::string& seed_file, std::string& error)
{
    host::Store& store = *host::instance().store;
    if (!host::load_seed(seed_file, store, error))
        return false;
    const host::Write model{"ram.platform.id", model_.id}; // a seed may be another terminal's
    store.write({&model, 1});
    return true;
}

void Terminal::start(Witness& witness)
{
    present_witness = witness_ = &witness;
    host::instance().journal.set_observer(&witness);
    power_man::add_evaluation_observer(tell);
    pwr_mgr_poe = new PwrMgrPoe;
    pwr_mgr_phone = new PwrMgrPhone;
    tg_pwr_man = qv_xtrace_init("pwr_man", "C:\tCommon\nD:\tDetailed trace\n", 4);
    main_fdloop = fdloop_init();
    if (main_fdloop == nullptr)
        qv_panic("There is no loop\n");
    pwr_mgr_init();
    power_man::start_temp_copy();
    wire_changed_ = true; // the first time, whatever is ready
    pass_until(now());
}

void Terminal::write(std::span<const host::Write> writes)
{
    if (!writes.empty())
        host::instance().store->write(writes);
}

bool Terminal::set_wire(int line, bool high)
{
    wire_changed_ = true;
    return board_.set_wire(line, high);
}

std::int64_t Terminal::now() const
{
    return static_cast<std::int64_t>(host::instance().clock.now_ms());
}

void Terminal::pass_until(std::int64_t moment)
{
    const auto rest = static_cast<std::uint64_t>(std::max<std::int64_t>(moment - now(), 0));
    _fdloop_t& loop = *host::instance().loop;
    if (wire_changed_) // nothing else makes a descriptor ready
        loop.run_for(rest);
    else
        loop.run_unpolled(rest);
    wire_changed_ = false;
    witness_->settled();
}

bool Terminal::follows(std::string_view key) const
{
    constexpr std::string_view line = "line.";
    if (key.starts_with(line))
        return host::parse_integer(key.substr(line.size())) == model_.usb.over_current_line;
    return host::instance().changes.is_followed(key);
}

} // namespace replay

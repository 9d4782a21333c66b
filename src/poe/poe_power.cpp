// SPDX-License-Identifier: MIT
// Whether a port gets power, and the two ways to give it.
#include <fcntl.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

#include "ap/log.h"
#include "ap/text.h"
#include "base/device_file.h"
#include "models/models.h"
#include "poe/pwr_mgr_open.h"
#include "poe/pwr_mgr_poe.h"

namespace {

using power_man::PoeSwitching;

constexpr const char* supply_signal = "psumcu.poe.signal.set.poe.psu.enabled";
constexpr const char* port_signal = "psumcu.poe.signal.set.port.poe.enabled";

// What the PSU MCU expects: the port in four bytes, lowest first, the state, and three bytes
// without a meaning.
std::array<std::uint8_t, 8> port_payload(std::uint32_t port, bool on)
{
    std::array<std::uint8_t, 8> payload{};
    for (std::size_t i = 0; i < 4; ++i)
        payload[i] = static_cast<std::uint8_t>(port >> (8 * i));
    payload[4] = on ? 1 : 0;
    return payload;
}

const char* on_off(std::uint8_t state)
{
    return state != 0 ? "on" : "off";
}

int describe_port(const void* data, unsigned int kept, unsigned int length, char* text,
                  unsigned int size)
{
    std::array<std::uint8_t, 8> payload{};
    if (length != payload.size() || kept != length)
        return -1;
    std::memcpy(payload.data(), data, payload.size());
    std::uint32_t port = 0;
    for (std::size_t i = 4; i > 0; --i)
        port = port << 8U | payload[i - 1];
    qv_snprintf(text, size, "port %u %s", port, on_off(payload[4]));
    return CBUS_TEXT_BEHIND_NAME;
}

int describe_supply(const void* data, unsigned int kept, unsigned int length, char* text,
                    unsigned int size)
{
    if (length != 1 || kept != 1)
        return -1;
    qv_snprintf(text, size, "%s", on_off(*static_cast<const std::uint8_t*>(data)));
    return CBUS_TEXT_BEHIND_NAME;
}

} // namespace

void PwrMgrPoe::describeSignals()
{
    cbus_describe(port_signal, describe_port);
    cbus_describe(supply_signal, describe_supply);
}

void PwrMgrPoe::setPowerForPoePort(std::uint32_t port)
{
    if (port >= numPorts)
        return;
    const bool wanted = (*portEnabled)[port] && lanEnabled && (*poeEnabled)[port];
    const power_man::Model* const model = power_man::current_model();
    switch (model != nullptr ? model->poe : PoeSwitching::none) {
    case PoeSwitching::none:
        break;
    case PoeSwitching::fpga:
        applyThroughFpga(wanted);
        break;
    case PoeSwitching::psu_mcu:
        applyThroughPsuMcu(port, wanted);
        break;
    }
}

void PwrMgrPoe::setPowerForAllPoePorts()
{
    qv_slog(7, "PwrMgrPoe::setPowerForAllPoePorts()");
    for (std::uint32_t port = 0; port < numPorts; ++port)
        setPowerForPoePort(port);
}

bool PwrMgrPoe::isPoePowerNeeded()
{
    return lanEnabled &&
           std::find(poeEnabled->begin(), poeEnabled->end(), true) != poeEnabled->end();
}

// There is one output for all ports.
void PwrMgrPoe::applyThroughFpga(bool wanted)
{
    setPoeOnV820(wanted && !pwrControlled);
}

// The supply must be on before a port is commanded and may go only after it. Port 0 keeps its
// power in the heat.
void PwrMgrPoe::applyThroughPsuMcu(std::uint32_t port, bool wanted)
{
    const bool on = wanted && (port == 0 || !pwrControlled);
    if (isPoePowerNeeded()) {
        qv_slog(7, "\nPoePsu power is needed");
        setPoePsu(true);
        setPoeOnRmBdu(on, port);
    } else {
        qv_slog(7, "\nPoePsu power is not needed");
        setPoeOnRmBdu(on, port);
        setPoePsu(false);
    }
}

void PwrMgrPoe::setPoePsu(bool on)
{
    std::int32_t present = 1;
    if (config_read_int(SUPPLY_STATUS, &present) != 0) {
        qv_slog(7, "\n%s not defined. POE PSU is not controlled.\n", SUPPLY_STATUS);
        present = on ? 0 : 1;
    }
    if ((present != 0) == on)
        return;
    qv_slog(7, "\n cbus_send_signal: PSUMCU_POE_SIGNAL_SET_POE_PSU_ENABLE with PoePsu %s",
            on ? "on" : "off");
    const std::uint8_t payload = on ? 1 : 0;
    cbus_send_signal(cbusConn, supply_signal, &payload, sizeof payload);
}

void PwrMgrPoe::setPoeOnV820(bool on) const
{
    const int fd = pwr_mgr_open(V820_SYSFS_POE, O_RDWR);
    if (fd < 0) {
        qv_slog(3, "Failed to open poe interface %s", V820_SYSFS_POE);
        return;
    }
    power_man::DeviceFile file(fd);
    if (file.write(on ? "1" : "0"))
        config_write_int(RAM_STATUS_POE, on ? 1 : 0);
    else
        qv_slog(3, "Failed to enable/disable poe interface; write() returned %s",
                std::strerror(errno));
}

void PwrMgrPoe::setPoeOnRmBdu(bool on, std::uint32_t port)
{
    const std::array<std::uint8_t, 8> payload = port_payload(port, on);
    cbus_send_signal(cbusConn, port_signal, payload.data(), payload.size());
}

// SPDX-License-Identifier: MIT
#include <fcntl.h>

#include "base/device_file.h"
#include "phone/pwr_mgr_phone.h"

// NOLINTNEXTLINE(performance-unnecessary-value-param): the test works on a copy
void PwrMgrPhone::writePOSTResult(CBitePostApi post)
{
    const CPostId phone_test(0x40000000, 0x00100000, 0x40138405);
    if (!post.isPostAllowed(phone_test))
        return;
    post.setPOST_start(phone_test);
    for (const auto& [number, port] : ports) {
        // As for a switch of the port's power, but nothing is written.
        const power_man::DeviceFile device(port.device.c_str(), O_WRONLY | O_TRUNC);
        if (!device.is_open()) {
            post.reportPostResult(phone_test, CBitePostApi::POST_FAILED);
            return;
        }
    }
    post.reportPostResult(phone_test, CBitePostApi::POST_PASSED);
}

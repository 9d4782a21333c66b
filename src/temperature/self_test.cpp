// SPDX-License-Identifier: MIT
#include "temperature/self_test.h"

#include "ap/log.h"
#include "base/terminal.h"

void bite_ready_cb(void*)
{
    if (power_man::tracing(power_man::Trace::detail))
        qv_slogd("BITE handler ready callback\n");
}

/* SPDX-License-Identifier: MIT */
/*
 * A daemon of the terminal in C. Each time that the handler of the built-in test equipment (BITE)
 * is ready it tests the real-time clock, and tells both handlers whether the clock is missing.
 */
#include <stdlib.h>

#include "ap/bus.h"
#include "ap/config.h"
#include "ap/device.h"
#include "ap/log.h"
#include "ap/loop.h"
#include "ap/supervision.h"
#include "bite/bite_api.h"
#include "event_handler/event_client.h"

/* Examples: the terminal's lists say which numbers are whose. */
enum { MODULE = 0x40000000, MODULE_ID = 0x00200000, CLOCK = 0x501, UNIT = 0x0501 };
static const EventDefinition clock_missing = {0x20501, 1, "Clock missing"};

static void* self_tests; /* handles, for as long as the process lives */
static void* bite_events;

/* Also when all is well: an event that was raised before a restart ends like this. */
static void report_clock(int works)
{
    bite_eventResult(bite_events, bite_createEventRep(MODULE, MODULE_ID, CLOCK),
                     works ? BITE_EVENT_OFF : BITE_EVENT_ON);
    reportEventOnUnit(clock_missing.id, UNIT, 0, works ? EV_STATE_CLEARED : EV_STATE_RAISED, 0);
}

static void run_self_test(void* context)
{
    (void)context;
    const uint32_t test = bite_createPostRep(MODULE, MODULE_ID, CLOCK);
    if (!bite_isPostAllowed(self_tests, test))
        return;
    bite_setPOST_start(self_tests, test);
    const int works = device_exists("/dev/rtc0");
    bite_PostResult(self_tests, test, works);
    report_clock(works);
}

int main(void)
{
    qv_set_default_sig_handlers();
    _fdloop_t* const loop = fdloop_init();
    _cbus_conn_t* const bus = loop != NULL ? cbus_conn_create(loop, "clock_daemon.") : NULL;
    if (bus == NULL)
        qv_panic("Could not connect to cbus!");
    config_init_cbus(bus, 0);
    appmgr_alive_fdloop_register(loop);

    setEventConnection(bus);
    registerEventDefinition(&clock_missing, 1);
    bite_events = bite_eventApiInit(bus);
    self_tests = bite_postApiInit(bus);
    bite_registerPostReadyCB(self_tests, run_self_test, NULL);
    if (bite_isPostReady()) /* since before this start: no change will tell */
        run_self_test(NULL);

    appmgr_signal();
    return fdloop_loop(loop) == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}

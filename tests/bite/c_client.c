/* SPDX-License-Identifier: MIT */
#include "bite/c_client.h"

static struct c_handles* current;

static void post_ready(void* context)
{
    ++*(int*)context;
}

static void past_ready(void* handle)
{
    current->past_context = handle;
    current->ready_calls += 100;
}

void c_open(struct c_handles* handles, _cbus_conn_t* bus)
{
    current = handles;
    handles->post = bite_postApiInit(bus);
    handles->past = bite_pastApiInit(bus);
    handles->event = bite_eventApiInit(bus);
    bite_registerPostReadyCB(handles->post, post_ready, &handles->ready_calls);
    bite_registerPastReadyCB(handles->past, past_ready);
}

void c_close(struct c_handles* handles)
{
    bite_postApiClose(handles->post);
    bite_pastApiClose(handles->past);
    bite_eventApiClose(handles->event);
}

int c_report(const struct c_handles* handles, uint32_t test, uint32_t event)
{
    const int results[] = {bite_isPostReady(),
                           bite_isPostExtended(handles->post),
                           bite_isPostAllowed(handles->post, test),
                           bite_setPOST_start(handles->post, test),
                           bite_PostResult(handles->post, test, 1),
                           bite_PostResInfo(handles->post, test, 2, -5),
                           bite_isPastReady(),
                           bite_isPastAllowed(handles->past, test)};
    int digits = 0;
    for (unsigned int i = 0; i < sizeof results / sizeof results[0]; ++i)
        digits = digits * 10 + (results[i] < 0 ? 9 : results[i]);
    bite_setPAST_start(handles->past, test);
    bite_PastResult(handles->past, test, 0);
    bite_PastResInfo(handles->past, test, 1, 7);
    bite_cmResult(handles->event, event, 2);
    bite_cmResInfo(handles->event, event, 99, -1);
    bite_eventResult(handles->event, event, 1);
    bite_eventResInfo(handles->event, event, 1, 7);
    return digits;
}

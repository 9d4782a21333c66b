/* SPDX-License-Identifier: MIT */
/*
 * A client of the terminal's event handler: event definitions and event reports go out as bus
 * signals, nothing comes back. Nothing blocks; a signal that cannot be sent is logged and lost.
 * It needs no more than the platform interface, and can be used from C.
 */
#ifndef EVENT_CLIENT_H
#define EVENT_CLIENT_H

#include <stdint.h>

#include "ap/bus.h"

#ifdef __cplusplus
extern "C" {
#endif

enum { EV_STATE_CLEARED = 1, EV_STATE_RAISED = 2 };

/* On the bus a definition is 12 bytes everywhere: the third word is the text's address on a
 * 32-bit terminal, and 0 elsewhere. */
typedef struct EventDefinition {
    uint32_t id;
    uint32_t kind; /* 1, or 2 for the end of the terminal */
    const char* shortText;
} EventDefinition;

/* As it is on the bus, little-endian. */
typedef struct EventReport {
    uint32_t eventId;
    uint16_t unit;
    uint16_t unitIndex;
    uint32_t value;
    uint32_t state; /* EV_STATE_RAISED or EV_STATE_CLEARED */
} EventReport;

/* To be called before everything else; the connection stays the caller's. */
void setEventConnection(_cbus_conn_t* connection);

/* Publishes the texts of the definitions in the configuration database, then sends the
 * definitions to the event handler. */
void registerEventDefinition(const EventDefinition* definitions, unsigned int count);

/* All three return 0, whatever becomes of the signal. */
int forwardEventReport(const EventReport* report);
int reportEventOnUnit(unsigned int eventId, uint16_t unit, uint16_t unitIndex, unsigned int state,
                      unsigned int value);
int clearEvents(unsigned int number);

#ifdef __cplusplus
}

/* The first half of registerEventDefinition(): a text that cannot be written is logged. */
void registerEventShortText(const EventDefinition* definitions, unsigned int count);
#endif

#endif

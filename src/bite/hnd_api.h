// SPDX-License-Identifier: MIT
#pragma once

#include "ap/bus.h"
#include "bite/bite.h"

// A connection to the BITE handler, which is another process: signals go out, nothing comes back.
class CBiteHndApi : public CBite {
public:
    CBiteHndApi();
    CBiteHndApi(const CBiteHndApi&) = default;
    CBiteHndApi& operator=(const CBiteHndApi&) = default;
    virtual ~CBiteHndApi();

    // To be called before anything is sent; the connection stays the caller's.
    virtual void init(_cbus_conn_t* connection);

    // Sends a signal of `length` bytes. 0 or the bus's error; -1, and a warning, without a name,
    // a payload or a length.
    int sendMsg(const char* name, const char* payload, unsigned int length) const;

    // Sends a text of at most 48 characters with its NUL, in the form of printf. As above.
    [[gnu::format(printf, 3, 4)]] int sendText(const char* name, const char* format, ...) const;

private:
    _cbus_conn_t* connection_;
};

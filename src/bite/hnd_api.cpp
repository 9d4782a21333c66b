// SPDX-License-Identifier: MIT
#include "bite/hnd_api.h"

#include <array>
#include <cstdarg>
#include <cstring>

#include "ap/log.h"
#include "ap/text.h"

CBiteHndApi::CBiteHndApi() : connection_(nullptr) {}
CBiteHndApi::~CBiteHndApi() = default;

void CBiteHndApi::init(_cbus_conn_t* connection)
{
    connection_ = connection;
}

int CBiteHndApi::sendMsg(const char* name, const char* payload, unsigned int length) const
{
    if (name == nullptr || payload == nullptr || length == 0) {
        qv_slog(4, "Cannot send msg, (%p,%p - len: %d)\n", static_cast<const void*>(name),
                static_cast<const void*>(payload), static_cast<int>(length));
        return -1;
    }
    return cbus_send_signal(connection_, name, payload, length);
}

int CBiteHndApi::sendText(const char* name, const char* format, ...) const
{
    std::array<char, 49> text;
    std::va_list arguments;
    va_start(arguments, format);
    qv_vsnprintf(text.data(), text.size(), format, arguments);
    va_end(arguments);
    return sendMsg(name, text.data(), static_cast<unsigned int>(std::strlen(text.data()) + 1));
}

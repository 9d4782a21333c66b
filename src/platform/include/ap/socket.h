/* SPDX-License-Identifier: MIT */
/* Stream sockets for the loop: close-on-exec, and none that blocks on reading or writing. */
#ifndef AP_SOCKET_H
#define AP_SOCKET_H

#ifdef __cplusplus
extern "C" {
#endif

/*
 * A listening socket at `address`, "tcp*HOST*PORT" with a numeric IPv4 host. `flags` is 0.
 * The caller owns the descriptor. A negative errno on failure.
 */
int socket_create_server(const char* address, int flags);

/*
 * Accepts one connection of a listening socket; has the form of a loop callback, whose
 * arguments it takes (`user` is not looked at). The caller owns the descriptor. 0 or a
 * negative errno when there is no connection to take, or when it comes from somebody who has no
 * business here: then it is closed already.
 */
int socket_create_server_client(int listening, void* user);

#ifdef __cplusplus
}
#endif

#endif

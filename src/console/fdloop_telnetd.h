// SPDX-License-Identifier: MIT
// The debug console: the command shell for telnet clients, each with a shell of its own.
//
// This module also defines qv_vprintf(), qv_puts() and fdloop_telnet_get_fd() (ap/output.h):
// what a shell command prints goes to the connection that ran it, all other output to standard
// output. Output never blocks; what a client does not take is lost.
#pragma once

#include "ap/loop.h"

// Takes a connection's input in place of its shell: `length` bytes at `data`, without telnet
// commands, valid during the call.
using telnet_input_hook = void (*)(void* context, char* data, int length);

// Listens at `address` ("tcp*HOST*PORT") and serves clients from `loop`; `shell_name` is the
// prompt and must live as long as the process. 0, or a negative errno of the registration. No
// server socket stops the process. Any number of clients is served, as long as they leave the
// process a quarter of its descriptors; those beyond are told to try again later.
int fdloop_telnetd_init(_fdloop_t* loop, const char* address, const char* shell_name);

// Gives the input of the connection whose command is running to `hook` from now on. Returns the
// connection's descriptor, which stays this module's; -1, and nothing is set, outside a
// connection's command.
int fdloop_telnet_hook_input(telnet_input_hook hook, void* context);

// Writes with every bare line feed made CR LF; a line feed is bare unless a carriage return
// stands before it in the same call. Returns the bytes written, added ones counted; after a
// short write, those of the complete pieces before it.
int fdputs(int fd, const char* data, int length);
int fdloop_telnet_write(int fd, const char* data, int length);

// Three bytes: IAC, `command`, `option`. The result of write().
int telnet_command_send(int fd, unsigned char command, unsigned char option);

// Offers the character-at-a-time mode in which the shell does the echo. 0.
int telnet_command_init_default(int fd);

// Takes telnet commands, three bytes each, out of the data; returns the new length. A command
// that the end of the data cuts off is left.
int telnet_input_filter(char* data, int length);

namespace power_man {

// The length of the first line, its end included, without the bytes of telnet commands that end
// lines elsewhere; all of the data without a line's end.
int first_line(const char* data, int length);

} // namespace power_man

// Callbacks of the loop: the context of the first is the loop, of the second the connection.
int fdloop_telnetd_accept(int listening, void* loop);
int fdloop_telnetd_input(int fd, void* connection);

// Closes all connections and stops listening; at exit of its own accord.
void fdloop_telnetd_close();

/* SPDX-License-Identifier: MIT */
/*
 * Device and sysfs files, named by their absolute paths on the board. An implementation may
 * keep the whole board under another root, or emulate it.
 *
 * The functions behave as the system calls of the same names: -1 and errno on failure. They
 * block as long as the kernel's driver does; a named pipe in a device's place makes nobody wait
 * (ENXIO without a reader, EAGAIN when it is full).
 */
#ifndef AP_DEVICE_H
#define AP_DEVICE_H

#include <stddef.h>
#include <sys/types.h>

#ifdef __cplusplus
extern "C" {
#endif

/* The caller owns the descriptor; it is close-on-exec. `flags` are open's; nothing is ever
 * created. */
int device_open(const char* path, int flags);

/* On a descriptor of device_open(). A write may be answered by the device at once: the line's
 * directory exists when the write of its number to "export" returns. */
ssize_t device_write(int fd, const void* data, size_t length);

int device_close(int fd);

/* 1 when the path exists, 0 when it does not or cannot be looked at. */
int device_exists(const char* path);

#ifdef __cplusplus
}
#endif

#endif

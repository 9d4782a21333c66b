/* SPDX-License-Identifier: MIT */
/*
 * The event loop: one thread, one callback at a time.
 *
 * No function here blocks except fdloop_loop(). Callbacks must return promptly: the same
 * loop serves the supervision of the daemon.
 */
#ifndef AP_LOOP_H
#define AP_LOOP_H

#ifdef __cplusplus
extern "C" {
#endif

typedef struct _fdloop_t _fdloop_t;

/*
 * A descriptor's callback. 0 keeps the watch; any other value ends it. A callback that ends
 * its watch may have closed the descriptor, and may have registered a new descriptor that got
 * the same number: the new watch stays.
 */
typedef int (*fdloop_fd_callback)(int fd, void* user);

/* A timer's callback. Its result has no meaning: a timer fires once and is gone. */
typedef int (*fdloop_timer_callback)(void* user);

/* The process's loop; null when the kernel refuses one. It lives until the process ends. */
_fdloop_t* fdloop_init(void);

/* Runs callbacks until the process is asked to end (SIGTERM, SIGINT, `exit` on the terminal's
 * shell). Returns 0, or a negative errno when waiting itself fails. Blocks. */
int fdloop_loop(_fdloop_t* loop);

/*
 * Watches `fd` for input. `fd` stays the caller's: it must be open, must not be registered
 * already, and is never closed by the loop. A watch ends with a non-zero result of its
 * callback. 0, or a negative errno (-EBADF, -EEXIST, -EPERM for what cannot be polled).
 */
int fdloop_fd_register(_fdloop_t* loop, int fd, fdloop_fd_callback callback, void* user);

/*
 * Watches `fd` for an exceptional condition: urgent data of a socket, a change of a sysfs
 * attribute. The condition of an attribute lasts until it is read again from offset 0; read it
 * once before registering, since a fresh descriptor shows one. Results as above.
 */
int fdloop_fd_register_except(_fdloop_t* loop, int fd, fdloop_fd_callback callback, void* user);

/* Ends such a watch; to be called before `fd` is closed. 0, or -ENOENT without a watch. */
int fdloop_fd_unregister_except(_fdloop_t* loop, int fd);

/*
 * Calls `callback` once, `milliseconds` from now. Timers fire in the order of their due time,
 * equal times in the order of adding. A timer that is added by a timer callback never runs in
 * the same turn of the loop. Returns the timer's id (above 0), or a negative errno.
 */
int fdloop_timer_add(_fdloop_t* loop, unsigned int milliseconds, fdloop_timer_callback callback,
                     void* user);

/* Starts a pending timer afresh with the given time. 0, or -ENOENT when it is not pending. */
int fdloop_timer_set_interval(int timer_id, unsigned int milliseconds);

#ifdef __cplusplus
}
#endif

#endif

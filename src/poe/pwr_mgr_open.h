/* SPDX-License-Identifier: MIT */
/* open and close of the board's control files, for C and C++. */
#ifndef PWR_MGR_OPEN_H
#define PWR_MGR_OPEN_H

#ifdef __cplusplus
extern "C" {
#endif

/* As open(2) of a file on the board: the descriptor, which the caller owns, or -1 and errno.
 * Files are never created, so that the mode after `flags` has no effect. */
int pwr_mgr_open(const char* file, int flags, ...);

/* As close(2). */
int pwr_mgr_close(int fd);

#ifdef __cplusplus
}
#endif

#endif

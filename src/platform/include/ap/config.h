/* SPDX-License-Identifier: MIT */
/*
 * The configuration database, shared by the terminal's daemons.
 *
 * A key is a dotted name of 1 to 255 printable characters without blanks. A value is a string
 * of bytes, at most 64 KiB. An integer is stored as signed 32-bit decimal text; reading
 * anything else as an integer fails.
 *
 * Every function returns 0 on success, unless it says otherwise, and a negative errno on failure;
 * the destination is untouched then. Calls are answered from the database at once: they may
 * wait for it, but never longer than a fixed deadline well below the supervision's.
 */
#ifndef AP_CONFIG_H
#define AP_CONFIG_H

#include <stdint.h>

#include "ap/bus.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Type codes of an item. */
enum config_type {
    CONFIG_TYPE_INTEGER = 1, /* int32_t at `data`, `size` 4 */
    CONFIG_TYPE_STRING = 2,  /* NUL-terminated text in `size` bytes at `data` */
    CONFIG_TYPE_RAW = 16     /* bytes as they are, at most `size` of them */
};

/* One key with its value: six words on the terminal. */
typedef struct config_data {
    uint32_t type;   /* enum config_type */
    const char* key; /* NUL-terminated */
    void* data;      /* the value; null when the key has none */
    uint32_t size;   /* bytes at `data` */
    uint32_t length; /* bytes of the value found */
    int32_t status;  /* 0, or non-zero when the item could not be read */
} config_data_t;

/*
 * A change callback: `count` records in the order in which they were written, valid during the
 * call. Records are integers; `data` is null for a removed key and for a value that is no
 * integer.
 */
typedef void (*config_change_callback)(unsigned int count, const config_data_t* records,
                                       void* user);

/* Puts the database onto a bus connection; before that every call below fails (-ENOTCONN).
 * `flags` is 0. */
int config_init_cbus(_cbus_conn_t* connection, int flags);

/* -ENOENT: no such key; -EINVAL: the value is no integer; -EMSGSIZE: the text with its NUL
 * does not fit into `size` bytes. */
int config_read_int(const char* key, int32_t* value);
int config_read_string(const char* key, char* text, unsigned int size);

int config_write_int(const char* key, int32_t value);
int config_write_string(const char* key, const char* text);

/* Puts 1 into `status` when the key has a value, 0 when it has none. */
int config_status(const char* key, int* status);

/*
 * Several keys in one call. `prefix` says where they stand: every item's key is a whole key, and
 * is `prefix` or below it, as a registration matches. Another key, a null pointer, an unknown
 * type or a size that does not fit the type fails the whole call (-EINVAL) before anything is
 * read or written.
 *
 * Reading fills in each item's `length` and `status`, and writes at most `size` bytes to its
 * `data`. The `status` of an item is 0 when it was read; -ENOENT: no such key, `length` 0;
 * otherwise `length` is the length of the value in the database and `data` is untouched:
 * -EINVAL: no integer, or a text with a NUL in it; -EMSGSIZE: a text that does not fit with its
 * NUL. A raw value that is longer than `size` is read too, cut to `size` bytes: compare `length`.
 * Returns the number of items read, or a negative errno when the database cannot be asked; the
 * items' results say nothing then.
 */
int config_readv(const char* prefix, unsigned int count, config_data_t* items);

/* Writes at most 1024 keys (-E2BIG) that become visible together and are reported in one
 * delivery, in the order of the items. A text must end within its `size`; `length` and `status`
 * play no part. Nothing is written on failure. */
int config_writev(const char* prefix, unsigned int count, const config_data_t* items);

/*
 * Reads every key that the POSIX extended regular expression `pattern` (at most 255 characters)
 * matches as a whole, as integers, in the order of the keys. An item whose value is no integer
 * has null `data` and a non-zero `status`. The items, their keys and their values are one
 * allocation, which the caller frees with free(`*items`); it is null when no key matches. More
 * than 1024 matches are refused (-E2BIG). Looks at every key of the database: for the start of a
 * program, not for its daily work.
 */
int config_readm(const char* pattern, unsigned int* count, config_data_t** items);

/* Where the value of a key belongs. */
typedef struct config_field {
    const char* key;
    int32_t* value;
} config_field_t;

/* What config_parse() returns when it has stored nothing. */
#define CONFIG_NO_FIELD 0x80000000U

/* Stores an integer item into the field of the table whose key equals the item's, and returns
 * the index of that entry; CONFIG_NO_FIELD when there is none or the item has no integer. */
uint32_t config_parse(const config_data_t* item, const config_field_t* table, unsigned int entries);

/*
 * Calls `callback` for every later write of the key `key` itself and of every key below it:
 * "a.b" and "a.b." match "a.b" and "a.b.c", never "a.bc". The present value is not reported,
 * nor is a write that was made before the registration. Every write counts, also of an equal
 * value, and its record carries the value of that write. Callbacks run from the loop, never
 * from inside a write; what was written together arrives together, in one call for each
 * (callback, user) pair, however many of its registrations match. The same (key, callback,
 * user) again changes nothing. `key` is copied.
 */
int config_change_register(const char* key, config_change_callback callback, void* user);

/* Ends that registration; its callback does not run any more, also when called from within a
 * delivery. -ENOENT when there is none. */
int config_change_deregister(const char* key, config_change_callback callback, void* user);

/*
 * The keys below `prefix` (copied) are the user's settings: what this process writes there is a
 * default. An implementation that makes up for writes that got lost writes such a key again only
 * where it is missing; others do nothing here.
 */
int config_user_settings(const char* prefix);

/*
 * Calls `callback` from the loop with 1 when the database is out of reach, and with 0 when it is
 * back. In between reads are answered from what is known, own writes are made up for later, and
 * what others change does not arrive. There is one callback, the last one given. Where the database
 * cannot be out of reach it is never called.
 */
typedef void (*config_away_callback)(int away, void* user);
int config_away_register(config_away_callback callback, void* user);

#ifdef __cplusplus
}
#endif

#endif

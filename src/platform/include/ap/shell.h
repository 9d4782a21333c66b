/* SPDX-License-Identifier: MIT */
/*
 * The command shell: commands that a daemon adds, and shells that run them, one for the
 * terminal and one for each console connection. A shell prints through qv_puts() and
 * qv_vprintf() (ap/output.h).
 */
#ifndef AP_SHELL_H
#define AP_SHELL_H

#include <stdint.h>

#include "ap/loop.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Results of a command's handler. */
enum {
    SHELL_OK = 0,
    SHELL_FAILED = 1, /* what was asked could not be done; the command has said why */
    SHELL_EXIT = 2,   /* ends the shell that ran the command */
    SHELL_USAGE = 3,  /* the shell prints the command's help text */
    SHELL_ANSWER = 16 /* SHELL_ANSWER + n: done, and n is its answer for a script: 0 to 125, and
                         not 2, which says that no answer came */
};

/* `argv[0]` is the command's name; `argc` counts it. Valid during the call. */
typedef int (*shell_handler)(int argc, char** argv);

typedef struct shell_command {
    const char* directory; /* "/bin" */
    const char* name;
    shell_handler handler;
    uintptr_t flags;  /* 4: an ordinary command */
    const char* help; /* one line with its line end */
    uintptr_t reserved[2];
} shell_command_t;

/* Adds a command, in alphabetical order. The record must live as long as the process. May be
 * called before main(). 0, or -EEXIST. */
int shell_command_add_sorted(const shell_command_t* command);

/*
 * Offers the words that may follow `before`: the words of the line behind the command's name that
 * are complete, with their blanks; empty behind the name itself. `offer` takes each word with
 * `list`, and copies it; the shell shows those that begin with what is being typed.
 */
typedef void (*shell_offer)(void* list, const char* word);
typedef void (*shell_completer)(const char* before, shell_offer offer, void* list);

/* Completes the arguments of a command that was added. `name` must live as long as the process. An
 * implementation without completion does nothing here. 0, or -ENOENT. */
int shell_command_complete(const char* name, shell_completer completer);

/* Puts a shell with the given name (its prompt) onto the process's terminal. `exit` and ^D end
 * the loop, ^C drops the line. 0, or a negative errno. */
int fdloop_shell_init(_fdloop_t* loop, const char* name);

/* One shell; null when memory is short. `name` must outlive it. The owner frees it. */
typedef struct qv_cshell qv_cshell_t;
qv_cshell_t* qv_cshell_alloc(const char* name);
void qv_cshell_free(qv_cshell_t* shell);

/* Prints the prompt. */
void qv_cshell_prompt(qv_cshell_t* shell);

/* Takes what was typed: any bytes, any length, any split. 0 to go on, SHELL_EXIT when the
 * shell wants to end (the rest of the input is dropped); nothing else. */
int qv_cshell_process_buf(qv_cshell_t* shell, const char* data, int length);

#ifdef __cplusplus
}
#endif

#endif

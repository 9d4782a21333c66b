// SPDX-License-Identifier: MIT
#include "ap/shell.h"

#include <cerrno>
#include <new>

#include "host/host/host.h"
#include "host/shell/commands.h"

int shell_command_add_sorted(const shell_command_t* command)
{
    return host::add_command(command);
}

int shell_command_complete(const char* name, shell_completer completer)
{
    return host::complete_command(name, completer);
}

int fdloop_shell_init(_fdloop_t* loop, const char* name)
{
    return loop == nullptr || name == nullptr ? -EINVAL
                                              : host::instance().terminal.open(*loop, name);
}

qv_cshell_t* qv_cshell_alloc(const char* name)
{
    return new (std::nothrow) qv_cshell(name, host::instance().shells);
}

void qv_cshell_free(qv_cshell_t* shell)
{
    delete shell;
}

void qv_cshell_prompt(qv_cshell_t* shell)
{
    shell->prompt();
}

int qv_cshell_process_buf(qv_cshell_t* shell, const char* data, int length)
{
    return length > 0 ? shell->feed({data, static_cast<std::size_t>(length)}) : SHELL_OK;
}

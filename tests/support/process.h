// SPDX-License-Identifier: MIT
#pragma once

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <string>
#include <utility>
#include <vector>

// A child of the test, which ends with the object. To kill() and waitpid(), -1 (what fork() gives
// when it fails) and 0 mean many processes: neither is signalled or waited for here.
class Process {
public:
    explicit Process(pid_t child = -1) : child_(child) {} // as fork() gives it to the parent

    // Runs a program, without a shell: its name and arguments. Its standard output is dropped.
    explicit Process(std::vector<std::string> words) : child_(fork())
    {
        if (child_ != 0)
            return;
        std::vector<char*> arguments;
        for (std::string& word : words)
            arguments.push_back(word.data());
        arguments.push_back(nullptr);
        dup2(open("/dev/null", O_WRONLY), STDOUT_FILENO);
        execvp(arguments[0], arguments.data());
        _exit(127);
    }
    Process(Process&& other) noexcept : child_(std::exchange(other.child_, -1)) {}
    Process& operator=(Process&& other) noexcept
    {
        std::swap(child_, other.child_);
        return *this;
    }
    ~Process()
    {
        signal(SIGKILL);
        end();
    }

    bool signal(int number) const { return child_ > 0 && kill(child_, number) == 0; }

    // Waits for it: "exit STATUS", "signal NUMBER", or "none" without a child.
    std::string end()
    {
        const pid_t child = std::exchange(child_, -1);
        int status = 0;
        if (child <= 0 || waitpid(child, &status, 0) != child)
            return "none";
        return WIFEXITED(status) ? "exit " + std::to_string(WEXITSTATUS(status))
                                 : "signal " + std::to_string(WTERMSIG(status));
    }

private:
    pid_t child_;
};

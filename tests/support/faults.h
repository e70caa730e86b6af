// SPDX-License-Identifier: GPL-3.0-or-later
// Faults that really happen: a full disk, a user without rights, a process that is killed.
#pragma once

#include "platform/clsError.h"

#include <csignal>
#include <cstdlib>
#include <functional>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

/// The number of the error that `action` raises, 0 for none.
inline enum clsError::Number ErrorOf(const std::function<void()>& action)
{
    try {
        action();
    } catch (const clsError& error) {
        return static_cast<enum clsError::Number>(error.Number());
    }
    return {};
}

/// While it lives, files end at `bytes`: the next byte fails as on a full disk.
class fullDisk
{
public:
    explicit fullDisk(rlim_t bytes)
    {
        std::signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &m_before);
        const rlimit limit{bytes, m_before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~fullDisk() { setrlimit(RLIMIT_FSIZE, &m_before); }
    fullDisk(const fullDisk&) = delete;
    fullDisk& operator=(const fullDisk&) = delete;

private:
    rlimit m_before{};
};

/// While it lives, a test run as root is an ordinary user, whom file permissions stop.
class ordinaryUser
{
public:
    ordinaryUser()
    {
        if (m_root)
            m_ok = setresuid(65534, 65534, 0) == 0;
    }
    ~ordinaryUser()
    {
        if (m_root && setresuid(0, 0, 0) != 0)
            std::abort();
    }
    ordinaryUser(const ordinaryUser&) = delete;
    ordinaryUser& operator=(const ordinaryUser&) = delete;
    bool Ok() const { return m_ok; }

private:
    bool m_root = geteuid() == 0;
    bool m_ok = true;
};

/// Another process that does `work`, reports that it has, and then lives until it is killed.
class otherProcess
{
public:
    explicit otherProcess(const std::function<void()>& work)
    {
        int ready[2];
        if (pipe(ready) != 0)
            std::abort();
        m_id = fork();
        if (m_id == 0) {
            work();
            if (write(ready[1], "!", 1) == 1) {
                for (;;)
                    pause();
            }
            _exit(1);
        }
        close(ready[1]);
        char done = 0;
        m_ready = read(ready[0], &done, 1) == 1;
        close(ready[0]);
    }
    ~otherProcess() { Kill(); }
    otherProcess(const otherProcess&) = delete;
    otherProcess& operator=(const otherProcess&) = delete;
    bool Ready() const { return m_ready; }
    void Kill()
    {
        if (m_id <= 0)
            return;
        kill(m_id, SIGKILL);
        waitpid(m_id, nullptr, 0);
        m_id = 0;
    }

private:
    pid_t m_id = 0;
    bool m_ready = false;
};

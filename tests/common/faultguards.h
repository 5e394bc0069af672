#ifndef FAULTGUARDS_H
#define FAULTGUARDS_H

// Faults the file system puts in a save's way, made so that they hold for root as well (CI runs
// as root, whom permissions alone do not stop). Each lasts while its guard lives. Linux only.

#include <QtGlobal>

#ifdef Q_OS_LINUX
#include <csignal>
#include <linux/capability.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

// Folder and file permissions bind root only without its override capability: this drops it
// from the thread's effective set (nothing to drop for other users).
class PermissionsBindRoot
{
public:
    PermissionsBindRoot()
    {
        syscall(SYS_capget, &m_header, m_saved);
        __user_cap_data_struct reduced[2] = {m_saved[0], m_saved[1]};
        reduced[0].effective &= ~(1u << CAP_DAC_OVERRIDE);
        syscall(SYS_capset, &m_header, reduced);
    }
    ~PermissionsBindRoot() { syscall(SYS_capset, &m_header, m_saved); }

private:
    __user_cap_header_struct m_header {_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct m_saved[2] {};
};

// A full disk as a write sees it: writing beyond vBytes into any file fails partway.
class DiskFull
{
public:
    explicit DiskFull(rlim_t vBytes)
    {
        std::signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &m_old);
        rlimit limited = m_old;
        limited.rlim_cur = vBytes;
        setrlimit(RLIMIT_FSIZE, &limited);
    }
    ~DiskFull() { setrlimit(RLIMIT_FSIZE, &m_old); }

private:
    rlimit m_old {};
};
#endif

#endif // FAULTGUARDS_H

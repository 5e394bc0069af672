#include "childpriority.h"

#include <QProcess>

#ifdef Q_OS_WIN
#include <windows.h>
#else
#include <unistd.h>
#endif
#ifdef Q_OS_LINUX
#include <sys/resource.h>
#include <sys/syscall.h>
#endif

namespace ChildPriority {

void lower(QProcess &vProcess)
{
#ifdef Q_OS_WIN
    vProcess.setCreateProcessArgumentsModifier([](QProcess::CreateProcessArguments *vArguments) {
        vArguments->flags |= BELOW_NORMAL_PRIORITY_CLASS;
    });
#else
    // Runs in the child between fork and exec, where only async-signal-safe calls belong:
    // nice() is one. A failure leaves the program at the studio's priority, which is harmless.
    vProcess.setChildProcessModifier([] { [[maybe_unused]] const int niceness = ::nice(kSteps); });
#endif
}

void lowerCurrentThread()
{
#ifdef Q_OS_LINUX
    // Linux keeps a niceness per thread; the thread's id names it alone.
    const auto thread = id_t(::syscall(SYS_gettid));
    [[maybe_unused]] const int done
        = ::setpriority(PRIO_PROCESS, thread, ::getpriority(PRIO_PROCESS, thread) + kSteps);
#endif
}

} // namespace ChildPriority

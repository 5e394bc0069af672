#include "childpriority.h"

#include <QProcess>

#ifdef Q_OS_WIN
#include <windows.h>
#else
#include <unistd.h>
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

} // namespace ChildPriority

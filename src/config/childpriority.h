#ifndef CHILDPRIORITY_H
#define CHILDPRIORITY_H

class QProcess;

// The engine, which computes for minutes, runs below the studio's own scheduling priority. It
// still gets every core nobody else wants, but when ten runs share two cores the window keeps
// answering clicks and repainting instead of waiting its turn. gnuplot does not: the plots are
// what the user is waiting for.
namespace ChildPriority {

// How many steps below the studio a computing program runs (Unix niceness).
constexpr int kSteps = 10;

// Makes the program vProcess starts from now on run kSteps below the studio.
void lower(QProcess &vProcess);

// The same for the calling worker thread (the studio's own background computations), where the
// system allows one thread its own priority; elsewhere nothing changes.
void lowerCurrentThread();

} // namespace ChildPriority

#endif // CHILDPRIORITY_H

// The processes that share this program's user and home folder, as the system lists them.
//
// Threads: any.
#pragma once

#include <QByteArray>
#include <QList>
#include <sys/types.h>

/// One process. Its name is cut by the system, on Linux to 15 characters.
struct ProcessEntry {
    pid_t p_pid = 0;
    QByteArray p_comm;
    bool isStopped = false; ///< by a signal or a debugger
};

/// Every process of this user whose home folder is ours. Another user's copy of the program, or one that was given a
/// home folder of its own, works on other files and does not count. Ends of processes during the walk are no error.
QList<ProcessEntry> GetBSDProcessList();

/// The name by which a running copy is recognised: `p_comm`, with " #stopped#" behind it while the process is stopped.
QByteArray ottieniNome(const ProcessEntry &process);

// A disk that is full soon.
#pragma once

#include <QString>
#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

/// Puts an empty disk of `size`, as "256k", at `folder`, for this thread and those that it starts; false where the
/// machine lets nobody do that. umount2() takes it away.
inline bool mountSmallDisk(const QString &folder, const char *size) {
    if (unshare(CLONE_NEWNS | (geteuid() == 0 ? 0 : CLONE_NEWUSER)) != 0)
        return false;
    mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr); // fails in a changed root, which does no harm
    return mount("tmpfs", qPrintable(folder), "tmpfs", 0, qPrintable("size=" + QString(size))) == 0;
}

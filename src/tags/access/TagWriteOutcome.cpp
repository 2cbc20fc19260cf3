#include "tags/access/TagWriteOutcome.h"

#include <cerrno>

TagWriteOutcome tagWriteOutcomeOf(int error) {
    switch (error) {
    case ENOSPC:
    case EDQUOT:
    case EFBIG:
        return TagWriteOutcome::DiskFull;
    case ENOENT:
    case EACCES:
    case EPERM:
    case EROFS:
    case EINVAL:
        return TagWriteOutcome::NotWritable;
    default:
        return TagWriteOutcome::Failed;
    }
}

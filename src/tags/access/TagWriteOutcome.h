// What became of a write of tags.
//
// Threads: any.
#pragma once

enum class TagWriteOutcome {
    Written,
    OtherFormat, ///< neither MP3 nor M4A
    NotWritable, ///< missing, or nothing that this user may write
    Refused,     ///< the write would lose or hurt what else is in the file
    DiskFull,
    Failed ///< another program changed the file meanwhile, or the system would not
};

/// Of a write that ended with this errno.
TagWriteOutcome tagWriteOutcomeOf(int error);

// Changes a file all at once or not at all.
//
// The change is made on a copy in the same folder, under a hidden name, and the copy is renamed over the file when it
// is whole and on the disk: whoever dies at whatever instant, the file is the old one or the new one. Mode, owner,
// access time and extended attributes are kept; the modification time is new, as the content is. A symbolic link is
// followed and stays. Another hard link of the file keeps the old content. A change that changes nothing leaves the
// file alone. What a killed writer left behind is removed by the first change that a later process makes in the same
// folder.
//
// A file that may be written in a folder that may not is written in place (InPlaceWrite.h).
//
// Threads: any; an object belongs to one thread at a time. Of two changes to one file at the same time, the one that
// commits second fails.
#pragma once

#include <QByteArray>
#include <QString>
#include <sys/stat.h>

class SafeFileChange {
public:
    /// Makes the copy. Fails on what is no regular file or may not be written.
    explicit SafeFileChange(const QString &path);
    /// Takes an uncommitted copy away.
    ~SafeFileChange();
    SafeFileChange(const SafeFileChange &) = delete;
    SafeFileChange &operator=(const SafeFileChange &) = delete;

    bool isOpen() const { return copy_ >= 0; }
    /// The copy, open for reading and writing; -1 if there is none.
    int descriptor() const { return copy_; }

    /// Puts the copy in the file's place. False if that failed or the file was changed by somebody else meanwhile; the
    /// file is then what it was. Ends the change.
    [[nodiscard]] bool commit();

    /// The errno of what failed, EBUSY where somebody else changed the file; 0 for nothing.
    int error() const { return error_; }

private:
    bool openFolder();
    bool openCopy();
    bool put();
    bool putInPlace();
    void discard();
    void removeLeftovers() const;
    QByteArray copyPrefix() const;
    QByteArray copySuffix() const;

    int folder_ = -1;
    int copy_ = -1;
    int error_ = 0;
    QByteArray path_;     // without symbolic links
    QByteArray name_;     // of the file within folder_
    QByteArray copyName_; // of the copy within folder_; empty when there is none
    struct stat before_ {};
};

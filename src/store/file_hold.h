#pragma once

#include "store/sqlite.h"

#include <QString>

namespace db {

// One program at a time holds a database file: an exclusive lock on a descriptor of the file that stays open
// for as long as the hold lasts. Every program of ours takes the hold before it reads or writes a file, so a
// second one is refused (3734) instead of writing beside the first.
//
// The engine's own locks are released by the system when any descriptor of the file is closed anywhere in the
// process; this lock belongs to its own descriptor alone, so nothing else the process does can let it go.
// The engine's connection must therefore be closed before the hold it runs under, never after.
class FileHold {
public:
    FileHold() = default;
    ~FileHold();
    FileHold(FileHold&& other) noexcept;
    FileHold& operator=(FileHold&& other) noexcept;
    FileHold(const FileHold&) = delete;
    FileHold& operator=(const FileHold&) = delete;

    // Holds the existing file at `path`; 3734 when another program holds it, 3024 when there is no such file.
    static sqlite::Error Acquire(const QString& path, FileHold& hold);
    // Makes a new, empty file at `path` readable by its owner alone, held from its first moment; refuses a path
    // that exists.
    static sqlite::Error Create(const QString& path, FileHold& hold);
    // Whether a hold is on `path` now, in another program or elsewhere in this one. A missing file is held by
    // nobody.
    static bool HeldElsewhere(const QString& path);
    // The error a refused program reports.
    static sqlite::Error Refusal(const QString& path);

    bool held() const { return m_fd >= 0; }
    // Whether this hold is on the file `path` names now.
    bool holds(const QString& path) const;
    const QString& path() const { return m_path; }
    void release();

    // Puts the complete file `source` in the held file's place in one step and holds it there; the former file
    // is gone. On failure the hold and both files stay as they were.
    sqlite::Error ReplaceWith(const QString& source) { return PutInPlace(source, m_path); }
    // Holds `source`, then gives it the name `target` in one step, replacing what bore that name; what this hold
    // held before is let go. On failure nothing changes.
    sqlite::Error PutInPlace(const QString& source, const QString& target);
    // Copies the held file to `target` (owner-only) through the held descriptor, so that no other descriptor of
    // the file is opened and closed meanwhile.
    bool CopyTo(const QString& target) const;

private:
    static sqlite::Error Lock(int fd, const QString& path);

    int m_fd = -1;
    QString m_path;
};

} // namespace db

#pragma once

#include "store/file_hold.h"
#include "store/prompter.h"

#include <QByteArray>
#include <QDateTime>
#include <QString>

// Compressed backups: the whole database file through zlib, followed by a trailer naming the source path and
// size, under a name that carries the moment of the backup.
namespace ZLib {

// zlib's compress at its default level; empty on failure.
QByteArray CompressBytes(const QByteArray& buffer);
// zlib's uncompress into `size` bytes; empty on failure or when the result is not exactly `size` bytes long.
QByteArray ExpandBytes(const QByteArray& buffer, qint64 size);

// The file layout: stream, the source path's bytes, their count, the marker 3, the source size (4 bytes, low
// byte first). Returns the empty text for a path longer than 255 bytes.
QByteArray PackBackup(const QByteArray& data, const QString& sourcePath);

struct Unpacked {
    QByteArray data;
    QString sourcePath;
    bool ok = false;
};
// The data and the source path of a backup file's bytes; not ok when the trailer or the stream is damaged.
Unpacked UnpackBackup(const QByteArray& file);

// Compresses a database file into `destination` (written under a temporary name, renamed when complete), or
// expands a backup file: the destination is then the source's path with the extension ".ncr", in a folder the
// person chooses when the database still lies where it was. Returns the bytes written, or 0 after telling
// the person why not.
qint64 ProcessFile(bool compress, const QString& source, QString& destination, Prompter& prompter);

// Expands a backup file into `folder`, under the source's name with the extension ".ncr". The database there
// that the restored file is to replace is held by `hold` first; one that another program holds is refused
// before anything is written. Returns the bytes written, or 0 after telling the person why not.
qint64 ExpandInto(const QString& source, const QString& folder, QString& destination, Prompter& prompter,
                  db::FileHold& hold);

} // namespace ZLib

namespace backup {

// "<name before its first point><yymmddHHnnss>.ncz".
QString BackupName(const QString& databasePath, const QDateTime& moment);

// The original file name and the moment a backup name carries; not ok when the name is too short or its
// digits are no moment.
struct BackupNameParts {
    QString original; // the name's rest plus ".nct"
    QDateTime moment;
    bool ok = false;
};
BackupNameParts ParseBackupName(const QString& fileName);

// Puts a restored file in place: base.ncb is removed, base.nct becomes base.ncb, base.ncr becomes base.nct.
// Whatever happens meanwhile, base.nct holds the former or the restored file, complete. A former file that
// another program holds is refused (3734) and nothing moves. On success `hold` holds the restored file in its
// place; whatever it held before is let go.
sqlite::Error RestoreRenames(const QString& base, db::FileHold& hold);

} // namespace backup

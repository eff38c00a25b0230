#include "store/backup.h"

#include "base/messages.h"
#include "store/codepage.h"
#include "store/conversion.h"
#include "store/db.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

#include <zlib.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <optional>

#include <sys/stat.h>
#include <system_error>

namespace ZLib {
namespace {

constexpr char kMarker = 3;
constexpr int kMaxPathBytes = 255;
// zlib never expands more than about 1032 to 1; a larger claim is a damaged or hostile trailer.
constexpr qint64 kMaxRatio = 1100;

bool IsOurDatabase(const QByteArray& bytes) {
    if (bytes.size() < 100 || !bytes.startsWith(QByteArrayLiteral("SQLite format 3\0"))) {
        return false;
    }
    const auto id = static_cast<std::uint32_t>(
        static_cast<unsigned char>(bytes[68]) << 24 | static_cast<unsigned char>(bytes[69]) << 16 |
        static_cast<unsigned char>(bytes[70]) << 8 | static_cast<unsigned char>(bytes[71]));
    return id == static_cast<std::uint32_t>(db::kApplicationId);
}

// Backups and restored files are enciphered as the database is, and readable by their owner alone as it is.
bool WriteWhole(const QString& path, const QByteArray& bytes) {
    QSaveFile file(path);
    return file.open(QIODevice::WriteOnly) && ::fchmod(file.handle(), 0600) == 0 && file.write(bytes) == bytes.size() &&
           file.commit();
}

// The whole file; nothing for a file that cannot be read or is empty, after telling the person.
std::optional<QByteArray> ReadWhole(const QString& source, Prompter& prompter) {
    QFile in(source);
    if (!in.open(QIODevice::ReadOnly)) {
        prompter.message(0, QStringLiteral("The file %1 cannot be read: %2").arg(source, in.errorString()),
                         Prompter::Buttons::Ok, Prompter::Icon::Warning);
        return std::nullopt;
    }
    QByteArray bytes = in.readAll();
    if (bytes.isEmpty()) {
        prompter.message(133, MsgText(133), Prompter::Buttons::Ok, Prompter::Icon::Warning);
        return std::nullopt;
    }
    return bytes;
}

// The data of a backup file's bytes; nothing for one that is not ours or is damaged, after telling the person.
std::optional<Unpacked> ReadBackup(const QByteArray& bytes, Prompter& prompter) {
    Unpacked unpacked = UnpackBackup(bytes);
    if (!unpacked.ok) {
        prompter.message(131, MsgText(131), Prompter::Buttons::Ok, Prompter::Icon::Warning);
        return std::nullopt;
    }
    return unpacked;
}

} // namespace

QByteArray CompressBytes(const QByteArray& buffer) {
    uLongf size = compressBound(static_cast<uLong>(buffer.size()));
    QByteArray out(static_cast<qsizetype>(size), '\0');
    if (compress(reinterpret_cast<Bytef*>(out.data()), &size, reinterpret_cast<const Bytef*>(buffer.constData()),
                 static_cast<uLong>(buffer.size())) != Z_OK) {
        return {};
    }
    out.truncate(static_cast<qsizetype>(size));
    return out;
}

QByteArray ExpandBytes(const QByteArray& buffer, qint64 size) {
    if (size <= 0 || size > kMaxRatio * buffer.size() + 1024) {
        return {};
    }
    uLongf length = static_cast<uLongf>(size);
    QByteArray out(static_cast<qsizetype>(size), '\0');
    if (uncompress(reinterpret_cast<Bytef*>(out.data()), &length, reinterpret_cast<const Bytef*>(buffer.constData()),
                   static_cast<uLong>(buffer.size())) != Z_OK ||
        static_cast<qint64>(length) != size) {
        return {};
    }
    return out;
}

QByteArray PackBackup(const QByteArray& data, const QString& sourcePath) {
    const QByteArray path = codepage::ToBytes(sourcePath);
    if (path.size() > kMaxPathBytes || data.size() > 0xFFFFFFFFLL) {
        return {};
    }
    const QByteArray stream = CompressBytes(data);
    if (stream.isEmpty()) {
        return {};
    }
    return stream + path + static_cast<char>(path.size()) + kMarker + CONVERSION::NumToBytes(data.size(), 4);
}

Unpacked UnpackBackup(const QByteArray& file) {
    Unpacked result;
    const qsizetype last = file.size() - 1;
    if (last < 5 || file[last - 4] != kMarker) {
        return result;
    }
    const auto n = static_cast<unsigned char>(file[last - 5]);
    if (file.size() < n + 6) {
        return result;
    }
    const QByteArray size = file.right(4);
    const qint64 length =
        static_cast<quint32>(static_cast<unsigned char>(size[0]) | static_cast<unsigned char>(size[1]) << 8 |
                             static_cast<unsigned char>(size[2]) << 16 | static_cast<unsigned char>(size[3]) << 24);
    result.sourcePath = codepage::FromBytes(file.mid(file.size() - n - 6, n));
    result.data = ExpandBytes(file.left(file.size() - n - 6), length);
    result.ok = !result.data.isEmpty();
    return result;
}

qint64 ProcessFile(bool compress, const QString& source, QString& destination, Prompter& prompter) {
    const std::optional<QByteArray> read = ReadWhole(source, prompter);
    if (!read) {
        return 0;
    }
    const QByteArray& bytes = *read;
    if (compress) {
        if (!IsOurDatabase(bytes)) {
            prompter.message(130, MsgText(130), Prompter::Buttons::Ok, Prompter::Icon::Warning);
            return 0;
        }
        const QString stored = QDir::toNativeSeparators(QFileInfo(source).absoluteFilePath());
        if (codepage::ToBytes(stored).size() > kMaxPathBytes) {
            prompter.message(0,
                             QStringLiteral("The path of the database is longer than 255 characters and cannot be "
                                            "stored in a backup. Move the database to a shorter path.\n%1")
                                 .arg(stored),
                             Prompter::Buttons::Ok, Prompter::Icon::Warning);
            return 0;
        }
        const QByteArray packed = PackBackup(bytes, stored);
        if (packed.isEmpty() || !WriteWhole(destination, packed)) {
            return 0;
        }
        return packed.size();
    }

    const std::optional<Unpacked> unpacked = ReadBackup(bytes, prompter);
    if (!unpacked) {
        return 0;
    }
    QString original = unpacked->sourcePath;
    original.replace(u'\\', u'/');
    const QFileInfo originalInfo(original);
    QString target = original.chopped(1);
    // While the database still lies where it was, the copy must not land beside it unasked; nor can it go back
    // to a folder that is gone, as for a backup made on another machine.
    if (originalInfo.exists() || !originalInfo.dir().exists()) {
        const QString start = originalInfo.dir().exists() ? originalInfo.absolutePath() : QDir::homePath();
        const QString folder = prompter.chooseFolder(MsgText(147), start);
        if (!folder.isEmpty()) {
            target = QDir(folder).filePath(originalInfo.fileName().chopped(1));
        } else if (!originalInfo.dir().exists()) {
            return 0;
        }
    }
    destination = target + QLatin1Char('r');
    if (!WriteWhole(destination, unpacked->data)) {
        return 0;
    }
    return unpacked->data.size();
}

qint64 ExpandInto(const QString& source, const QString& folder, QString& destination, Prompter& prompter,
                  db::FileHold& hold) {
    const std::optional<QByteArray> bytes = ReadWhole(source, prompter);
    if (!bytes) {
        return 0;
    }
    const std::optional<Unpacked> unpacked = ReadBackup(*bytes, prompter);
    if (!unpacked) {
        return 0;
    }
    QString name = unpacked->sourcePath;
    name = name.mid(std::max(name.lastIndexOf(u'/'), name.lastIndexOf(u'\\')) + 1);
    if (name.isEmpty()) {
        return 0;
    }
    destination = QDir(folder).filePath(name.chopped(1) + QLatin1Char('r'));
    const QString replaced = destination.chopped(1) + QLatin1Char('t');
    if (QFileInfo::exists(replaced)) {
        if (const sqlite::Error e = db::FileHold::Acquire(replaced, hold)) {
            prompter.message(0, QStringLiteral("%1 (error %2)\n\n%3").arg(e.description).arg(e.number).arg(replaced),
                             Prompter::Buttons::Ok, Prompter::Icon::Warning);
            return 0;
        }
    }
    if (!WriteWhole(destination, unpacked->data)) {
        return 0;
    }
    return unpacked->data.size();
}

} // namespace ZLib

namespace backup {
namespace {

// A rollback journal that the engine would play back: it starts with the journal's magic number.
bool IsHotJournal(const QString& path) {
    QFile journal(path);
    return journal.open(QIODevice::ReadOnly) &&
           journal.read(8) == QByteArray::fromHex(QByteArrayLiteral("d9d505f920a163d7"));
}

} // namespace

QString BackupName(const QString& databasePath, const QDateTime& moment) {
    // Stored paths may come from either kind of system, so both separators end a folder.
    const qsizetype slash = std::max(databasePath.lastIndexOf(u'/'), databasePath.lastIndexOf(u'\\'));
    const QString name = databasePath.mid(slash + 1);
    return name.section(QLatin1Char('.'), 0, 0) + moment.toString(QStringLiteral("yyMMddHHmmss")) +
           QStringLiteral(".ncz");
}

BackupNameParts ParseBackupName(const QString& fileName) {
    BackupNameParts parts;
    const QString stem = fileName.section(QLatin1Char('.'), 0, 0);
    if (stem.size() < 12) {
        return parts;
    }
    const QString digits = stem.right(12);
    const QDate date(2000 + digits.mid(0, 2).toInt(), digits.mid(2, 2).toInt(), digits.mid(4, 2).toInt());
    const QTime time(digits.mid(6, 2).toInt(), digits.mid(8, 2).toInt(), digits.mid(10, 2).toInt());
    bool numeric = true;
    for (QChar c : digits) {
        numeric = numeric && c.isDigit();
    }
    if (!numeric || !date.isValid() || !time.isValid()) {
        return parts;
    }
    parts.original = stem.left(stem.size() - 12) + QStringLiteral(".nct");
    parts.moment = QDateTime(date, time);
    parts.ok = true;
    return parts;
}

sqlite::Error RestoreRenames(const QString& base, db::FileHold& hold) {
    const QString current = base + QStringLiteral(".nct");
    const QString kept = base + QStringLiteral(".ncb");
    const QString restored = base + QStringLiteral(".ncr");
    if (!QFileInfo::exists(restored)) {
        return sqlite::Error{sqlite::kErrFileNotFound, QStringLiteral("Could not find file '%1'.").arg(restored)};
    }
    // A former file that another program holds is in use there; it is not taken away from under it.
    if (QFileInfo::exists(current)) {
        if (const sqlite::Error e = db::FileHold::Acquire(current, hold)) {
            return e;
        }
    }
    // A journal that a crash left beside the former file belongs to it, and the engine would play it back into
    // whatever file bears the name next. It is played back into the former file now; one that stays hot stops
    // the restore.
    const QString journal = current + QStringLiteral("-journal");
    if (QFileInfo::exists(journal)) {
        db::CheckDatabase(hold);
        if (IsHotJournal(journal)) {
            return sqlite::Error{sqlite::kErrDamaged,
                                 QStringLiteral("The journal %1 could not be played back.").arg(journal)};
        }
    }
    QFile::remove(kept);
    // The former file takes its second name before it loses the first, and the restored file replaces it in one
    // step, held from before it bears the name: a crash at any point leaves a complete file under base.nct, and
    // no other program comes between.
    if (QFileInfo::exists(current)) {
        std::error_code ec;
        std::filesystem::create_hard_link(QFile::encodeName(current).toStdString(),
                                          QFile::encodeName(kept).toStdString(), ec);
        if (ec && !QFile::copy(current, kept)) {
            return sqlite::Error{sqlite::kErrGeneral, QStringLiteral("The file %1 could not be kept.").arg(kept)};
        }
    }
    return hold.PutInPlace(restored, current);
}

} // namespace backup

#pragma once

#include "store/file_hold.h"
#include "store/sqlite.h"

#include <QString>

// The database file: creation, opening, checks, compaction and repair.
namespace db {

// Marks a file as one of ours, so that "is this a Noctaria file" is a real check.
constexpr int kApplicationId = 0x4E435431;

// Three digits, a point, three digits, a point, four digits: "002.005.0000". Such texts compare as strings.
QString VersionText(int major, int minor, int revision);
// The program's own version in that form.
QString ProgramVersionText();

// Creates a new file, readable by its owner alone, holding the empty record table, its indexes and the version
// property. Refuses an existing path. On failure no file is left behind. With `keep`, the new file stays held
// from its first moment on by the hold given back there.
sqlite::Error CreateDatabaseFile(const QString& path, FileHold* keep = nullptr);

// Reads and writes a named text property of the file.
QString ReadProperty(sqlite::Connection& connection, const QString& name);
sqlite::Error WriteProperty(sqlite::Connection& connection, const QString& name, const QString& value);

// Whether an open connection holds one of our files: our application id and the record table.
sqlite::Error CheckOurs(sqlite::Connection& connection);

// Tells a file that is missing, damaged or no database of ours (3049) from one that another program holds
// (3734); a held file is never read, so it is never taken for a damaged one. The description is the engine's own
// text.
sqlite::Error CheckDatabase(const QString& path);
// The same for a file this program holds already.
sqlite::Error CheckDatabase(const FileHold& hold);

// A complete, shrunken copy of `source` at `destination`, which must not exist yet. The source is only read; on
// failure nothing is left at `destination`.
sqlite::Error CompactDatabase(const QString& source, const QString& destination);

// Salvages every row that can still be read from a damaged file into a new file that replaces it. The damaged
// original is kept beside it with the extension ".damaged". A file with nothing readable is left as it was, and
// so is a file another program holds.
sqlite::Error RepairDatabase(const QString& path);

// The one open database of a session and its path. While it is open, the file is held against every other
// program; the hold can outlast the connection for work on the file itself (compaction, backup, restore).
class Database {
public:
    // Opens an existing file of ours for reading and writing, taking the hold on it unless this database holds
    // it already. On failure a hold that was here before stays; one taken here is let go.
    sqlite::Error Open(const QString& path);
    // Closes the file and lets it go.
    void Close();
    // Closes the connection and keeps the file held.
    void CloseKeepingHold();
    // Closes the connection and gives the hold away.
    FileHold TakeHold();
    // Holds the file `hold` names without opening it; a hold that was here before is let go.
    void KeepHold(FileHold hold);
    bool isOpen() const { return m_connection.isOpen(); }
    FileHold& hold() { return m_hold; }
    const QString& DbPath() const { return m_path; }
    sqlite::Connection& connection() { return m_connection; }

private:
    QString m_path;
    // Declared before the connection, so that it goes after it: a connection must never outlive its hold.
    FileHold m_hold;
    sqlite::Connection m_connection;
};

} // namespace db

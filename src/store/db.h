#pragma once

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

// Creates a new file holding the empty record table, its indexes and the version property. Refuses an existing
// path. On failure no file is left behind.
sqlite::Error CreateDatabaseFile(const QString& path);

// Reads and writes a named text property of the file.
QString ReadProperty(sqlite::Connection& connection, const QString& name);
sqlite::Error WriteProperty(sqlite::Connection& connection, const QString& name, const QString& value);

// Whether an open connection holds one of our files: our application id and the record table.
sqlite::Error CheckOurs(sqlite::Connection& connection);

// Opens the file read-only and tells a file that is missing, damaged or no database of ours (3049) from one that
// another program holds locked (3734). The description is the engine's own text.
sqlite::Error CheckDatabase(const QString& path);

// A complete, shrunken copy of `source` at `destination`, which must not exist yet. The source is only read; on
// failure nothing is left at `destination`.
sqlite::Error CompactDatabase(const QString& source, const QString& destination);

// Salvages every row that can still be read from a damaged file into a new file that replaces it. The damaged
// original is kept beside it with the extension ".damaged". A file with nothing readable is left as it was.
sqlite::Error RepairDatabase(const QString& path);

// The one open database of a session and its path.
class Database {
public:
    // Opens an existing file of ours for reading and writing, locked against other programs.
    sqlite::Error Open(const QString& path);
    void Close();
    bool isOpen() const { return m_connection.isOpen(); }
    const QString& DbPath() const { return m_path; }
    sqlite::Connection& connection() { return m_connection; }

private:
    QString m_path;
    sqlite::Connection m_connection;
};

} // namespace db

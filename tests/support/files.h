#pragma once

// Whole files as bytes, and what a folder holds: most tests check that a file is as it was, or that nothing else
// was left beside it.

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QString>
#include <QStringList>

// The file's bytes, or none when it cannot be read.
inline QByteArray FileBytes(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// Replaces the file's content; whether all of it was written.
inline bool WriteFile(const QString& path, const QByteArray& bytes) {
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(bytes) == bytes.size();
}

// The names of the files in the folder, hidden ones too, by name.
inline QStringList FilesIn(const QString& folder) {
    return QDir(folder).entryList(QDir::Files | QDir::Hidden, QDir::Name);
}

// The hex known answer `key` of the lists in tests/data/store-vectors.json, as bytes; none when it is missing.
inline QByteArray ListVector(const char* key) {
    const QJsonObject lists =
        QJsonDocument::fromJson(FileBytes(QStringLiteral(NCT_TEST_DATA_DIR "/store-vectors.json")))
            .object()
            .value(QLatin1String("lists"))
            .toObject();
    return QByteArray::fromHex(lists.value(QLatin1String(key)).toString().toLatin1());
}

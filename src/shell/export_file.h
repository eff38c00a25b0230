#pragma once

#include <QByteArray>
#include <QString>

// What leaves the file deciphered on the person's command: written whole or not at all, readable by its owner
// alone, and announced as not encrypted.
namespace exports {

// Writes `bytes` to `path`; an empty text or the reason it failed.
QString WriteExportFile(const QString& path, const QByteArray& bytes);
// What the person is told after an export: what (a sentence start such as "The balance was") went where, and
// that whoever reads the file reads it all.
QString ExportNotice(const QString& what, const QString& path);

} // namespace exports

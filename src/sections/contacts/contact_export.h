#pragma once

#include <QByteArray>
#include <QString>

class Store;

// The contacts as a tab-delimited text file for other programs: the one way their details leave the file
// deciphered, and only when the person asks.
namespace contacts {

struct TabExport {
    QByteArray text;
    qsizetype count = 0; // contacts written
};

// A header of the field names from `Private` on, then one line per contact this reader may see, its values in
// the same order; each value is followed by a tab, and a value's own line breaks stay in it. Rows that do not
// decipher are passed over.
TabExport AddressTabDelimited(Store& store);

// Writes the export to `path`, readable by its owner alone; an empty text or the reason it failed.
QString ExportAddressTabDelimited(Store& store, const QString& path, qsizetype* count = nullptr);

// What the person is told after an export: how many contacts went where, and that the file is not encrypted.
QString TabExportNotice(const QString& path, qsizetype count);

} // namespace contacts

#pragma once

#include "base/result.h"
#include "sections/contacts/contact.h"

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QVector>

#include <functional>

class Store;

// vCard files in and out: what phones and mail programs exchange. The reader takes versions 2.1, 3.0 and 4.0 and
// trusts nothing in them; the writer writes 4.0.
namespace contacts {

// Bounds that keep a hostile file from costing more than a real address book would.
constexpr qsizetype kVCardMaxBytes = 32 * 1024 * 1024;
constexpr qsizetype kVCardMaxLineBytes = 1024 * 1024;
constexpr int kVCardMaxCards = 50000;
constexpr int kVCardMaxReportedSkips = 1000;

// A line, or a card starting at that line, that was left out, and why.
struct VCardSkip {
    int line = 0;
    QString reason;

    friend bool operator==(const VCardSkip&, const VCardSkip&) = default;
};

// One card made into a contact. Its categories are names: the importer files them in the reader's own list.
struct VCardEntry {
    Contact contact;
    QStringList categories;
    int line = 0; // where the card begins
};

struct VCardReading {
    QVector<VCardEntry> cards;
    // The first kVCardMaxReportedSkips of them; skippedCount counts them all.
    QVector<VCardSkip> skipped;
    int skippedCount = 0;
    // Why the file as a whole was refused; empty when it was read. A refused file yields no cards.
    QString refusal;
};

// The cards of a file. A line that cannot be read is skipped; a card whose frame is broken (no version, a card
// inside a card, no end) or that holds nothing to keep is skipped whole.
VCardReading ReadVCards(const QByteArray& bytes);

// One card: CRLF line ends, lines folded at 75 octets without cutting a character, texts escaped.
QByteArray WriteVCard(const Contact& contact, const QStringList& categoryNames);
// The cards of `contacts`, the category numbers named by the section's list text `categoryList`.
QByteArray VCardFile(const QVector<Contact>& contacts, const QString& categoryList);

// Writes the cards to `path`, whole or not at all and readable by its owner alone. The caller chooses which
// contacts leave the file: private ones only while they are shown. An empty text or the reason it failed.
QString ExportVCards(Store& store, const QVector<Contact>& contacts, const QString& path);

struct VCardImport {
    Result result;
    int imported = 0;
    int categoriesAdded = 0;
};

// Stores the cards as the current user's contacts and files them by category name, matching the trimmed names
// of the list regardless of case and adding the missing ones. Everything lands in one transaction: on any
// failure, on message 52 (no free category number) or when `progress(done, total)` says stop (message 9),
// the file is left as it was and nothing counts as imported.
VCardImport ImportVCards(Store& store, const QVector<VCardEntry>& cards,
                         const std::function<bool(int done, int total)>& progress = {});

} // namespace contacts

#pragma once

#include <QByteArray>
#include <QString>
#include <QVector>

#include <cstdint>

class Store;

// The contact list: two columns, the title and the primary contact, filtered by category on the plain category
// list, so that only the rows shown are deciphered.
namespace contacts {

struct ListItem {
    std::int32_t key = 0;
    QString name;
    QString contactInfo;

    friend bool operator==(const ListItem&, const ListItem&) = default;
};

// Whether a row with the category list `fT5` and the primary category `fG1` stands in the list of `category`:
// every row for "All" (-1, or 9999 as the setting keeps it), the rows without categories for "Unfiled" (0), else
// the rows whose list holds the number.
bool ListedIn(const QByteArray& fT5, std::int64_t fG1, int category);

// The rows of `category` that this reader may see, sorted by name as the locale sorts, ignoring case.
QVector<ListItem> ListContacts(Store& store, int category);

// The status comment of a list of `count` contacts in the category the filter shows as `categoryText`.
QString ListStatus(qsizetype count, const QString& categoryText);

} // namespace contacts

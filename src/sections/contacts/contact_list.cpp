#include "sections/contacts/contact_list.h"

#include "base/messages.h"
#include "sections/categories/categories.h"
#include "sections/contacts/contact.h"
#include "store/cipher_workers.h"
#include "store/record_get.h"
#include "store/store.h"

#include <QCollator>

#include <algorithm>
#include <numeric>

namespace contacts {

namespace {

constexpr int kContactsIn = 387;

} // namespace

bool ListedIn(const QByteArray& fT5, std::int64_t fG1, int category) {
    if (category == categories::kAll || category == categories::kEditCommand) {
        return true;
    }
    // Read as a loaded contact reads it, so that the list and the pane agree on where a contact is filed.
    const QByteArray filed = fT5.trimmed().isEmpty() && fG1 > 0 ? QByteArray::number(fG1) : fT5;
    if (category == categories::kUnfiled) {
        return filed.trimmed().isEmpty();
    }
    return (' ' + filed + ' ').contains(' ' + QByteArray::number(category) + ' ');
}

QVector<ListItem> ListContacts(Store& store, int category) {
    struct SealedRow {
        std::int32_t key = 0;
        QByteArray title;
        QByteArray info;
    };
    sqlite::Statement select =
        store.connection().prepare("SELECT fPK, fT1, fT2, fT5, fG1 FROM tt WHERE fSec=? ORDER BY fPK");
    select.bind(1, static_cast<std::int64_t>(kContactSection));
    const Record_Get::TitleAccess access = store.titleAccess();
    QVector<ListItem> items = cipher_workers::OpenWhileReading<SealedRow, ListItem>(
        store.cry.KeyPool(),
        [&](SealedRow& row) {
            while (select.step()) {
                if (ListedIn(select.bytes(3), select.int64(4), category)) {
                    row = {static_cast<std::int32_t>(select.int64(0)), select.bytes(1), select.bytes(2)};
                    return true;
                }
            }
            return false;
        },
        [&](CRY& cry, const SealedRow& row) {
            ListItem item{row.key, Record_Get::OpenTitle(cry, row.key, row.title, access), {}};
            if (!item.name.isEmpty()) {
                item.contactInfo = Record_Get::OpenTitle(cry, row.key, row.info, access);
            }
            return item;
        });
    // An empty title is one this reader may not see, or one that does not decipher.
    items.removeIf([](const ListItem& item) { return item.name.isEmpty(); });

    QCollator collator;
    collator.setCaseSensitivity(Qt::CaseInsensitive);
    std::vector<QCollatorSortKey> sortKeys;
    sortKeys.reserve(static_cast<std::size_t>(items.size()));
    for (const ListItem& item : items) {
        sortKeys.push_back(collator.sortKey(item.name));
    }
    std::vector<std::size_t> order(sortKeys.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::stable_sort(order.begin(), order.end(),
                     [&](std::size_t a, std::size_t b) { return sortKeys[a].compare(sortKeys[b]) < 0; });
    QVector<ListItem> sorted;
    sorted.reserve(items.size());
    for (const std::size_t i : order) {
        sorted.append(std::move(items[static_cast<qsizetype>(i)]));
    }
    return sorted;
}

QString ListStatus(qsizetype count, const QString& categoryText) {
    return QString::number(count) + u' ' + MsgText(kContactsIn) + u' ' + QStringLiteral(" <") + categoryText + u'>';
}

} // namespace contacts

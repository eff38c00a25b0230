#include "sections/contacts/contact_list.h"

#include "sections/categories/categories.h"
#include "sections/contacts/contact.h"
#include "store/cipher_workers.h"
#include "store/record_get.h"
#include "store/row.h"
#include "store/store.h"

#include <QCollator>

#include <algorithm>
#include <numeric>
#include <thread>
#include <utility>

namespace contacts {

namespace {

constexpr int kTitleColumn = static_cast<int>(Col::fT1);
constexpr int kInfoColumn = static_cast<int>(Col::fT2);

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
    using Record_Get::OpenedTitle;
    struct Sealed {
        std::int32_t key = 0;
        QByteArray title;
        QByteArray info;
    };
    struct Opened {
        Sealed sealed;
        std::optional<OpenedTitle> title;
        std::optional<OpenedTitle> info;
    };
    sqlite::Statement select =
        store.connection().prepare("SELECT fPK, fT1, fT2, fT5, fG1 FROM tt WHERE fSec=? ORDER BY fPK");
    select.bind(1, static_cast<std::int64_t>(kContactSection));
    TitleCache& cache = store.openedTitles;
    const Record_Get::TitleAccess access = store.titleAccess();
    QVector<ListItem> items;
    // An empty title is one this reader may not see, or one that does not decipher.
    const auto take = [&](std::int32_t key, const OpenedTitle* title, const OpenedTitle* info) {
        QString name = title != nullptr ? Record_Get::VisibleText(*title, access) : QString();
        if (!name.isEmpty()) {
            items.append({key, std::move(name), info != nullptr ? Record_Get::VisibleText(*info, access) : QString()});
        }
    };
    // Rows whose cells were opened before in this session are taken as they are read; only the others go to the
    // cores, since only they cost key schedules.
    const QVector<Opened> opened = cipher_workers::OpenWhileReading<Sealed, Opened>(
        store.cry.KeyPool(),
        [&](Sealed& row) {
            while (select.step()) {
                if (!ListedIn(select.bytes(3), select.int64(4), category)) {
                    continue;
                }
                const auto key = static_cast<std::int32_t>(select.int64(0));
                QByteArray title = select.bytes(1);
                QByteArray info = select.bytes(2);
                const TitleCache::Row* known = cache.row(key);
                const OpenedTitle* knownTitle = known != nullptr ? known->find(kTitleColumn, title) : nullptr;
                const OpenedTitle* knownInfo = known != nullptr ? known->find(kInfoColumn, info) : nullptr;
                if (knownTitle != nullptr && (info.isEmpty() || knownInfo != nullptr)) {
                    take(key, knownTitle, knownInfo);
                    continue;
                }
                row = {key, std::move(title), std::move(info)};
                return true;
            }
            return false;
        },
        [](CRY& cry, const Sealed& row) {
            return Opened{row, Record_Get::OpenTitleParts(cry, row.key, row.title),
                          row.info.isEmpty() ? std::nullopt : Record_Get::OpenTitleParts(cry, row.key, row.info)};
        });
    for (const Opened& row : opened) {
        if (row.title) {
            cache.insert(row.sealed.key, kTitleColumn, row.sealed.title, *row.title);
        }
        if (row.info) {
            cache.insert(row.sealed.key, kInfoColumn, row.sealed.info, *row.info);
        }
        take(row.sealed.key, row.title ? &*row.title : nullptr, row.info ? &*row.info : nullptr);
    }

    QCollator collator;
    collator.setCaseSensitivity(Qt::CaseInsensitive);
    std::vector<QCollatorSortKey> sortKeys;
    sortKeys.reserve(static_cast<std::size_t>(items.size()));
    for (const ListItem& item : items) {
        // Folded first: without a collating locale the keys are plain code points, blind to the ignored case.
        sortKeys.push_back(collator.sortKey(item.name.toCaseFolded()));
    }
    std::vector<std::size_t> order(sortKeys.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    // Rows read from the cache and rows opened now arrive in no common order: equal names follow their keys.
    const auto before = [&sortKeys, &listed = std::as_const(items)](std::size_t a, std::size_t b) {
        const int byName = sortKeys[a].compare(sortKeys[b]);
        return byName != 0 ? byName < 0 : listed[static_cast<qsizetype>(a)].key < listed[static_cast<qsizetype>(b)].key;
    };
    // A long list is sorted in two halves at once, then merged: the comparisons are most of a list read again.
    constexpr std::size_t kHalvedFrom = 4096;
    if (order.size() >= kHalvedFrom) {
        const auto middle = order.begin() + static_cast<std::ptrdiff_t>(order.size() / 2);
        std::thread firstHalf([&] { std::sort(order.begin(), middle, before); });
        std::sort(middle, order.end(), before);
        firstHalf.join();
        std::inplace_merge(order.begin(), middle, order.end(), before);
    } else {
        std::sort(order.begin(), order.end(), before);
    }
    QVector<ListItem> sorted;
    sorted.reserve(items.size());
    for (const std::size_t i : order) {
        sorted.append(std::move(items[static_cast<qsizetype>(i)]));
    }
    return sorted;
}

QString ListStatus(qsizetype count, const QString& categoryText) {
    // The catalogue's text under this number reads "Address", which says nothing about the count before it.
    return QString::number(count) + QStringLiteral(" contacts in  <") + categoryText + u'>';
}

} // namespace contacts

#include "sections/record_store.h"

#include "store/cipher_workers.h"
#include "store/record_get.h"
#include "store/record_put.h"
#include "store/store.h"

namespace records {

namespace {

constexpr int kUpdateImpossible = 16;
const QDate kOleBase(1899, 12, 30);

Result EngineResult(const sqlite::Error& e) {
    return Result::Engine(e.number);
}

} // namespace

Result Delete(Store& store, const char* sql, std::initializer_list<std::int64_t> values) {
    store.NeedRequery = true;
    sqlite::Statement del = store.connection().prepare(sql);
    int i = 1;
    for (const std::int64_t v : values) {
        del.bind(i++, v);
    }
    del.step();
    return EngineResult(del.error());
}

std::optional<Row> LoadRow(Store& store, int section, std::int32_t key, Result* result) {
    sqlite::Error e;
    std::optional<Row> row = key > 0 ? ReadRow(store.connection(), key, &e) : std::nullopt;
    Result outcome = EngineResult(e);
    if (row && row->integer(Col::fSec) != section) {
        row.reset();
        outcome = Result::Message(kUpdateImpossible);
    }
    if (result != nullptr) {
        *result = outcome;
    }
    return row;
}

QByteArray RowBlob(Store& store, const Row& row) {
    return store.cry.Cipher(static_cast<std::int32_t>(row.integer(Col::fPK)), 2, row.bytes(Col::fEtx));
}

Result SaveRecord(Store& store, const RecordKind& kind, std::int32_t& key, const RecordData& data) {
    store.NeedRequery = true;
    const auto fill = [&](std::int64_t fpk, RowValues& row) {
        const auto rowKey = static_cast<std::int32_t>(fpk);
        const QByteArray sealed = store.cry.Cipher(rowKey, 1, data.blob);
        if (sealed.isEmpty() || (data.columns && !data.columns(rowKey, row))) {
            return false;
        }
        row.set(Col::fEtx, sealed);
        row.set(Col::fSec, kind.section);
        if (data.title) {
            row.set(Col::fT1, Record_Put::SealTitle(store.cry, rowKey, data.title->text, store.user.level,
                                                    data.title->isPrivate));
        }
        row.orAE(1);
        FillNoise(row, store.random(), kind.freeColumns);
        return true;
    };
    sqlite::Error e;
    const std::optional<Row> existing = key > 0 ? ReadRow(store.connection(), key, &e) : std::nullopt;
    if (e) {
        return EngineResult(e);
    }
    std::int64_t written = key;
    if (existing) {
        if (existing->integer(Col::fSec) != kind.section) {
            return Result::Message(kUpdateImpossible);
        }
        e = ChangeRow(store.connection(), written, [&](RowValues& row) { return fill(written, row); });
    } else {
        written = AddNewRow(store.connection(), fill, &e);
    }
    if (e) {
        return EngineResult(e);
    }
    if (written <= 0) {
        return Result::Engine(sqlite::kErrGeneral);
    }
    key = static_cast<std::int32_t>(written);
    return {};
}

Result DeleteRecord(Store& store, int section, std::int32_t key) {
    return Delete(store, "DELETE FROM tt WHERE fPK=? AND fSec=?", {key, section});
}

Result DeleteRecords(Store& store, int section, int category) {
    if (category != kAllCategories) {
        return Delete(store, "DELETE FROM tt WHERE fSec=? AND fG1=?", {section, category});
    }
    // The records and the lists that file them go together, or neither goes.
    sqlite::Savepoint transaction(store.connection());
    if (sqlite::Error e = transaction.begin()) {
        return EngineResult(e);
    }
    Result r = Delete(store, "DELETE FROM tt WHERE fSec=?", {section});
    if (r.ok()) {
        r = Delete(store, "DELETE FROM tt WHERE fSec=? AND fSub=?", {kCategoryRowSection, section});
    }
    return r.ok() ? EngineResult(transaction.release()) : r;
}

QVector<ListedTitle> ListTitles(Store& store, int section, int category) {
    struct SealedTitle {
        std::int32_t key = 0;
        int category = 0;
        QByteArray sealed;
    };
    sqlite::Error e;
    const std::optional<std::vector<std::int64_t>> keys =
        category == kAllCategories ? std::nullopt : store.categories.keys(store.connection(), section, category, &e);
    if (e) {
        return {};
    }
    std::function<bool(SealedTitle&)> next;
    sqlite::Statement select;
    std::vector<CategoryDirectory::Entry> filed;
    if (keys) {
        select = store.connection().cached("SELECT fT1 FROM tt WHERE fPK=? AND fSec=? AND fG1=?");
        next = [&, at = std::size_t{0}](SealedTitle& row) mutable {
            while (at < keys->size()) {
                const std::int64_t key = (*keys)[at++];
                select.reset();
                select.bind(1, key).bind(2, static_cast<std::int64_t>(section));
                select.bind(3, static_cast<std::int64_t>(category));
                if (select.step()) {
                    row = {static_cast<std::int32_t>(key), category, select.bytes(0)};
                    return true;
                }
            }
            return false;
        };
    } else {
        // The whole section is read either way; where each row is filed comes along for the lists after this one.
        select = store.connection().prepare("SELECT fPK, fG1, fT1 FROM tt WHERE fSec=? ORDER BY fPK");
        select.bind(1, static_cast<std::int64_t>(section));
        next = [&](SealedTitle& row) {
            while (select.step()) {
                const std::int64_t key = select.int64(0);
                const auto filedUnder = static_cast<int>(select.int64(1));
                filed.push_back({key, filedUnder});
                if (category == kAllCategories || filedUnder == category) {
                    row = {static_cast<std::int32_t>(key), filedUnder, select.bytes(2)};
                    return true;
                }
            }
            return false;
        };
    }
    const Record_Get::TitleAccess access = store.titleAccess();
    QVector<ListedTitle> titles = cipher_workers::OpenWhileReading<SealedTitle, ListedTitle>(
        store.cry.KeyPool(), next, [&](CRY& cry, const SealedTitle& row) {
            return ListedTitle{row.key, Record_Get::OpenTitle(cry, row.key, row.sealed, access), row.category};
        });
    if (!keys && !select.error()) {
        store.categories.adopt(section, std::move(filed));
    }
    // An empty title is one this reader may not see.
    titles.removeIf([](const ListedTitle& t) { return t.title.isEmpty(); });
    return titles;
}

int OleDay(const QDate& date) {
    return static_cast<int>(kOleBase.daysTo(date));
}

int DayNumber(const QDate& date, int base) {
    if (!date.isValid()) {
        return 0;
    }
    const std::int64_t n = kOleBase.daysTo(date) - base;
    return n > 32767 || n < -32767 ? 0 : static_cast<int>(n);
}

QDate DateOfDayNumber(int dayNumber, int base) {
    return kOleBase.addDays(static_cast<qint64>(base) + dayNumber);
}

} // namespace records

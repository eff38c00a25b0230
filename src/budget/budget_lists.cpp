#include "budget/budget_lists.h"

#include "base/messages.h"
#include "sections/list_row.h"
#include "store/codepage.h"
#include "store/conversion.h"
#include "store/record_get.h"
#include "store/record_put.h"
#include "store/row.h"
#include "store/store.h"

namespace budget {
namespace {

constexpr char kSeparator = '\xFF';
constexpr int kOwnerField = 0;
constexpr int kPayModeField = 7;
constexpr int kDefaultPayModes = 9;
constexpr int kPayModeTextBase = 371;

constexpr list_rows::Kind kBudgetRows{.fSec = kBudgetListSection, .fSub = kBudgetSection};
constexpr list_rows::Kind kPayModeRows{.fSec = kPayModeSection, .fSub = kBudgetSection};

QByteArray Joined(std::int32_t user, const QList<QByteArray>& elements) {
    return list_rows::Header(user, kBudgetRows) + elements.join(kSeparator);
}

// Walks the entries of a list text. Elements of a fixed width are taken by their width, so that an id holding
// the separator byte reads right; only names end at the separator.
class EntryReader {
public:
    explicit EntryReader(const QByteArray& text)
        : m_text(text)
        , m_pos(list_rows::kHeaderBytes) {}

    bool atEnd() const { return m_pos >= m_text.size(); }

    // Up to `width` bytes, low byte first; what the text lacks counts as 0.
    int fixed(int width) {
        int value = 0;
        for (int i = 0; i < width && !atEnd(); ++i) {
            value |= static_cast<unsigned char>(m_text[m_pos++]) << (8 * i);
        }
        return value;
    }

    QByteArray name() {
        qsizetype end = m_text.indexOf(kSeparator, m_pos);
        if (end < 0) {
            end = m_text.size();
        }
        const QByteArray bytes = m_text.mid(m_pos, end - m_pos);
        m_pos = end;
        return bytes;
    }

    // Steps over the separator behind an element; bytes of an overlong fixed element go with it.
    void endElement() {
        const qsizetype next = m_text.indexOf(kSeparator, m_pos);
        m_pos = next < 0 ? m_text.size() : next + 1;
    }

private:
    const QByteArray& m_text;
    qsizetype m_pos;
};

bool HeaderFits(std::int32_t user, const QByteArray& plain) {
    return plain.size() > list_rows::kHeaderBytes && plain.startsWith(list_rows::Header(user, kBudgetRows));
}

// The deciphered text of the user's list row of the kind; creates the defaults once when there is no row.
// Nothing when the row cannot be had or is not the user's.
std::optional<QByteArray> LoadListText(Store& store, const list_rows::Kind& kind, int (*createDefault)(Store&)) {
    std::optional<Row> row = list_rows::Find(store, kind);
    if (!row && createDefault(store) == 0) {
        row = list_rows::Find(store, kind);
    }
    return row ? list_rows::Open(store, kind, *row) : std::nullopt;
}

} // namespace

int BudgetList::indexOf(int id) const {
    for (int i = 0; i < count(); ++i) {
        if (ids[i] == id) {
            return i;
        }
    }
    return -1;
}

void BudgetList::append(std::uint8_t id, const QString& name, bool showPriv, bool pin) {
    ids.append(id);
    names.append(name);
    showPrivate.append(showPriv);
    requestPin.append(pin);
}

bool NameFitsList(const QString& name) {
    return !codepage::ToBytes(name).contains(kSeparator);
}

QString NameRefusal() {
    return QStringLiteral("A name cannot contain the character \"\u00FF\".");
}

QByteArray BudgetListText(std::int32_t user, const BudgetList& list) {
    QList<QByteArray> elements;
    for (int i = 0; i < list.count(); ++i) {
        elements << QByteArray(1, static_cast<char>(list.ids[i])) << codepage::ToBytes(list.names.value(i))
                 << QByteArray(1, list.showPrivate.value(i) ? '\1' : '\0')
                 << QByteArray(1, list.requestPin.value(i) ? '\1' : '\0');
    }
    return Joined(user, elements);
}

std::optional<BudgetList> ParseBudgetList(std::int32_t user, const QByteArray& plain) {
    if (!HeaderFits(user, plain)) {
        return std::nullopt;
    }
    BudgetList list;
    EntryReader reader(plain);
    while (!reader.atEnd()) {
        const auto id = static_cast<std::uint8_t>(reader.fixed(1));
        reader.endElement();
        const QString name = codepage::FromBytes(reader.name());
        reader.endElement();
        const bool showPriv = reader.fixed(1) != 0;
        reader.endElement();
        const bool pin = reader.fixed(1) != 0;
        reader.endElement();
        list.append(id, name, showPriv, pin);
    }
    return list;
}

QByteArray PayModesText(std::int32_t user, const PayModes& modes) {
    QList<QByteArray> elements;
    for (int i = 0; i < modes.count(); ++i) {
        elements << CONVERSION::NumToBytes(modes.ids[i], 2) << codepage::ToBytes(modes.names.value(i));
    }
    return Joined(user, elements);
}

std::optional<PayModes> ParsePayModes(std::int32_t user, const QByteArray& plain) {
    if (!HeaderFits(user, plain)) {
        return std::nullopt;
    }
    PayModes modes;
    EntryReader reader(plain);
    while (!reader.atEnd()) {
        modes.ids.append(static_cast<std::int16_t>(reader.fixed(2)));
        reader.endElement();
        modes.names.append(codepage::FromBytes(reader.name()));
        reader.endElement();
    }
    return modes;
}

BudgetList DefaultBudgets() {
    BudgetList list;
    for (std::uint8_t id = 0; id < 3; ++id) {
        list.append(id, QStringLiteral("Budget %1").arg(id + 1), true, false);
    }
    return list;
}

PayModes DefaultPayModes() {
    PayModes modes;
    for (std::int16_t id = 1; id <= kDefaultPayModes; ++id) {
        modes.ids.append(id);
        modes.names.append(MsgText(kPayModeTextBase + id));
    }
    return modes;
}

int CreateDefaultBudgets(Store& store) {
    return list_rows::Replace(store, kBudgetRows, BudgetListText(store.user.fPK, DefaultBudgets()));
}

int CreateDefaultPayModes(Store& store) {
    return list_rows::Replace(store, kPayModeRows, PayModesText(store.user.fPK, DefaultPayModes()));
}

std::optional<BudgetList> LoadBudgets(Store& store) {
    const std::optional<QByteArray> plain = LoadListText(store, kBudgetRows, CreateDefaultBudgets);
    return plain ? ParseBudgetList(store.user.fPK, *plain) : std::nullopt;
}

std::optional<PayModes> LoadPayModes(Store& store) {
    const std::optional<QByteArray> plain = LoadListText(store, kPayModeRows, CreateDefaultPayModes);
    return plain ? ParsePayModes(store.user.fPK, *plain) : std::nullopt;
}

int SaveBudgets(Store& store, const BudgetList& list) {
    return list_rows::Save(store, kBudgetRows, BudgetListText(store.user.fPK, list));
}

int SavePayModes(Store& store, const PayModes& modes) {
    return list_rows::Save(store, kPayModeRows, PayModesText(store.user.fPK, modes));
}

ListEntries PayModeEntries(const PayModes& modes, bool addAll) {
    ListEntries entries;
    if (addAll) {
        entries.append({QStringLiteral("< ") + MsgText(382) + QStringLiteral(" >"), kPayModeAll});
        entries.append({QStringLiteral("<") + MsgText(kPayModeTextBase) + QStringLiteral(">"), kPayModeNotStated});
    }
    for (int i = 0; i < modes.count(); ++i) {
        entries.append({modes.names.value(i), modes.ids[i]});
    }
    return entries;
}

int RepairPayMode(Store& store, int id) {
    sqlite::Connection& db = store.connection();
    struct Change {
        std::int64_t fpk;
        QByteArray blob;
    };
    QList<Change> changes;
    {
        sqlite::Statement select = db.prepare("SELECT fPK, fEtx FROM tt WHERE fSec=?");
        select.bind(1, static_cast<std::int64_t>(kBudgetSection));
        while (select.step()) {
            const std::int64_t fpk = select.int64(0);
            const QByteArray blob = store.cry.Cipher(static_cast<std::int32_t>(fpk), 2, select.bytes(1));
            if (blob.isEmpty()) {
                continue;
            }
            Record_Get::FieldValue owner;
            if (!Record_Get::GetField(owner, blob, kOwnerField) || owner.value.toInt() != store.user.level) {
                continue;
            }
            Record_Get::FieldValue mode;
            if (!Record_Get::GetField(mode, blob, kPayModeField) || mode.value.toInt() != id) {
                continue;
            }
            changes.append({fpk, Record_Put::ReplaceField(blob, QVariant(0), kPayModeField)});
        }
        if (sqlite::Error e = select.error()) {
            return -e.number;
        }
    }
    // The rows are rewritten after the walk, so that no write disturbs the statement reading them; all of them
    // or none.
    sqlite::Savepoint transaction(db);
    if (sqlite::Error e = transaction.begin()) {
        return -e.number;
    }
    for (const Change& change : changes) {
        const sqlite::Error e = ChangeRow(db, change.fpk, [&](RowValues& row) {
            const QByteArray sealed = store.cry.Cipher(static_cast<std::int32_t>(change.fpk), 1, change.blob);
            row.set(Col::fEtx, sealed);
            row.orAE(1);
            return !sealed.isEmpty();
        });
        if (e) {
            return -e.number;
        }
    }
    if (sqlite::Error e = transaction.release()) {
        return -e.number;
    }
    return static_cast<int>(changes.size());
}

} // namespace budget

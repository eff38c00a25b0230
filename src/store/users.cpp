#include "store/users.h"

#include "base/messages.h"
#include "store/codepage.h"
#include "store/conversion.h"
#include "store/record_put.h"
#include "store/row.h"

namespace users {
namespace {

constexpr int kUserSection = 2;
constexpr int kListSection = 9;
constexpr int kListKind = 11;
constexpr char kListVersion = 9;
constexpr char kListSeparator = 17;

QByteArray KeyBytes(std::int32_t fpk) {
    return CONVERSION::NumToBytes(fpk, 4);
}

// The verifier, then 0 to 5 random bytes so that its length tells nothing.
QByteArray VerifierWithNoise(Store& store) {
    const int noise = static_cast<int>(store.random().below(6));
    return Verifier(SecureText(store.PassDigest)) + store.cry.RandomBytes(noise);
}

QByteArray Text(const QVariant& v) {
    return v.toByteArray();
}

int Fatal(Store& store, int message) {
    store.prompter.message(message, MsgText(message), Prompter::Buttons::Ok, Prompter::Icon::Critical);
    return StoreError::Fatal;
}

} // namespace

QByteArray Verifier(const QByteArray& passDigest) {
    return CRY::RijndaelText(CRY::Hash1x47(CRY::Hash256x80(passDigest)), passDigest, true, 192, 256);
}

int LoginUser(Store& store, bool loadRecord, bool loadOptions) {
    sqlite::Connection& db = store.connection();
    sqlite::Statement select = db.prepare("SELECT fPK, fEtx, fT3 FROM tt WHERE fSec=? ORDER BY fPK");
    select.bind(1, static_cast<std::int64_t>(kUserSection));
    const QByteArray pass = SecureText(store.PassDigest);
    const QByteArray check = CRY::Hash1x47(pass);
    bool anyRow = false;
    std::int64_t rowKey = 0;
    QByteArray leading;
    QByteArray verifier;
    FieldValues values;
    bool found = false;
    while (!found && select.step()) {
        anyRow = true;
        rowKey = select.int64(0);
        QByteArray plain = CRY::Unseal(select.bytes(1), pass);
        leading.clear();
        if (plain.size() > 4) {
            leading = plain.left(4);
            plain = plain.mid(4);
        }
        values = FieldValues(8);
        found = Record_Get::GetRecord(values, plain, false, Record_Get::Texts::Raw) > 0 && Text(values[1]) == check;
        verifier = select.bytes(2);
        CRY::WipeBytes(plain);
    }
    if (sqlite::Error e = select.error()) {
        return e.number;
    }
    select = sqlite::Statement();
    if (!anyRow) {
        return Fatal(store, 96);
    }
    if (!found) {
        return StoreError::WrongPassphrase;
    }
    if (loadRecord) {
        // A row whose leading key is not its own was moved onto another row: tampering, not damage.
        if (leading.size() != 4 || CONVERSION::BytesToLong(leading) != rowKey) {
            return Fatal(store, 96);
        }
        UserRecord& user = store.user;
        user.fPK = static_cast<std::int32_t>(rowKey);
        user.level = values[0].toInt();
        user.check = Text(values[1]);
        user.sealedKeystring = Text(values[2]);
        user.first = values[3].toBool();
        user.second = values[4].toBool();
        user.number = values[5].toInt();
        user.name = codepage::FromBytes(Text(values[6]));
    }
    if (loadOptions) {
        store.user.options = LoadUserOptions(store, Text(values[7]));
    }
    if (loadRecord) {
        const QByteArray expected = Verifier(pass);
        const qsizetype whole = verifier.size() - verifier.size() % 24;
        if (verifier.left(whole) != expected) {
            // A lost or damaged verifier is healed by every login.
            ChangeRow(db, rowKey, [&](RowValues& row) {
                row.set(Col::fT3, VerifierWithNoise(store));
                row.orAE(2);
                return true;
            });
        }
    }
    return 0;
}

QByteArray UserOptionsBlob(const UserOptions& options) {
    return Record_Put::PutField(options.level, FieldType::Byte, 0) +
           Record_Put::PutField(options.PinCode, FieldType::Text, 1) +
           Record_Put::PutField(options.PinMask, FieldType::Int32, 2) +
           Record_Put::PutField(options.PinEveryAccess, FieldType::Boolean, 3);
}

QByteArray UserBlob(const UserRecord& user) {
    return Record_Put::PutField(user.level, FieldType::Byte, 0) + Record_Put::PutField(user.check, FieldType::Text, 1) +
           Record_Put::PutField(user.sealedKeystring, FieldType::Text, 2) +
           Record_Put::PutField(user.first, FieldType::Boolean, 3) +
           Record_Put::PutField(user.second, FieldType::Boolean, 4) +
           Record_Put::PutField(user.number, FieldType::Int32, 5) +
           Record_Put::PutField(user.name, FieldType::Text, 6) +
           Record_Put::PutField(UserOptionsBlob(user.options), FieldType::LongText, 7);
}

QString DefaultPin(const QByteArray& passCheck) {
    const QByteArray h = CRY::Hash1x47(CRY::Hash1x47(passCheck));
    int j = 3;
    double s = 0;
    for (int i = 1; i <= 4; ++i) {
        const int c = static_cast<unsigned char>(h[j - 1]) / 2;
        double power = 1;
        for (int k = 0; k < i; ++k) {
            power *= c;
        }
        s = static_cast<double>(static_cast<std::int32_t>(s + power));
        j = (((c % 5) + j) % 20) + 1;
    }
    return QString::number(static_cast<std::int32_t>(s));
}

UserOptions LoadUserOptions(Store& store, const QByteArray& blob) {
    FieldValues values(4);
    const int count = Record_Get::GetRecord(values, blob);
    bool complete = count > 0;
    for (const QVariant& v : values) {
        complete = complete && !(v.typeId() == QMetaType::QString && v.toString().isEmpty());
    }
    if (complete) {
        return UserOptions{values[0].toInt(), values[1].toString(), values[2].toInt(), values[3].toBool()};
    }
    UserOptions defaults;
    if (store.PassCheck.empty()) {
        // The digests of the open sequence are gone: the PIN can only come from the passphrase itself.
        Prompter::PassphraseReply reply = store.prompter.passphrase({.prompt = MsgText(159)});
        if (!reply.cancelled && !reply.text.isEmpty()) {
            QByteArray typed = codepage::ToBytes(reply.text);
            store.PassCheck = SecureCopy(CRY::Hash1x47(typed));
            CRY::WipeBytes(typed);
        }
        CRY::WipeText(reply.text);
    }
    if (!store.PassCheck.empty()) {
        defaults.PinCode = DefaultPin(SecureText(store.PassCheck));
    }
    return defaults;
}

int SaveUser(Store& store, bool keepVerifier) {
    sqlite::Connection& db = store.connection();
    UserRecord& user = store.user;
    const QByteArray pass = SecureText(store.PassDigest);
    auto fill = [&](std::int64_t fpk, RowValues& row) {
        const QByteArray sealed = store.cry.Seal(KeyBytes(static_cast<std::int32_t>(fpk)) + UserBlob(user), pass);
        if (sealed.isEmpty()) {
            return false;
        }
        row.set(Col::fEtx, sealed);
        if (!keepVerifier) {
            row.set(Col::fT3, VerifierWithNoise(store));
        }
        FillNoise(row, store.random(), NoiseColumns{false, false, false, true, true, true, true});
        return true;
    };
    sqlite::Error e;
    const bool exists = user.fPK != 0 && ReadRow(db, user.fPK).has_value();
    if (exists) {
        e = ChangeRow(db, user.fPK, [&](RowValues& row) {
            row.orAE(2);
            return fill(user.fPK, row);
        });
    } else {
        const std::int64_t fpk = AddNewRow(
            db,
            [&](std::int64_t key, RowValues& row) {
                row.set(Col::fSec, kUserSection);
                row.set(Col::fSub, user.level);
                row.set(Col::AE, 1);
                return fill(key, row);
            },
            &e);
        if (!e) {
            user.fPK = static_cast<std::int32_t>(fpk);
        }
    }
    return e.number;
}

int LoadPreferences(Store& store) {
    const std::optional<Row> row = ReadRow(store.connection(), store.user.fPK);
    if (!row) {
        return Fatal(store, 83);
    }
    const QByteArray plain = store.cry.Cipher(store.user.fPK, 2, row->bytes(Col::fT1));
    bool ok = plain.size() > 4 && CONVERSION::BytesToLong(plain.left(4)) == store.user.fPK;
    if (ok) {
        store.preferences = Preferences::FromBlob(plain.mid(4), &ok);
    }
    if (!ok) {
        store.preferences = Preferences::Defaults();
        return SavePreferences(store);
    }
    return 0;
}

int SavePreferences(Store& store, const QByteArray& blob) {
    const std::int32_t key = store.user.fPK;
    const QByteArray plain = KeyBytes(key) + (blob.isEmpty() ? store.preferences.toBlob() : blob);
    const sqlite::Error e = ChangeRow(store.connection(), key, [&](RowValues& row) {
        const QByteArray sealed = store.cry.Cipher(key, 1, plain);
        row.set(Col::fT1, sealed);
        return !sealed.isEmpty();
    });
    return e.number;
}

QByteArray DefaultListSettings() {
    return QByteArray(1, kListVersion) + QByteArray(8, kListSeparator);
}

namespace {

std::optional<std::int64_t> ListRow(Store& store) {
    sqlite::Statement select = store.connection().prepare("SELECT fPK FROM tt WHERE fSec=? AND fSub=? AND fR1=?");
    select.bind(1, static_cast<std::int64_t>(kListSection))
        .bind(2, static_cast<std::int64_t>(kListKind))
        .bind(3, static_cast<std::int64_t>(store.user.fPK));
    if (select.step()) {
        return select.int64(0);
    }
    return std::nullopt;
}

} // namespace

QByteArray LoadListSettings(Store& store) {
    const std::optional<std::int64_t> key = ListRow(store);
    if (!key) {
        return DefaultListSettings();
    }
    const std::optional<Row> row = ReadRow(store.connection(), *key);
    const QByteArray plain =
        row ? store.cry.Cipher(static_cast<std::int32_t>(*key), 2, row->bytes(Col::fEtx)) : QByteArray();
    if (plain.size() < 5 || CONVERSION::BytesToLong(plain.left(4)) != store.user.fPK) {
        return DefaultListSettings();
    }
    return plain.mid(4);
}

int SaveListSettings(Store& store, const QByteArray& settings) {
    const QByteArray plain = KeyBytes(store.user.fPK) + settings;
    auto fill = [&](std::int64_t fpk, RowValues& row) {
        const QByteArray sealed = store.cry.Cipher(static_cast<std::int32_t>(fpk), 1, plain);
        row.set(Col::fEtx, sealed);
        return !sealed.isEmpty();
    };
    sqlite::Error e;
    if (const std::optional<std::int64_t> key = ListRow(store)) {
        e = ChangeRow(store.connection(), *key, [&](RowValues& row) { return fill(*key, row); });
    } else {
        AddNewRow(
            store.connection(),
            [&](std::int64_t fpk, RowValues& row) {
                row.set(Col::fSec, kListSection);
                row.set(Col::fSub, kListKind);
                row.set(Col::fR1, store.user.fPK);
                row.set(Col::AE, 1);
                return fill(fpk, row);
            },
            &e);
    }
    return e.number;
}

} // namespace users

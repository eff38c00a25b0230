#include "store/keys.h"

#include "base/messages.h"
#include "store/codepage.h"
#include "store/row.h"
#include "store/users.h"

namespace keys {
namespace {

constexpr int kKeySection = 1;
constexpr int kPoolRow = 1;
constexpr int kSecondCopyRow = 2;
constexpr int kPenaltyMs = 1200;

std::optional<Row> SystemRow(Store& store, int kind) {
    sqlite::Statement select = store.connection().prepare("SELECT * FROM tt WHERE fSec=? AND fSub=? ORDER BY fPK");
    select.bind(1, static_cast<std::int64_t>(kKeySection)).bind(2, static_cast<std::int64_t>(kind));
    if (select.step()) {
        return Row::FromStatement(select);
    }
    return std::nullopt;
}

// Writes a system row: a new one with AE 1, or the existing one with AE bit 2 set.
sqlite::Error WriteSystemRow(Store& store, int kind, const std::function<void(RowValues&)>& fill) {
    if (const std::optional<Row> row = SystemRow(store, kind)) {
        return ChangeRow(store.connection(), row->integer(Col::fPK), [&](RowValues& values) {
            values.orAE(2);
            fill(values);
            return true;
        });
    }
    sqlite::Error e;
    AddNewRow(
        store.connection(),
        [&](std::int64_t, RowValues& values) {
            values.set(Col::fSec, kKeySection);
            values.set(Col::fSub, kind);
            values.set(Col::AE, 1);
            fill(values);
            return true;
        },
        &e);
    return e;
}

int FatalMessage(Store& store, int number, const QString& text) {
    store.prompter.message(number, text, Prompter::Buttons::Ok, Prompter::Icon::Critical);
    return StoreError::Fatal;
}

int Fatal83(Store& store, const char* code, const QString& detail = {}) {
    QString text = MsgText(83) + QLatin1String(code);
    if (!detail.isEmpty()) {
        text += u'\n' + detail;
    }
    return FatalMessage(store, 83, text);
}

} // namespace

void SetDigests(Store& store, QString& passphrase) {
    QByteArray typed = codepage::ToBytes(passphrase);
    store.PassDigest = SecureCopy(CRY::Hash256x80(typed));
    store.PassCheck = SecureCopy(CRY::Hash1x47(typed));
    CRY::WipeBytes(typed);
    CRY::WipeText(passphrase);
}

int CreateKeyMaterial(Store& store) {
    CRY& cry = store.cry;
    QByteArray keystring = cry.RandomBytes(kKeystringBytes);
    QByteArray pool = cry.RandomBytes(kPoolBytes);
    const QByteArray sealed = cry.Seal(pool, keystring);
    cry.setKeyPool(SecureCopy(pool));
    QByteArray back = CRY::Unseal(sealed, keystring);
    const bool sound = !sealed.isEmpty() && back == pool;
    CRY::WipeBytes(back);
    CRY::WipeBytes(pool);
    if (!sound) {
        CRY::WipeBytes(keystring);
        return FatalMessage(store, 44, QStringLiteral("115: ") + MsgText(44));
    }

    const QByteArray digest = SecureText(store.PassDigest);
    UserRecord& user = store.user;
    user = UserRecord{};
    user.check = CRY::Hash1x47(digest);
    user.sealedKeystring = cry.Seal(keystring, digest);
    user.name = QStringLiteral("Admin");
    user.options = users::LoadUserOptions(store, {});

    // A file without its key material can never be opened, so the rows and the user land together or not at all.
    sqlite::Savepoint transaction(store.connection());
    sqlite::Error e = transaction.begin();
    if (!e) {
        e = WriteSystemRow(store, kPoolRow, [&](RowValues& row) {
            row.set(Col::fEtx, sealed);
            row.set(Col::fT1, CRY::Hash256x80(keystring));
            FillNoise(row, store.random(), NoiseColumns{false, true, true, true, true, true, true});
        });
    }
    if (!e) {
        e = WriteSystemRow(store, kSecondCopyRow, [&](RowValues& row) {
            row.set(Col::fEtx, cry.Seal(sealed, CRY::Hash256x80(keystring)));
            FillNoise(row, store.random(), NoiseColumns{true, true, true, true, true, true, true});
        });
    }
    CRY::WipeBytes(keystring);
    if (e) {
        return e.number;
    }
    if (const int saved = users::SaveUser(store, false)) {
        return saved;
    }
    e = transaction.release();
    return e.number;
}

int LoadKeyPool(Store& store) {
    if (!store.database.isOpen()) {
        return Fatal83(store, "102");
    }
    if (const int login = users::LoginUser(store, true, true)) {
        return login;
    }
    CRY& cry = store.cry;
    QByteArray keystring = CRY::Unseal(store.user.sealedKeystring, SecureText(store.PassDigest));
    QByteArray pool;
    int note = 0;
    if (const std::optional<Row> row = SystemRow(store, kPoolRow)) {
        pool = CRY::Unseal(row->bytes(Col::fEtx), keystring);
        note = pool.isEmpty() ? 104 : 0;
    } else {
        note = 103;
    }
    if (note != 0) {
        const std::optional<Row> copy = SystemRow(store, kSecondCopyRow);
        if (!copy) {
            CRY::WipeBytes(keystring);
            return Fatal83(store, "105");
        }
        QByteArray inner = CRY::Unseal(copy->bytes(Col::fEtx), CRY::Hash256x80(keystring));
        pool = CRY::Unseal(inner, keystring);
        CRY::WipeBytes(inner);
        if (pool.isEmpty()) {
            CRY::WipeBytes(keystring);
            return Fatal83(store, "106");
        }
        // Healed silently, under a fresh salt.
        const sqlite::Error e = WriteSystemRow(store, kPoolRow, [&](RowValues& row) {
            row.set(Col::fEtx, cry.Seal(pool, keystring));
            if (note == 103) {
                row.set(Col::fT1, CRY::Hash256x80(keystring));
                FillNoise(row, store.random(), NoiseColumns{false, true, true, true, true, true, true});
            }
        });
        if (e) {
            CRY::WipeBytes(keystring);
            CRY::WipeBytes(pool);
            return e.number;
        }
    }
    cry.setKeyPool(SecureCopy(pool));
    CRY::WipeBytes(pool);
    CRY::WipeBytes(keystring);
    return 0;
}

bool ConfirmPassphrase(Store& store, bool keepDigest) {
    Prompter::PassphraseReply reply = store.prompter.passphrase({.prompt = MsgText(159)});
    if (reply.cancelled || reply.text.isEmpty()) {
        CRY::WipeText(reply.text);
        return false;
    }
    QByteArray typed = codepage::ToBytes(reply.text);
    CRY::WipeText(reply.text);
    QByteArray digest = CRY::Hash256x80(typed);
    CRY::WipeBytes(typed);

    bool right = false;
    sqlite::Statement select = store.connection().prepare("SELECT fT3 FROM tt WHERE fSec=2 AND fPK=?");
    select.bind(1, static_cast<std::int64_t>(store.user.fPK));
    if (select.step()) {
        right = select.bytes(0).left(24) == users::Verifier(digest);
    }
    if (right && keepDigest) {
        store.PassDigest = SecureCopy(digest);
    }
    CRY::WipeBytes(digest);
    if (!right) {
        store.prompter.message(85, MsgText(85), Prompter::Buttons::Ok, Prompter::Icon::Warning);
        store.prompter.penaltyWait(kPenaltyMs);
    }
    return right;
}

bool ChangePassphrase(Store& store, const std::function<int(Store&)>& requestNew) {
    return ConfirmPassphrase(store, true) && Rekey(store, requestNew);
}

bool Rekey(Store& store, const std::function<int(Store&)>& requestNew) {
    bool changed = false;
    CRY::SecureBytes oldDigest = store.PassDigest;
    QByteArray keystring;
    if (users::LoginUser(store, true, true) == 0 && !store.user.sealedKeystring.isEmpty()) {
        // The keystring itself goes under the new digest, so the file opens with the new passphrase alone.
        keystring = CRY::Unseal(store.user.sealedKeystring, SecureText(oldDigest));
        if (!keystring.isEmpty() && requestNew(store) == 0) {
            const QByteArray newDigest = SecureText(store.PassDigest);
            const UserRecord before = store.user;
            store.user.sealedKeystring = store.cry.Seal(keystring, newDigest);
            store.user.check = CRY::Hash1x47(newDigest);
            changed = !store.user.sealedKeystring.isEmpty() && users::SaveUser(store, false) == 0;
            if (!changed) {
                store.user = before;
                store.PassDigest = oldDigest;
            }
        }
    }
    if (!changed) {
        store.prompter.message(124, MsgText(124));
    }
    CRY::WipeBytes(keystring);
    CRY::WipeBytes(oldDigest);
    CRY::WipeBytes(store.PassCheck);
    return changed;
}

} // namespace keys

#pragma once

// What the tests of a record section share: a new file for every test, opened by its first user, and what they
// look at besides the section's own reading: the row as stored, how many rows a section has, another user.

#include "store/codepage.h"
#include "store/keys.h"
#include "store/users.h"
#include "support/test_main.h"

#include <QVariantList>

#include <algorithm>

class SectionFixture : public FileTest {
protected:
    static inline const QString kFirstUser = QStringLiteral("first of two users");
    static inline const QString kSecondUser = QStringLiteral("second of two users");

    // A new file in a folder of its own, open; from init(), so that no test sees another's rows.
    bool freshFile() {
        test_env::ForgetSettings();
        return newFile(kFirstUser);
    }

    // Shows or hides private records, as the frame's switch leaves the session and the store.
    void showPrivate(bool shown) {
        m_run->session.ShowPrivate = shown;
        store().hidePrivate = !shown;
    }

    // The row `key` as stored, column by column; empty when there is none.
    QVariantList rawRow(std::int64_t key) {
        QVariantList values;
        if (const std::optional<Row> row = ReadRow(store().connection(), key)) {
            for (int c = 0; c < kColumnCount; ++c) {
                values << row->value(static_cast<Col>(c));
            }
        }
        return values;
    }

    // Whether `text` stands in some column of the stored row as it is typed, in code page 1252 or UTF-8.
    bool plainInRow(std::int64_t key, const QString& text) {
        const QVariantList row = rawRow(key);
        return std::any_of(row.begin(), row.end(), [&](const QVariant& v) {
            const QByteArray bytes = v.toByteArray();
            return bytes.contains(text.toUtf8()) || bytes.contains(codepage::ToBytes(text));
        });
    }

    // How many rows hold `section`, of kind `sub` unless it is negative.
    int rowsOf(int section, int sub = -1) {
        sqlite::Statement count =
            store().connection().prepare("SELECT COUNT(*) FROM tt WHERE fSec=?1 AND (?2 < 0 OR fSub=?2)");
        count.bind(1, static_cast<std::int64_t>(section)).bind(2, static_cast<std::int64_t>(sub));
        return count.step() ? count.value(0).toInt() : -1;
    }

    // Writes the second user, of owner byte `level`, who opens the file with kSecondUser; the present user stays
    // logged in. reopen(kSecondUser) switches to that user.
    bool addSecondUser(int level) {
        Store& s = store();
        const UserRecord present = s.user;
        const CRY::SecureBytes presentDigest = s.PassDigest;
        const CRY::SecureBytes presentCheck = s.PassCheck;
        QByteArray keystring = CRY::Unseal(s.user.sealedKeystring, SecureText(s.PassDigest));
        QString passphrase = kSecondUser;
        keys::SetDigests(s, passphrase);
        const QByteArray digest = SecureText(s.PassDigest);
        s.user = UserRecord{};
        s.user.level = level;
        s.user.name = QStringLiteral("Second");
        s.user.check = CRY::Hash1x47(digest);
        s.user.sealedKeystring = s.cry.Seal(keystring, digest);
        s.user.options = users::LoadUserOptions(s, {});
        const bool saved = !keystring.isEmpty() && users::SaveUser(s, false) == 0;
        CRY::WipeBytes(keystring);
        s.user = present;
        s.PassDigest = presentDigest;
        s.PassCheck = presentCheck;
        return saved;
    }
};

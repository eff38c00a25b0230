#include "store/byte_view.h"
#include "store/codepage.h"
#include "store/cry.h"
#include "store/record_get.h"
#include "store/record_put.h"

#include "support/test_main.h"

#include <set>

namespace {

QByteArray Hex(const char* hex) {
    return QByteArray::fromHex(hex);
}

CRY::SecureBytes RandomPool() {
    CRY::SecureBytes pool(270);
    StrongRandom().bytes(pool.data(), pool.size());
    return pool;
}

QByteArray AllBytes() {
    QByteArray all;
    for (int b = 0; b < 256; ++b) {
        all.append(static_cast<char>(b));
    }
    return all;
}

} // namespace

class TestCry : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void recordTextsRoundTripAndBindToTheirRow() {
        CRY cry;
        cry.setKeyPool(RandomPool());
        const QByteArray plain = AllBytes() + AllBytes();
        for (const std::int32_t fpk : {1, 7, -5, 2147483647}) {
            const QByteArray sealed = cry.Cipher(fpk, 1, plain);
            QCOMPARE((sealed.size() - 10) % 8, 0);
            QCOMPARE(cry.Cipher(fpk, 2, sealed), plain);
        }
        // Copied onto another row, a text deciphers but is refused.
        const QByteArray sealed = cry.Cipher(7, 1, QByteArrayLiteral("secret"));
        QVERIFY(cry.Cipher(8, 2, sealed).isEmpty());
        // A second object with the same pool reads it: nothing but the pool is needed.
        CRY other;
        other.setKeyPool(cry.KeyPool());
        QCOMPARE(other.Cipher(7, 2, sealed), QByteArray("secret"));
    }

    // Schedules made several at a time open exactly what the library's own Blowfish opens, and refuse alike.
    void schedulesMadeTogetherOpenRecordTexts() {
        CRY cry;
        cry.setKeyPool(RandomPool());
        for (std::size_t count = 1; count <= 2 * blowfish_lanes::kLanes + 1; ++count) {
            std::vector<QByteArray> texts;
            std::vector<CRY::SecureBytes> keys;
            std::vector<std::span<const std::uint8_t>> views;
            for (std::size_t i = 0; i < count; ++i) {
                texts.push_back(cry.Cipher(static_cast<std::int32_t>(i + 1), 1, AllBytes().left(int(37 * i))));
                cry.SelectKey(CRY::Selector(texts.back()));
                keys.push_back(cry.RecordKey());
            }
            views.assign(keys.begin(), keys.end());
            std::vector<blowfish_lanes::Schedule> schedules(count);
            blowfish_lanes::MakeSchedules(views, schedules.data());
            for (std::size_t i = 0; i < count; ++i) {
                const auto fpk = static_cast<std::int32_t>(i + 1);
                QCOMPARE(cry.OpenRecord(fpk, texts[i], schedules[i]), cry.Cipher(fpk, 2, texts[i]));
                QVERIFY(cry.OpenRecord(fpk + 1, texts[i], schedules[i]).isEmpty());
                QByteArray damaged = texts[i];
                damaged[damaged.size() - 1] = static_cast<char>(damaged.back() ^ 0x40);
                // A damaged last block reads as whatever the library's Blowfish makes of it, framing checks included.
                QCOMPARE(cry.OpenRecord(fpk, damaged, schedules[i]), cry.Cipher(fpk, 2, damaged));
                QVERIFY(cry.OpenRecord(fpk, texts[i].left(texts[i].size() - 3), schedules[i]).isEmpty());
            }
        }
    }

    void twoWritesNeverShareAVector() {
        CRY cry;
        cry.setKeyPool(RandomPool());
        std::set<QByteArray> vectors;
        for (int i = 0; i < 50; ++i) {
            vectors.insert(cry.Cipher(3, 1, QByteArrayLiteral("same text")).mid(2, 8));
        }
        QCOMPARE(vectors.size(), 50u);
    }

    void emptyRecordsHideTheirSize() {
        ScriptedRandom random;
        CRY cry(random);
        cry.setKeyPool(RandomPool());
        std::set<qsizetype> sizes;
        for (int blanks = 0; blanks <= 12; ++blanks) {
            random.setBlankCount(blanks);
            const QByteArray sealed = cry.Cipher(11, 1, QByteArray());
            sizes.insert(sealed.size());
            const QByteArray plain = cry.Cipher(11, 2, sealed);
            QCOMPARE(plain, QByteArray(blanks, ' '));
            FieldValues values;
            QCOMPARE(Record_Get::GetRecord(values, plain), 0);
        }
        QCOMPARE(sizes, (std::set<qsizetype>{2 + 8 + 8, 2 + 8 + 16, 2 + 8 + 24}));
    }

    void malformedCipherTextsAreRefusedWithoutDecrypting_data() {
        QTest::addColumn<QByteArray>("text");
        const QByteArray head = Hex("00011112131415161718"); // two bytes of key selector, eight of vector
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("three bytes") << Hex("000102");
        QTest::newRow("vector only") << head;
        QTest::newRow("not whole blocks") << head + Hex("010203040506");
        QTest::newRow("odd after selector") << head + Hex("0102030405060708ff");
    }

    void malformedCipherTextsAreRefusedWithoutDecrypting() {
        QFETCH(QByteArray, text);
        CRY cry;
        cry.setKeyPool(RandomPool());
        QVERIFY(cry.Cipher(1, 2, text).isEmpty());
        QVERIFY(cry.Cipher(1, 6, text).isEmpty());
    }

    void unboundOperations() {
        CRY cry;
        cry.setKeyPool(RandomPool());
        const QByteArray sealed = cry.Cipher(0, 5, Hex("00ff616263"));
        QCOMPARE(cry.Cipher(12345, 6, sealed), Hex("00ff616263"));
        // A single zero byte is what an unset value leaves: it reads as nothing.
        QVERIFY(cry.Cipher(0, 6, cry.Cipher(0, 5, Hex("00"))).isEmpty());
    }

    void nothingIsCipheredWithoutKeys() {
        CRY cry;
        QList<int> messages;
        cry.setMessageSink([&messages](int n) { messages << n; });
        QVERIFY(cry.Cipher(1, 1, QByteArrayLiteral("x")).isEmpty());
        QVERIFY(cry.Cipher(1, 5, QByteArrayLiteral("x")).isEmpty());
        QVERIFY(cry.Cipher(0, 3, QByteArrayLiteral("abc")).isEmpty());
        QVERIFY(cry.Cipher(0, 4, QByteArrayLiteral("abcdefghabcdefgh")).isEmpty());
        QCOMPARE(messages, (QList<int>{34, 34}));

        cry.setKeyPool(RandomPool());
        const QByteArray sealed = cry.Cipher(1, 1, QByteArrayLiteral("x"));
        cry.SelectKey(4711);
        const QByteArray keyed = cry.Cipher(0, 3, QByteArrayLiteral("abc"));
        QCOMPARE(keyed.size(), 16);
        QCOMPARE(cry.Cipher(0, 4, keyed), QByteArray("abc"));
        QCOMPARE(messages.size(), 2);
        cry.wipeKeys();
        QVERIFY(cry.Cipher(1, 2, sealed).isEmpty());
    }

    void sealRoundTripsEveryByte() {
        CRY cry;
        const QByteArray pass = codepage::ToBytes(QStringLiteral("Pässwörd€1 long"));
        QCOMPARE(CRY::Unseal(cry.Seal(AllBytes(), pass), pass), AllBytes());
        QCOMPARE(CRY::Unseal(cry.Seal(QByteArray(), pass), pass), QByteArray());
    }

    void sealRefusesWrongPassAndDamage() {
        ScriptedRandom random;
        const QByteArray salt = Hex("f0e1d2c3b4a5968778695a4b3c2d1e0f");
        random.setSalt(ByteData(salt), 16);
        CRY cry(random);
        const QByteArray sealed = cry.Seal(QByteArrayLiteral("the keystring of a file"), "right pass");
        QVERIFY(CRY::Unseal(sealed, "wrong pass").isEmpty());
        QVERIFY(CRY::Unseal(sealed, QByteArray()).isEmpty());
        // Damage in a block before the last garbles text that only the check byte guards, so about one change in
        // 256 slips through; it can never give back the sealed text itself.
        int slipped = 0;
        for (qsizetype i = 0; i < sealed.size(); ++i) {
            QByteArray damaged = sealed;
            damaged[i] = static_cast<char>(damaged[i] ^ 0x01);
            const QByteArray text = CRY::Unseal(damaged, "right pass");
            QVERIFY(text != "the keystring of a file");
            slipped += text.isEmpty() ? 0 : 1;
        }
        QVERIFY(slipped <= 2);
        QVERIFY(CRY::Unseal(sealed.left(sealed.size() - 1), "right pass").isEmpty());
        QVERIFY(CRY::Unseal(sealed.left(16), "right pass").isEmpty());
    }

    void titles() {
        CRY cry;
        cry.setKeyPool(RandomPool());
        Record_Get::TitleAccess owner3;
        owner3.owner = 3;
        const QString title = QStringLiteral("Łódź bank ✓");
        const QByteArray open = Record_Put::SealTitle(cry, 40, title, 3, false);
        const QByteArray hidden = Record_Put::SealTitle(cry, 41, title, 3, true);
        QCOMPARE(Record_Get::OpenTitle(cry, 40, open, owner3), title);
        QCOMPARE(Record_Get::OpenTitle(cry, 41, hidden, owner3), title);
        owner3.hidePrivate = true;
        QCOMPARE(Record_Get::OpenTitle(cry, 40, open, owner3), title);
        QVERIFY(Record_Get::OpenTitle(cry, 41, hidden, owner3).isEmpty());

        Record_Get::TitleAccess someoneElse;
        someoneElse.owner = 4;
        QVERIFY(Record_Get::OpenTitle(cry, 40, open, someoneElse).isEmpty());
        someoneElse.rightsOn.set(3);
        QCOMPARE(Record_Get::OpenTitle(cry, 40, open, someoneElse), title);

        // Owners outside a byte count as 0.
        Record_Get::TitleAccess owner0;
        QCOMPARE(Record_Get::OpenTitle(cry, 42, Record_Put::SealTitle(cry, 42, title, 300, false), owner0), title);

        const QByteArray noise = Record_Put::SealTitle(cry, 43, QString());
        QCOMPARE(noise.size(), 12);
        QVERIFY(Record_Get::OpenTitle(cry, 43, noise, owner0).isEmpty());
        QVERIFY(Record_Get::OpenTitle(cry, 43, QByteArray(), owner0).isEmpty());
        QVERIFY(Record_Get::OpenTitle(cry, 41, open, owner3).isEmpty());
    }

    void rijndaelTextFraming() {
        const QByteArray key = CRY::Hash256x80("key");
        for (int m = 0; m <= 50; ++m) {
            const QByteArray text(m, static_cast<char>('a' + m % 26));
            const QByteArray block = CRY::RijndaelText(text, key, true, 192, 256);
            QCOMPARE(block.size() % 24, 0);
            QVERIFY(block.size() >= m + 1);
            QCOMPARE(CRY::RijndaelText(block, key, false, 192, 256), text);
        }
        QVERIFY(CRY::RijndaelText("x", QByteArray(), true, 192, 256).isEmpty());
        // A trailing partial block is cut off before decrypting.
        const QByteArray block = CRY::RijndaelText("abc", key, true, 192, 256);
        QCOMPARE(CRY::RijndaelText(block + "xyz", key, false, 192, 256), QByteArray("abc"));
        int readable = 0;
        for (int i = 0; i < 100; ++i) {
            readable +=
                CRY::RijndaelText(block, CRY::Hash256x80(QByteArray::number(i)), false, 192, 256).isEmpty() ? 0 : 1;
        }
        QVERIFY(readable < 5);
    }

    void wiping() {
        // A copy that shares the storage belongs to someone else: wiping one handle must not change it.
        QByteArray shared("shared secret");
        shared.detach();
        const QByteArray other = shared;
        CRY::WipeBytes(shared);
        QVERIFY(shared.isEmpty());
        QCOMPARE(other, QByteArray("shared secret"));

        CRY::SecureBytes secure{1, 2, 3};
        CRY::WipeBytes(secure);
        QVERIFY(secure.empty());

        QString text = QStringLiteral("passphrase");
        text.detach();
        CRY::WipeText(text);
        QVERIFY(text.isEmpty());

        CRY cry;
        cry.setKeyPool(RandomPool());
        cry.SelectKey(1);
        cry.wipeKeys();
        QVERIFY(!cry.hasKeyPool() && cry.RecordKey().empty());
    }
};

NCT_TEST_MAIN(TestCry)
#include "tst_cry.moc"

#include "store/codepage.h"
#include "store/conversion.h"
#include "store/cry.h"
#include "store/field_descriptor.h"
#include "store/record_get.h"
#include "store/record_put.h"

#include <QRandomGenerator>
#include <QtTest>

// Every reader of stored bytes takes whatever it is given: random, truncated or crafted input must neither crash
// nor read out of bounds (the sanitizer build runs these too), and must come back as an empty or partial result.
class TestHostileInput : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void blobReadersSurviveRandomBytes();
    void truncatedBlobsKeepWhatWasReadBefore();
    void craftedLengthsRunningPastTheEnd_data();
    void craftedLengthsRunningPastTheEnd();
    void cipherReadersSurviveRandomBytes();
    void conversionsSurviveAnyLength();

private:
    static QByteArray RandomBytes(QRandomGenerator& rng, int maxLength) {
        QByteArray bytes(static_cast<qsizetype>(rng.bounded(maxLength + 1)), '\0');
        for (auto& b : bytes) {
            b = static_cast<char>(rng.bounded(256));
        }
        return bytes;
    }
};

void TestHostileInput::blobReadersSurviveRandomBytes() {
    QRandomGenerator rng(20261122);
    for (int round = 0; round < 20000; ++round) {
        QByteArray blob = RandomBytes(rng, 300);
        // Bias towards known type codes so the readers go deep, not just stop at the first unknown code.
        for (qsizetype i = 1; i < blob.size(); i += 2 + rng.bounded(4)) {
            static const char codes[] = {1, 2, 3, 4, 5, 6, 7, 8, 10, 12, 22, 25};
            blob[i] = codes[rng.bounded(12)];
        }
        FieldValues unsized;
        Record_Get::GetRecord(unsized, blob, round % 2 == 0);
        QVERIFY(unsized.size() <= 256);
        FieldValues sized(5);
        QCOMPARE(Record_Get::GetRecord(sized, blob, round % 3 == 0), 5);
        Record_Get::FieldValue field;
        Record_Get::GetField(field, blob, rng.bounded(256));
        Record_Get::DecodeTyped(blob);
        Record_Get::DecodeValue(blob, static_cast<std::uint8_t>(rng.bounded(30)));
        Record_Put::ReplaceField(blob, QStringLiteral("x"), rng.bounded(256));
        codepage::FromBytes(blob);
        ParseFieldDescriptor(QString::fromLatin1(blob));
    }
}

void TestHostileInput::truncatedBlobsKeepWhatWasReadBefore() {
    const QByteArray first = Record_Put::PutField(QStringLiteral("kept"), 10, 0);
    const QByteArray blob = first + Record_Put::PutField(QString(300, QLatin1Char('y')), 12, 1) +
                            Record_Put::PutField(QStringLiteral("9.99"), 5, 2) +
                            Record_Put::PutField(QDateTime::currentDateTime(), 25, 3);
    for (qsizetype n = 0; n <= blob.size(); ++n) {
        FieldValues values;
        Record_Get::GetRecord(values, blob.left(n));
        if (n >= first.size()) {
            QCOMPARE(values.value(0).toString(), QStringLiteral("kept"));
        }
        if (n < blob.size()) {
            QVERIFY(values.size() < 4);
        }
    }
}

void TestHostileInput::craftedLengthsRunningPastTheEnd_data() {
    QTest::addColumn<QByteArray>("blob");
    QTest::addColumn<int>("slots");
    QTest::newRow("long length form past end") << QByteArray::fromHex("01020700 0aff ffff 41") << 2;
    QTest::newRow("length form cut") << QByteArray::fromHex("0002ff 000aff") << 1;
    QTest::newRow("length byte missing") << QByteArray::fromHex("00020a 010a") << 1;
    QTest::newRow("currency cut") << QByteArray::fromHex("000201 0105000000") << 1;
    QTest::newRow("lone index byte") << QByteArray::fromHex("000201 05") << 1;
    QTest::newRow("index 254") << QByteArray::fromHex("fe0201") << 255;
}

void TestHostileInput::craftedLengthsRunningPastTheEnd() {
    QFETCH(QByteArray, blob);
    QFETCH(int, slots);
    FieldValues values;
    QCOMPARE(Record_Get::GetRecord(values, blob), slots);
}

void TestHostileInput::cipherReadersSurviveRandomBytes() {
    QRandomGenerator rng(4711);
    CRY cry;
    CRY::SecureBytes pool(270);
    StrongRandom().bytes(pool.data(), pool.size());
    cry.setKeyPool(pool);
    Record_Get::TitleAccess access;
    for (int round = 0; round < 5000; ++round) {
        const QByteArray text = RandomBytes(rng, 120);
        const auto fpk = static_cast<std::int32_t>(rng.generate());
        // Random cipher texts decrypt to random padding bytes, which is where a careless reader overruns.
        cry.SelectKey(round);
        for (int op = 0; op <= 7; ++op) {
            if (op != 1 && op != 5 && op != 3) {
                cry.Cipher(fpk, op, text);
            }
        }
        Record_Get::OpenTitle(cry, fpk, text, access);
        CRY::RijndaelText(text, text.left(8) + "k", false, 192, 256);
        if (round % 25 == 0) {
            QVERIFY(CRY::Unseal(text, "pass").size() <= text.size());
        }
    }
}

void TestHostileInput::conversionsSurviveAnyLength() {
    QRandomGenerator rng(99);
    for (int round = 0; round < 3000; ++round) {
        const QByteArray bytes = RandomBytes(rng, 12);
        CONVERSION::BytesToLong(bytes);
        CONVERSION::TextToLong(bytes);
        CONVERSION::BytesToCurrency(bytes);
        CONVERSION::BytesToFloatText(bytes);
        CONVERSION::TextToFloat(bytes);
        CONVERSION::BitsToText(QString::fromLatin1(bytes));
    }
    for (double v : {0.0, 1e-31, 1e300, -1e300, std::numeric_limits<double>::infinity(),
                     std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::denorm_min()}) {
        QCOMPARE(CONVERSION::FloatToBits(v, 64).size(), 64);
        QCOMPARE(CONVERSION::FloatToBits(v, 32).size(), 32);
        Record_Put::PutField(v, 22, 0);
        Record_Put::PutField(v, 5, 0);
        Record_Put::PutField(v, 4, 0);
    }
    QVERIFY(!CONVERSION::OleToDate(std::numeric_limits<double>::quiet_NaN()).isValid());
}

QTEST_APPLESS_MAIN(TestHostileInput)
#include "tst_hostile_input.moc"

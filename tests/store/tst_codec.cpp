#include "store/codepage.h"
#include "store/conversion.h"
#include "store/field_descriptor.h"
#include "store/record_get.h"
#include "store/record_put.h"

#include "support/test_main.h"

#include <cmath>
#include <limits>

namespace {

QByteArray Hex(const char* hex) {
    return QByteArray::fromHex(hex);
}

QDateTime At(int y, int mo, int d, int h = 0, int mi = 0, int s = 0) {
    return QDateTime(QDate(y, mo, d), QTime(h, mi, s), Qt::UTC);
}

} // namespace

class TestCodec : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void codePageRoundTrips() {
        QByteArray all;
        for (int b = 0; b < 256; ++b) {
            all.append(static_cast<char>(b));
        }
        const QString text = codepage::FromBytes(all);
        QCOMPARE(text.size(), 256);
        QCOMPARE(text.at(0x80), QChar(0x20AC));
        QCOMPARE(text.at(0x81), QChar(0x81));
        QCOMPARE(codepage::ToBytes(text), all);

        // Texts outside the code page keep every character.
        const QString polish = QStringLiteral("Łódź ✓ 😀");
        const QByteArray stored = codepage::ToBytes(polish);
        QVERIFY(stored.startsWith("\xEF\xBB\xBF"));
        QCOMPARE(codepage::FromBytes(stored), polish);

        // A code-page text that begins like the UTF-8 mark must not be misread as UTF-8.
        const QString lookalike = codepage::Latin1252ToText(QByteArray("\xEF\xBB\xBF"
                                                                       "abc"));
        QCOMPARE(codepage::FromBytes(codepage::ToBytes(lookalike)), lookalike);
        // Bytes behind the mark that are not valid UTF-8 read as the code page.
        const QByteArray broken("\xEF\xBB\xBF\xFF\xFE", 5);
        QCOMPARE(codepage::FromBytes(broken).size(), 5);
    }

    void recordRoundTripThroughDescriptor() {
        const FieldDescriptor d = ParseFieldDescriptor(
            "0 Owner 2 1 Private 1 2 Title 10 3 Count 3 4 Key 4 5 Amount 5 6 Rate 7 7 Note 12 8 When 25 9 Part 22 ");
        QCOMPARE(d.names.size(), 10);
        FieldValues values(d.names.size());
        values[0] = 200;
        values[1] = false;
        values[2] = QStringLiteral("Grüße € and Ω");
        values[3] = -300;
        values[4] = -123456789;
        values[5] = QVariant::fromValue(Currency::FromUnits(123400));
        values[6] = 0.75;
        values[7] = QString(1000, QLatin1Char('x'));
        values[8] = At(2024, 3, 15, 14, 30);
        values[9] = 3.5;
        // Written the way every section writes a record: each non-empty value as an item, in index order.
        QByteArray blob;
        for (int i = 0; i < values.size(); ++i) {
            blob += Record_Put::PutField(values[i], d.types[i], i);
        }

        FieldValues read(d.names.size());
        QCOMPARE(Record_Get::GetRecord(read, blob), 10);
        QCOMPARE(read[1].typeId(), QMetaType::Bool);
        values[9] = 0.5; // a part keeps its fraction alone
        for (int i = 0; i < values.size(); ++i) {
            QVERIFY2(read[i] == values[i], qPrintable(d.names[i]));
        }
    }

    void integerBoundaries_data() {
        QTest::addColumn<int>("type");
        QTest::addColumn<qint64>("value");
        QTest::addColumn<qint64>("readBack");
        QTest::newRow("byte 0") << 2 << qint64(0) << qint64(0);
        QTest::newRow("byte 255") << 2 << qint64(255) << qint64(255);
        QTest::newRow("byte keeps the low byte") << 2 << qint64(257) << qint64(1);
        QTest::newRow("int16 min") << 3 << qint64(-32768) << qint64(-32768);
        QTest::newRow("int16 max") << 3 << qint64(32767) << qint64(32767);
        QTest::newRow("int16 -1") << 3 << qint64(-1) << qint64(-1);
        QTest::newRow("int32 min") << 4 << qint64(std::numeric_limits<qint32>::min())
                                   << qint64(std::numeric_limits<qint32>::min());
        QTest::newRow("int32 max") << 4 << qint64(std::numeric_limits<qint32>::max())
                                   << qint64(std::numeric_limits<qint32>::max());
        QTest::newRow("int32 wraps") << 4 << qint64(4294967297LL) << qint64(1);
    }

    void integerBoundaries() {
        QFETCH(int, type);
        QFETCH(qint64, value);
        const QByteArray item = Record_Put::PutField(QVariant::fromValue(value), static_cast<std::uint8_t>(type), 3);
        FieldValues read;
        QCOMPARE(Record_Get::GetRecord(read, item), 4);
        QTEST(read[3].toLongLong(), "readBack");
        QCOMPARE(CONVERSION::BytesToLong(CONVERSION::NumToBytes(value, 4)), static_cast<qint32>(value));
    }

    void currencyReadsBackWithoutSign() {
        FieldValues read;
        Record_Get::GetRecord(read, Record_Put::PutField(QVariant::fromValue(Currency::FromUnits(-10000)), 5, 0));
        QCOMPARE(read[0].value<Currency>().units, 10000);
        Record_Get::GetRecord(read, Record_Put::PutField(QStringLiteral("0.0001"), 5, 0));
        QCOMPARE(read[0].value<Currency>().units, 1);
        // A number given as text or double counts as money too.
        QCOMPARE(Record_Put::PutField(12.34, 5, 0), Record_Put::PutField(QStringLiteral("12.34"), 5, 0));

        QCOMPARE(Currency::FromText(QStringLiteral("-922337203685477.5808"))->units,
                 std::numeric_limits<qint64>::min());
        QVERIFY(!Currency::FromText(QStringLiteral("922337203685477.5808")));
        QVERIFY(!Currency::FromText(QStringLiteral("1.00001")));
        QVERIFY(!Currency::FromText(QStringLiteral("1,5")));
        QCOMPARE(Currency::FromUnits(-1).toText(), QStringLiteral("-0.0001"));
        QCOMPARE(Currency::FromUnits(120000).toText(), QStringLiteral("12"));
        QVERIFY(!Currency::FromUnits(std::numeric_limits<qint64>::max()).plus(Currency::FromUnits(1)));
        QVERIFY(!Currency::FromUnits(std::numeric_limits<qint64>::min()).minus(Currency::FromUnits(1)));
    }

    // How floats are cut and stored is a known answer of the self-test; here only what the two readers make of zero.
    void zeroDiffersByReader() {
        const QByteArray zero = Record_Put::PutField(0.0, 8, 0);
        FieldValues read;
        Record_Get::GetRecord(read, zero);
        QCOMPARE(read[0].toDouble(), std::ldexp(1.0, -1023));
        Record_Get::FieldValue field;
        QVERIFY(Record_Get::GetField(field, zero, 0));
        QCOMPARE(field.value.toDouble(), 0.0);
    }

    void datesDropSecondsAndCountBeforeTheBase() {
        QCOMPARE(CONVERSION::DateToMinutes(At(1997, 3, 20)), 0);
        QCOMPARE(CONVERSION::DateToMinutes(At(1997, 3, 20, 0, 0, 59)), 0);
        QCOMPARE(CONVERSION::DateToMinutes(At(1997, 3, 19, 23, 59, 30)), -1);
        QCOMPARE(CONVERSION::MinutesToDate(-1), At(1997, 3, 19, 23, 59));
        QCOMPARE(CONVERSION::DateToMinutes(QDateTime()), 0);

        FieldValues read;
        Record_Get::GetRecord(read, Record_Put::PutField(At(1900, 1, 1, 6, 15), 25, 0));
        QCOMPARE(read[0].toDateTime(), At(1900, 1, 1, 6, 15));
        // A date given as a day counts from its midnight.
        Record_Get::GetRecord(read, Record_Put::PutField(QDate(2030, 12, 31), 25, 0));
        QCOMPARE(read[0].toDateTime(), At(2030, 12, 31));

        QCOMPARE(CONVERSION::DateToOle(At(1899, 12, 30)), 0.0);
        QCOMPARE(CONVERSION::DateToOle(At(1997, 3, 20)), 35509.0);
        QCOMPARE(CONVERSION::OleToDate(35509.5), At(1997, 3, 20, 12));
    }

    void longTextsAreCutByWholeCharacters_data() {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("kept");
        const QString a = QStringLiteral("a");
        QTest::newRow("code page, over the limit") << a.repeated(65010) + QStringLiteral("TAIL") << 65000;
        QTest::newRow("code page, at the limit") << a.repeated(65000) << 65000;
        // Only the last character needs the UTF-8 form; without it the rest fits as the code page.
        QTest::newRow("one wide character at the end") << a.repeated(64990) + QStringLiteral("€€€€€Ω") << 64995;
        QTest::newRow("past the limit before a wide character") << a.repeated(65000) + QStringLiteral("Ж") << 65000;
        QTest::newRow("two bytes each, fitting") << QStringLiteral("Ж").repeated(30000) << 30000;
        QTest::newRow("two bytes each, too many") << QStringLiteral("Ж").repeated(40000) << 32498;
        // Characters outside the basic plane are never split into halves.
        QTest::newRow("four bytes each") << QStringLiteral("\U0001F600").repeated(20000) << 32498;
    }

    void longTextsAreCutByWholeCharacters() {
        QFETCH(QString, text);
        QFETCH(int, kept);
        QCOMPARE(Record_Put::FittingText(text).size(), kept);
        FieldValues read;
        Record_Get::GetRecord(read, Record_Put::PutField(text, 12, 1) + Record_Put::PutField(7, 2, 2));
        QCOMPARE(read[1].toString(), text.left(kept));
        QCOMPARE(read[2].toInt(), 7);
    }

    void emptyValuesWriteNoItem() {
        QVERIFY(Record_Put::PutField(QString(), 10, 0).isEmpty());
        QVERIFY(Record_Put::PutField(QVariant(), 4, 0).isEmpty());
        QVERIFY(Record_Put::PutField(QByteArray(), 12, 0).isEmpty());
        QVERIFY(Record_Put::PutField(5, 99, 0).isEmpty());
    }

    void sizedArraysKeepTheirSize() {
        FieldValues values(3);
        values[0] = 42;
        QCOMPARE(Record_Get::GetRecord(values, QByteArray()), 3);
        for (const QVariant& v : values) {
            QCOMPARE(v.typeId(), QMetaType::QString);
            QVERIFY(v.toString().isEmpty());
        }
        // An item beyond the array is passed over; the items after it are still read.
        const QByteArray blob = Record_Put::PutField(1, 2, 9) + Record_Put::PutField(QStringLiteral("x"), 10, 1);
        QCOMPARE(Record_Get::GetRecord(values, blob), 3);
        QCOMPARE(values[1].toString(), QStringLiteral("x"));

        FieldValues unsized;
        QCOMPARE(Record_Get::GetRecord(unsized, QByteArray()), 0);
        // A length byte of zero is an empty text, and the reading goes on behind it.
        QCOMPARE(Record_Get::GetRecord(unsized, Hex("000a00010207")), 2);
        QCOMPARE(unsized[0].typeId(), QMetaType::QString);
        QVERIFY(unsized[0].toString().isEmpty());
        QCOMPARE(unsized[1].toInt(), 7);
    }

    void getFieldGivesTypedValuesAndPlace() {
        const QByteArray blob = Record_Put::PutField(true, 1, 0) + Record_Put::PutField(QStringLiteral("abc"), 10, 4) +
                                Record_Put::PutField(QStringLiteral("2.5"), 5, 6) +
                                Record_Put::PutField(At(2000, 1, 1), 25, 7);
        Record_Get::FieldValue field;
        QVERIFY(Record_Get::GetField(field, blob, 0));
        QCOMPARE(field.value.toInt(), 1);
        QCOMPARE(field.position, 1);
        QVERIFY(Record_Get::GetField(field, blob, 4));
        QCOMPARE(field.value.toString(), QStringLiteral("abc"));
        QCOMPARE(field.type, 10);
        QCOMPARE(field.position, 4);
        QCOMPARE(field.length, 4);
        QVERIFY(Record_Get::GetField(field, blob, 6));
        QCOMPARE(field.value.value<Currency>().units, 25000);
        QVERIFY(Record_Get::GetField(field, blob, 7));
        QCOMPARE(field.value.toDateTime(), At(2000, 1, 1));
        QVERIFY(!Record_Get::GetField(field, blob, 5));
        QCOMPARE(field.type, 0);
    }

    void replaceFieldRewritesOneItem() {
        const QByteArray before = Record_Put::PutField(QStringLiteral("first"), 10, 0);
        const QByteArray after = Record_Put::PutField(9, 3, 2);
        const QByteArray blob = before + Record_Put::PutField(QStringLiteral("old"), 10, 1) + after;
        const QByteArray replaced = Record_Put::ReplaceField(blob, QStringLiteral("a longer value"), 1);
        QCOMPARE(replaced, before + Record_Put::PutField(QStringLiteral("a longer value"), 10, 1) + after);
        // The item keeps its type: a number written into a text field stays text.
        const QByteArray numbered = Record_Put::ReplaceField(blob, 12, 1);
        Record_Get::FieldValue field;
        QVERIFY(Record_Get::GetField(field, numbered, 1));
        QCOMPARE(field.type, 10);
        QCOMPARE(field.value.toString(), QStringLiteral("12"));
        QCOMPARE(Record_Put::ReplaceField(blob, 1, 7), blob);
    }

    void decodeTypedReadsHeaderlessItems() {
        QCOMPARE(Record_Get::DecodeTyped(Record_Put::PutField(QStringLiteral("Grüße"), 10, 255)).toString(),
                 QStringLiteral("Grüße"));
        const QString longText(300, QLatin1Char('z'));
        QCOMPARE(Record_Get::DecodeTyped(Record_Put::PutField(longText, 12, 255)).toString(), longText);
        QCOMPARE(Record_Get::DecodeTyped(Record_Put::PutField(-5, 4, 255)).toInt(), -5);
        QCOMPARE(Record_Get::DecodeTyped(Record_Put::PutField(QStringLiteral("12.34"), 5, 255)).value<Currency>().units,
                 123400);
        QCOMPARE(Record_Get::DecodeTyped(Record_Put::PutField(At(2024, 2, 29, 8), 25, 255)).toDateTime(),
                 At(2024, 2, 29, 8));
        QVERIFY(!Record_Get::DecodeTyped(QByteArray()).isValid());
        QVERIFY(!Record_Get::DecodeValue(QByteArray(), 4).isValid());
        QVERIFY(!Record_Get::DecodeValue(Hex("01"), 4).isValid());
    }

    void parseFieldDescriptor() {
        const FieldDescriptor d = ParseFieldDescriptor(QStringLiteral("  0 Owner 2 1 Private 1 2 Description 10 "));
        QCOMPARE(d.names,
                 (QStringList{QStringLiteral("Owner"), QStringLiteral("Private"), QStringLiteral("Description")}));
        QCOMPARE(d.types, (QVector<std::uint8_t>{2, 1, 10}));
        QCOMPARE(d.values.size(), 3);
        QVERIFY(!d.values[0].isValid());
        // An empty descriptor still has its one entry, as the sizing rule gives.
        QCOMPARE(ParseFieldDescriptor(QString()).names.size(), 1);
    }

    void bitStringHelpers() {
        QCOMPARE(CONVERSION::BitsToText(QStringLiteral("0000000100000010")), Hex("0201"));
        QCOMPARE(CONVERSION::BitsToText(QStringLiteral("101")), QByteArray("0"));
        QCOMPARE(CONVERSION::BitsToByte(QStringLiteral("1111111")), -1);
        QString bits = QStringLiteral("00000001");
        CONVERSION::NegateBits(bits);
        QCOMPARE(bits, QStringLiteral("11111111"));
        QCOMPARE(CONVERSION::TextToBits(Hex("0180")), QStringLiteral("1000000000000001"));
        QCOMPARE(CONVERSION::TextToLong(Hex("0102030405")), 0);
        QCOMPARE(CONVERSION::BytesToCurrency(Hex("01")).units, 0);
        QCOMPARE(CONVERSION::BytesToCurrency(Hex("0000000000000080")).units, std::numeric_limits<qint64>::max());
        QCOMPARE(CONVERSION::BytesToFloatText(Hex("000000")), 0.0);
    }
};

NCT_TEST_MAIN(TestCodec)
#include "tst_codec.moc"

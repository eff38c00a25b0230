#include "budget/statements/csv_statement.h"
#include "budget/statements/ofx_statement.h"
#include "budget/statements/qif_statement.h"

#include "support/test_main.h"

#include <QFile>

namespace {

using namespace budget::statements;

QByteArray Sample(const QString& name) {
    QFile file(QStringLiteral(NCT_TEST_DATA_DIR "/statements/") + name);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// One row as a line of text, so that a difference shows where it is.
QStringList Rendered(const QVector<StatementRow>& rows) {
    QStringList lines;
    for (const StatementRow& r : rows) {
        lines.append(QStringList{QString::number(r.line), r.date.toString(Qt::ISODate), r.item, r.partner,
                                 r.amount.toText(), r.note, r.bankId, r.number, r.category}
                         .join(u'|')
                         .replace(u'\n', QLatin1String("\\n")));
    }
    return lines;
}

QStringList Rendered(const QVector<Refusal>& refused) {
    QStringList lines;
    for (const Refusal& r : refused) {
        lines.append(QStringLiteral("%1: %2").arg(r.line).arg(r.reason));
    }
    return lines;
}

Statement ReadCsvAsDetected(const QByteArray& bytes, const QString& mappingText) {
    const CsvDialect dialect = DetectDialect(bytes);
    const CsvMapping mapping = mappingText.isEmpty() ? GuessMapping(HeaderCells(bytes, dialect))
                                                     : CsvMapping::FromText(mappingText).value_or(CsvMapping{});
    return ReadCsvStatement(bytes, dialect, mapping);
}

Statement Read(const QString& kind, const QByteArray& bytes, const QString& mappingText = QString()) {
    if (kind == QLatin1String("csv")) {
        return ReadCsvAsDetected(bytes, mappingText);
    }
    return kind == QLatin1String("qif") ? ReadQifStatement(bytes) : ReadOfxStatement(bytes);
}

} // namespace

class TestStatements : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void readsSampleFiles_data() {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QString>("file");
        QTest::addColumn<QString>("mapping"); // empty: guessed from the header
        QTest::addColumn<QStringList>("rows");
        QTest::addColumn<QStringList>("refused");

        QTest::newRow("German bank, Windows-1252")
            << "csv"
            << "german_bank.csv" << QString()
            << QStringList{QStringLiteral(
                               "5|2024-01-02|Abschlag Strom\\nKundennr. 4711|Stadtwerke M\u00fcnchen|-1234.56||||"),
                           QStringLiteral("7|2024-01-15|Gehalt Januar|M\u00fcller GmbH|2500|Bonus \"Q4\" folgt|||"),
                           QStringLiteral("9|2024-01-31|Kontof\u00fchrung; Januar|Bank|-4.9||||")}
            << QStringList{QStringLiteral("8: the amount \"12,5x\" is not a number")};
        QTest::newRow("English bank, credit and debit columns")
            << "csv"
            << "english_bank.csv" << QString()
            << QStringList{QStringLiteral("2|2024-01-03|Card purchase|Corner Store|-12.34||||"),
                           QStringLiteral("3|2024-01-15|Direct deposit|ACME Corp|1200|January pay|||"),
                           QStringLiteral("5|2024-01-31|Monthly fee|Bank|-0.99||||")}
            << QStringList{QStringLiteral("4: the row has both a credit \"50.00\" and a debit \"50.00\"")};
        QTest::newRow("UTF-8 with byte-order mark and tabs, no header")
            << "csv"
            << "utf8_bom.tsv" << QStringLiteral("date=0;item=1;partner=2;amount=3")
            << QStringList{QStringLiteral("1|2024-03-01|Caf\u00e9 Zo\u00eb|\u6771\u4eac Ramen|-23.5||||"),
                           QStringLiteral("2|2024-03-02|Refund|\u00c5sa \u00d6berg|7.25||||"),
                           QStringLiteral("3|2024-03-05|Rent|Landlord|-850||||")}
            << QStringList{};
        QTest::newRow("QIF, bank and credit card sections")
            << "qif"
            << "accounts.qif" << QString()
            << QStringList{QStringLiteral("6|2024-01-05||Landlord|-1234.56|January rent||1001|Housing:Rent"),
                           QStringLiteral("13|2024-01-15||ACME Corp|2500||||Salary"),
                           QStringLiteral("30|2024-01-25||Fuel Station|-45|Card 4444|||[Checking]")}
            << QStringList{QStringLiteral("19: the amount \"-12.5x\" is not a number"),
                           QStringLiteral("36: the record has no amount"),
                           QStringLiteral("40: the record is not closed by ^; the file may be cut short")};
        QTest::newRow("OFX 1 in SGML, Windows-1252")
            << "ofx"
            << "checking_v1.ofx" << QString()
            << QStringList{QStringLiteral("39|2024-01-05||Corner Grocery|-42.17|Card 1234|20240105001||"),
                           // Written 23:30 Pacific time: the bank's day, whatever the reader's time zone.
                           QStringLiteral("47|2024-01-20||Caf\u00e9 Payroll|1234.5||20240120002||"),
                           QStringLiteral("54|2024-01-25||Check 1044|-0.1|Rent & more|20240125003|1044|")}
            << QStringList{QStringLiteral("63: the amount \"12.3.4\" is not a number")};
        QTest::newRow("OFX 2 in XML, credit card")
            << "ofx"
            << "credit_card_v2.ofx" << QString()
            << QStringList{QStringLiteral(
                               "21|2024-02-01||B\u00e4ckerei M\u00fcller|-19.99|Br\u00f6tchen & Kaffee|CC-0001||"),
                           QStringLiteral("29|2024-02-15||Refund Shop|250||CC-0002||")}
            << QStringList{};
    }

    void readsSampleFiles() {
        QFETCH(QString, kind);
        QFETCH(QString, file);
        QFETCH(QString, mapping);
        QFETCH(QStringList, rows);
        QFETCH(QStringList, refused);
        const QByteArray bytes = Sample(file);
        QVERIFY(!bytes.isEmpty());
        const Statement statement = Read(kind, bytes, mapping);
        QCOMPARE(Rendered(statement.rows), rows);
        QCOMPARE(Rendered(statement.refused), refused);
        QCOMPARE(statement.refusedCount, refused.size());
    }

    void detectsCsvDialect_data() {
        QTest::addColumn<QString>("file");
        QTest::addColumn<QString>("separator");
        QTest::addColumn<bool>("windows1252");
        QTest::addColumn<QString>("decimalMark");
        QTest::addColumn<QString>("dateFormat");
        QTest::addColumn<int>("skipLines");
        QTest::addColumn<bool>("hasHeader");
        QTest::addColumn<QString>("mapping");

        QTest::newRow("German") << "german_bank.csv"
                                << ";" << true << ","
                                << "dd.MM.yyyy" << 3 << true << "date=0;amount=4;partner=2;item=3;note=5";
        QTest::newRow("English") << "english_bank.csv"
                                 << "," << false << "."
                                 << "MM/dd/yyyy" << 0 << true << "date=0;credit=4;debit=3;partner=2;item=1;note=5";
        QTest::newRow("tabs") << "utf8_bom.tsv"
                              << "\t" << false << "."
                              << "yyyy-MM-dd" << 0 << false << "";
    }

    void detectsCsvDialect() {
        QFETCH(QString, file);
        QFETCH(QString, separator);
        QFETCH(bool, windows1252);
        QFETCH(QString, decimalMark);
        QFETCH(QString, dateFormat);
        QFETCH(int, skipLines);
        QFETCH(bool, hasHeader);
        QFETCH(QString, mapping);
        const QByteArray bytes = Sample(file);
        const CsvDialect dialect = DetectDialect(bytes);
        QCOMPARE(QString(dialect.separator), separator);
        QCOMPARE(dialect.encoding == TextEncoding::Windows1252, windows1252);
        QCOMPARE(QString(dialect.decimalMark), decimalMark);
        QCOMPARE(dialect.dateFormat, dateFormat);
        QCOMPARE(dialect.skipLines, skipLines);
        QCOMPARE(dialect.hasHeader, hasHeader);
        QCOMPARE(GuessMapping(HeaderCells(bytes, dialect)).toText(), mapping);
    }

    // Day and month that every date leaves open are told apart by the decimal mark; one day above 12 settles it.
    void detectsDateFormat_data() {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("dateFormat");
        QTest::newRow("open, decimal comma")
            << QByteArray("Datum;Betrag\n01/02/2024;1,50\n03/04/2024;2,00\n") << "dd/MM/yyyy";
        QTest::newRow("open, decimal point")
            << QByteArray("Date,Amount\n01/02/2024,1.50\n03/04/2024,2.00\n") << "MM/dd/yyyy";
        QTest::newRow("settled by a day")
            << QByteArray("Date,Amount\n01/02/2024,1.50\n25/04/2024,2.00\n") << "dd/MM/yyyy";
        QTest::newRow("two-digit year") << QByteArray("Datum;Betrag\n1.2.24;1,50\n3.4.24;2,00\n") << "dd.MM.yy";
        QTest::newRow("compact") << QByteArray("Date;Amount\n20240102;1.50\n") << "yyyyMMdd";
    }

    void detectsDateFormat() {
        QFETCH(QByteArray, bytes);
        QFETCH(QString, dateFormat);
        QCOMPARE(DetectDialect(bytes).dateFormat, dateFormat);
    }

    void readsAmountsExactly_data() {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("mark");
        QTest::addColumn<QString>("value"); // empty: refused
        QTest::addColumn<QString>("reason");
        QTest::newRow("grouped comma") << "1.234,56"
                                       << ","
                                       << "1234.56"
                                       << "";
        QTest::newRow("grouped point") << "-1,234.56"
                                       << "."
                                       << "-1234.56"
                                       << "";
        QTest::newRow("sign behind") << "12,50-"
                                     << ","
                                     << "-12.5"
                                     << "";
        QTest::newRow("currency symbol") << "\u20ac 1.000,00"
                                         << ","
                                         << "1000"
                                         << "";
        QTest::newRow("plus") << "+7.25"
                              << "."
                              << "7.25"
                              << "";
        QTest::newRow("four decimals") << "0.0001"
                                       << "."
                                       << "0.0001"
                                       << "";
        QTest::newRow("three decimals, not a group") << "1.234"
                                                     << "."
                                                     << "1.234"
                                                     << "";
        QTest::newRow("near the limit") << "922337203685477.5807"
                                        << "."
                                        << "922337203685477.5807"
                                        << "";
        QTest::newRow("letters") << "12,5x"
                                 << ","
                                 << ""
                                 << "the amount \"12,5x\" is not a number";
        QTest::newRow("bad groups") << "1,23,456.00"
                                    << "."
                                    << ""
                                    << "the amount \"1,23,456.00\" is not a number";
        QTest::newRow("two decimal marks") << "1,2,3"
                                           << ","
                                           << ""
                                           << "the amount \"1,2,3\" is not a number";
        QTest::newRow("five decimals") << "1.23456"
                                       << "."
                                       << ""
                                       << "the amount \"1.23456\" has more than four decimals";
        QTest::newRow("too large") << "922337203685477.5808"
                                   << "."
                                   << ""
                                   << "the amount \"922337203685477.5808\" is too large";
        QTest::newRow("empty") << " "
                               << "."
                               << ""
                               << "the amount \"\" is empty";
        QTest::newRow("exponent") << "1e5"
                                  << "."
                                  << ""
                                  << "the amount \"1e5\" is not a number";
    }

    void readsAmountsExactly() {
        QFETCH(QString, text);
        QFETCH(QString, mark);
        QFETCH(QString, value);
        QFETCH(QString, reason);
        QString why;
        const std::optional<Currency> amount = ReadStatedAmount(text, mark.front(), &why);
        QCOMPARE(amount ? amount->toText() : QString(), value);
        QCOMPARE(why, reason);
    }

    void mappingTextRoundTrip_data() {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("valid");
        QTest::newRow("signed amount") << "date=0;amount=4;partner=2;item=3;note=5" << true;
        QTest::newRow("credit and debit") << "date=2;credit=7;debit=8" << true;
        QTest::newRow("nothing chosen") << "" << true;
        QTest::newRow("unknown key") << "date=0;colour=1" << false;
        QTest::newRow("twice") << "date=0;date=1" << false;
        QTest::newRow("negative") << "date=-1" << false;
        QTest::newRow("no number") << "date=x" << false;
        QTest::newRow("no equals") << "date" << false;
    }

    void mappingTextRoundTrip() {
        QFETCH(QString, text);
        QFETCH(bool, valid);
        const std::optional<CsvMapping> mapping = CsvMapping::FromText(text);
        QCOMPARE(mapping.has_value(), valid);
        if (mapping) {
            QCOMPARE(mapping->toText(), text);
            QCOMPARE(CsvMapping::FromText(mapping->toText()), mapping);
        }
    }

    void csvRefusesWhatItCannotReadWhole() {
        const CsvDialect dialect = DetectDialect("Date,Amount\n01/02/2024,1.00\n");
        const CsvMapping mapping = *CsvMapping::FromText(QStringLiteral("date=0;amount=1;note=2"));
        const Statement open = ReadCsvStatement("Date,Amount\n01/02/2024,1.00\n01/03/2024,\"2.00\n", dialect, mapping);
        QCOMPARE(Rendered(open.rows), QStringList{QStringLiteral("2|2024-01-02|||1||||")});
        QCOMPARE(Rendered(open.refused),
                 QStringList{QStringLiteral("3: a quoted cell is not closed before the end of the file")});
        const Statement shortRow = ReadCsvStatement("Date,Amount\n01/02/2024\n13/45/2024,1\n", dialect, mapping);
        QCOMPARE(Rendered(shortRow.refused),
                 (QStringList{QStringLiteral("2: the row has 1 cells, but the date and amount need 2"),
                              QStringLiteral("3: the date \"13/45/2024\" is not a date in the form MM/dd/yyyy")}));
        QCOMPARE(Rendered(ReadCsvStatement("x", dialect, CsvMapping{}).refused),
                 QStringList{QStringLiteral("0: no column is chosen for the date and the amount")});
    }

    void encodingCanBeChosen() {
        const QByteArray bytes = Sample(QStringLiteral("german_bank.csv"));
        CsvDialect dialect = DetectDialect(bytes);
        const CsvMapping mapping = GuessMapping(HeaderCells(bytes, dialect));
        dialect.encoding = TextEncoding::Utf8;
        QCOMPARE(ReadCsvStatement(bytes, dialect, mapping).rows.value(0).partner,
                 QStringLiteral("Stadtwerke M\ufffdnchen"));
    }

    void previewShowsTheTable() {
        const QByteArray bytes = Sample(QStringLiteral("german_bank.csv"));
        const QVector<QStringList> preview = PreviewRows(bytes, DetectDialect(bytes), 2);
        QCOMPARE(preview.size(), 2);
        QCOMPARE(preview[0].value(0), QStringLiteral("Buchungstag"));
        QCOMPARE(preview[1].value(3), QStringLiteral("Abschlag Strom\nKundennr. 4711"));
    }

    void qifDateOrder_data() {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<int>("order");
        QTest::addColumn<QString>("date"); // of the first record, read in the detected order
        QTest::newRow("day above 12 first")
            << QByteArray("!Type:Bank\nD25/12/2023\nT1\n^\n") << int(DayMonthOrder::DayFirst) << "2023-12-25";
        QTest::newRow("day above 12 second") << QByteArray("!Type:Bank\nD3/4/2024\nT1\n^\nD12/25/2023\nT1\n^\n")
                                             << int(DayMonthOrder::MonthFirst) << "2024-03-04";
        QTest::newRow("nothing tells: month first")
            << QByteArray("!Type:Bank\nD3/4/2024\nT1\n^\n") << int(DayMonthOrder::Undecided) << "2024-03-04";
        QTest::newRow("contradicting") << QByteArray(
                                              "!Type:Bank\nD3/4/2024\nT1\n^\nD25/1/2024\nT1\n^\nD1/25/2024\nT1\n^\n")
                                       << int(DayMonthOrder::Undecided) << "2024-03-04";
        QTest::newRow("dots are day first")
            << QByteArray("!Type:Cash\nD3.4.2024\nT1\n^\n") << int(DayMonthOrder::Undecided) << "2024-04-03";
        QTest::newRow("apostrophe year") << QByteArray("!Type:Bank\nD12/31' 9\nT1\n^\n")
                                         << int(DayMonthOrder::MonthFirst) << "2009-12-31";
    }

    void qifDateOrder() {
        QFETCH(QByteArray, bytes);
        QFETCH(int, order);
        QFETCH(QString, date);
        QCOMPARE(int(DetectQifDateOrder(bytes)), order);
        const Statement statement = ReadQifStatement(bytes);
        QVERIFY(!statement.rows.isEmpty());
        QCOMPARE(statement.rows.first().date.toString(Qt::ISODate), date);
    }

    void qifOrderCanBeChosen() {
        const QByteArray bytes("!Type:Bank\nD3/4/2024\nT1\n^\n");
        QCOMPARE(ReadQifStatement(bytes, DayMonthOrder::DayFirst).rows.value(0).date, QDate(2024, 4, 3));
    }

    void ofxRefusesOtherFiles() {
        QCOMPARE(Rendered(ReadOfxStatement("Date;Amount\n").refused),
                 QStringList{QStringLiteral("0: the file is no OFX statement: it has no <OFX> element")});
        QVERIFY(ReadOfxStatement("<OFX>\x01\xff<STMTTRN><TRNAMT>1").rows.isEmpty());
        QCOMPARE(Rendered(ReadOfxStatement("<OFX>" + QByteArray("<STMTTRN>x").repeated(5000)).refused),
                 QStringList{QStringLiteral("0: the file nests its elements deeper than an OFX statement does")});
    }

    // A file cut anywhere yields only rows that the whole file yields too: nothing is half-read.
    void cutFilesAreNeverHalfRead_data() {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QString>("file");
        QTest::newRow("QIF") << "qif"
                             << "accounts.qif";
        QTest::newRow("OFX 1") << "ofx"
                               << "checking_v1.ofx";
        QTest::newRow("OFX 2") << "ofx"
                               << "credit_card_v2.ofx";
    }

    void cutFilesAreNeverHalfRead() {
        QFETCH(QString, kind);
        QFETCH(QString, file);
        const QByteArray bytes = Sample(file);
        const QStringList whole = Rendered(Read(kind, bytes).rows);
        for (qsizetype cut = 0; cut < bytes.size(); cut += 53) {
            for (const QString& row : Rendered(Read(kind, bytes.left(cut)).rows)) {
                QVERIFY2(whole.contains(row), qPrintable(QStringLiteral("cut at %1: %2").arg(cut).arg(row)));
            }
        }
    }
};

NCT_TEST_MAIN(TestStatements)
#include "tst_statements.moc"

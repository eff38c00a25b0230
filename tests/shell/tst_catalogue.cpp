#include "shell/catalogue/messages.h"
#include "shell/catalogue/tips.h"
#include "store/random_source.h"

#include <QSet>
#include <QtTest>

#include <limits>

class TestCatalogue : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void messageTexts_data();
    void messageTexts();
    void unusedNumbersGiveEmptyText_data();
    void unusedNumbersGiveEmptyText();
    void everyNumberedTextIsCleanAndCounted();
    void tipsAreSectionColonBlankText();
    void tipTextsKeepTheirExactWording();
    void tipsOutsideTheRangeAreEmpty();
    void splitTipCutsAtTheFirstColon();
    void splitTipWithoutColon();
    void nextTipDrawsEveryTipFromTwentySeven();
};

void TestCatalogue::messageTexts_data() {
    QTest::addColumn<int>("number");
    QTest::addColumn<QString>("expected");

    QTest::newRow("first") << 1 << QStringLiteral("No database specified.");
    QTest::newRow("last") << 387 << QStringLiteral("Address");
    QTest::newRow("no trailing blank after 'of'") << 14 << QStringLiteral("Confirm deletion of");
    QTest::newRow("no final period")
        << 44 << QStringLiteral("Keystring error! Contact the software provider. The program will be closed");
    QTest::newRow("single letter") << 69 << QStringLiteral("M");
    QTest::newRow("fatal prefix") << 83 << QStringLiteral("Fatal Error #");
    QTest::newRow("leading blank") << 111 << QStringLiteral(" items found");
    QTest::newRow("one line break") << 158
                                    << QStringLiteral(
                                           "Weak passphrase:\nPassphrase should be mixed case, with at least "
                                           "one digit or punctuation character. Accept anyway?");
    QTest::newRow("breaks, quotes, backslashes, indents")
        << 160
        << QStringLiteral(
               "Noctaria creates an empty database to store all encrypted data. The file gets the extension "
               "\".nct\".\n\n-  By clicking YES, you accept the default path:\n       \"My "
               "Documents\\Noctaria\\mydata.nct\"\n\n-  By clicking NO, you will be asked to specify a custom "
               "path and filename.");
    QTest::newRow("unbalanced trailing quote") << 199 << QStringLiteral("Error: Parsing email unsuccessful.\"");
    QTest::newRow("quoted help topic")
        << 220
        << QStringLiteral("The file is a Palm file version 2: the file has to be converted before it can be imported. "
                          "Check Help: \"Import Palm Desktop Files\".");
    QTest::newRow("backslashes are literal") << 223 << QStringLiteral("?\\077\\077\\077\\077");
    QTest::newRow("longest")
        << 256
        << QStringLiteral(
               "Personal Information Manager (PIM) software storing information based on record-wise "
               "encryption (RWE) in a database (NCT-file). Every single record is encrypted separately using "
               ">65k different passwords and highest security encryption algorithms (128-256 bit AES and "
               "Blowfish). No plain (decrypted) information will ever be stored on hard disk.");
    QTest::newRow("dash only") << 296 << QStringLiteral("-");
    QTest::newRow("quoted plus") << 358 << QStringLiteral("(no leading \"+\")");
    QTest::newRow("indented lines")
        << 386
        << QStringLiteral("End Date will be recalculated from given data:\n  1. interval between occurrencies\n  2. "
                          "number of occurrencies");
}

void TestCatalogue::messageTexts() {
    QFETCH(int, number);
    QFETCH(QString, expected);
    QCOMPARE(MsgText(number), expected);
}

void TestCatalogue::unusedNumbersGiveEmptyText_data() {
    QTest::addColumn<int>("number");
    QTest::newRow("zero") << 0;
    QTest::newRow("gap after 1") << 2;
    QTest::newRow("gap 74") << 74;
    QTest::newRow("gap 282") << 282;
    QTest::newRow("one past the end") << 388;
    QTest::newRow("negative") << -1;
    QTest::newRow("store error as is") << -85;
    QTest::newRow("16-bit maximum") << 32767;
    QTest::newRow("16-bit minimum") << -32768;
    QTest::newRow("int minimum") << std::numeric_limits<int>::min();
    QTest::newRow("int maximum") << std::numeric_limits<int>::max();
}

void TestCatalogue::unusedNumbersGiveEmptyText() {
    QFETCH(int, number);
    QVERIFY(MsgText(number).isEmpty());
}

void TestCatalogue::everyNumberedTextIsCleanAndCounted() {
    // A lost row or a mangled line break would slip past the spot checks.
    int used = 0;
    for (int n = 1; n <= 387; ++n) {
        const QString text = MsgText(n);
        if (text.isEmpty()) {
            continue;
        }
        ++used;
        QVERIFY2(!text.contains(QLatin1Char('\r')), qPrintable(QString::number(n)));
        QVERIFY2(!text.contains(QChar(0x00B6)), qPrintable(QString::number(n)));
        QVERIFY2(!text.endsWith(QLatin1Char(' ')), qPrintable(QString::number(n)));
    }
    QCOMPARE(used, 355);
}

void TestCatalogue::tipsAreSectionColonBlankText() {
    QSet<QString> seen;
    for (int n = 1; n <= kTipCount; ++n) {
        const QString tip = TipText(n);
        const qsizetype colon = tip.indexOf(QLatin1Char(':'));
        QVERIFY2(colon > 0, qPrintable(tip));
        // The display skips one character after the colon; it must be the blank.
        QCOMPARE(tip.at(colon + 1), QLatin1Char(' '));
        QVERIFY2(tip.left(colon) == tip.left(colon).toUpper(), qPrintable(tip));
        QVERIFY2(tip.size() > colon + 2, qPrintable(tip));
        seen.insert(tip);
    }
    QCOMPARE(seen.size(), kTipCount);
}

void TestCatalogue::tipTextsKeepTheirExactWording() {
    QCOMPARE(TipText(1), QStringLiteral("CALENDAR: You can switch between different calendar views by pressing CTRL "
                                        "and type F1 for 1-day view, F2 for 5-day (workday) view,  F3 for week view "
                                        "and F4 for month view. You can also use the toolbar buttons or the Calendar "
                                        "menu."));
    QCOMPARE(TipText(14), QStringLiteral("SECURITY: More than 65000 different keys (composed of random characters) are "
                                         "used to encrypt every single piece of information (record field)"));
    QCOMPARE(TipText(27), QStringLiteral("GENERAL: If you delete a category, all items listed under that category will "
                                         "be moved to the \"Unfiled\" category. You can never delete the \"Unfiled\" "
                                         "category."));
}

void TestCatalogue::tipsOutsideTheRangeAreEmpty() {
    QVERIFY(TipText(0).isEmpty());
    QVERIFY(TipText(kTipCount + 1).isEmpty());
    QVERIFY(TipText(-1).isEmpty());
}

void TestCatalogue::splitTipCutsAtTheFirstColon() {
    // Tip 8 has a second colon inside its text, which must stay there.
    const auto [section, text] = SplitTip(TipText(8));
    QCOMPARE(section, QStringLiteral("CALENDAR:"));
    QVERIFY(text.startsWith(QStringLiteral("A quick way to create a timed event related to a task listed in your todo "
                                           "list: remember")));
    QVERIFY(text.endsWith(QStringLiteral("in the event pane.")));

    const auto [section25, text25] = SplitTip(TipText(25));
    QCOMPARE(section25, QStringLiteral("CONFIDENTIAL DATA:"));
    QVERIFY(text25.startsWith(QStringLiteral("If you copy a stored password")));
}

void TestCatalogue::splitTipWithoutColon() {
    const auto [section, text] = SplitTip(QStringLiteral("plain"));
    QVERIFY(section.isEmpty());
    QCOMPARE(text, QStringLiteral("lain"));

    const auto [bareSection, bareText] = SplitTip(QStringLiteral("TASKS:"));
    QCOMPARE(bareSection, QStringLiteral("TASKS:"));
    QVERIFY(bareText.isEmpty());
}

void TestCatalogue::nextTipDrawsEveryTipFromTwentySeven() {
    // The scripted source answers below(bound) with 0, 1, 2, ... modulo bound, so 27 draws walk the whole range
    // once only if NextTip asks for exactly 27 outcomes and maps them to tips 1..27.
    ScriptedRandom random;
    for (int n = 1; n <= kTipCount; ++n) {
        QCOMPARE(NextTip(random), TipText(n));
    }
    QCOMPARE(NextTip(random), TipText(1));
}

QTEST_APPLESS_MAIN(TestCatalogue)
#include "tst_catalogue.moc"

#include "base/messages.h"
#include "shell/catalogue/tips.h"
#include "store/random_source.h"
#include "support/test_main.h"

#include <limits>

class TestCatalogue : public QObject {
    Q_OBJECT
private Q_SLOTS:
    // One text for each way a catalogue line can go wrong when it is read in.
    void messageTexts_data() {
        QTest::addColumn<int>("number");
        QTest::addColumn<QString>("expected");
        QTest::newRow("first") << 1 << QStringLiteral("No database specified.");
        QTest::newRow("last") << 387 << QStringLiteral("Address");
        QTest::newRow("leading blank") << 111 << QStringLiteral(" items found");
        QTest::newRow("breaks, quotes, backslashes, indents")
            << 160
            << QStringLiteral(
                   "Noctaria creates an empty database to store all encrypted data. The file gets the extension "
                   "\".nct\".\n\n-  By clicking YES, you accept the default path:\n       \"My "
                   "Documents\\Noctaria\\mydata.nct\"\n\n-  By clicking NO, you will be asked to specify a custom "
                   "path and filename.");
        QTest::newRow("unbalanced trailing quote") << 199 << QStringLiteral("Error: Parsing email unsuccessful.\"");
        QTest::newRow("backslashes are literal") << 223 << QStringLiteral("?\\077\\077\\077\\077");
        QTest::newRow("dash only") << 296 << QStringLiteral("-");
        QTest::newRow("longest")
            << 256
            << QStringLiteral(
                   "Personal Information Manager (PIM) software storing information based on record-wise "
                   "encryption (RWE) in a database (NCT-file). Every single record is encrypted separately using "
                   ">65k different passwords and highest security encryption algorithms (128-256 bit AES and "
                   "Blowfish). No plain (decrypted) information will ever be stored on hard disk.");
    }

    void messageTexts() {
        QFETCH(int, number);
        QTEST(MsgText(number), "expected");
    }

    void unusedNumbersGiveEmptyText() {
        for (const int number :
             {0, 2, 74, 282, 388, -1, -85, 32767, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()}) {
            QVERIFY2(MsgText(number).isEmpty(), qPrintable(QString::number(number)));
        }
    }

    void everyNumberedTextIsCleanAndCounted() {
        // A lost row or a mangled line break would slip past the spot checks.
        int used = 0;
        for (int n = 1; n <= 387; ++n) {
            const QString text = MsgText(n);
            used += text.isEmpty() ? 0 : 1;
            QVERIFY2(!text.contains(u'\r') && !text.contains(QChar(0x00B6)) && !text.endsWith(u' '),
                     qPrintable(QString::number(n)));
        }
        QCOMPARE(used, 355);
    }

    void tipsAreSectionColonBlankText() {
        QSet<QString> seen;
        for (int n = 1; n <= kTipCount; ++n) {
            const QString tip = TipText(n);
            const qsizetype colon = tip.indexOf(u':');
            // The display skips one character after the colon; it must be the blank.
            QVERIFY2(colon > 0 && tip.at(colon + 1) == u' ' && tip.size() > colon + 2, qPrintable(tip));
            QVERIFY2(tip.left(colon) == tip.left(colon).toUpper(), qPrintable(tip));
            seen.insert(tip);
        }
        QCOMPARE(seen.size(), kTipCount);
        // Two blanks in a row stay two.
        QCOMPARE(TipText(1), QStringLiteral("CALENDAR: You can switch between different calendar views by pressing "
                                            "CTRL and type F1 for 1-day view, F2 for 5-day (workday) view,  F3 for "
                                            "week view and F4 for month view. You can also use the toolbar buttons "
                                            "or the Calendar menu."));
        QCOMPARE(TipText(27), QStringLiteral("GENERAL: If you delete a category, all items listed under that category "
                                             "will be moved to the \"Unfiled\" category. You can never delete the "
                                             "\"Unfiled\" category."));
        for (const int outside : {0, kTipCount + 1, -1}) {
            QVERIFY(TipText(outside).isEmpty());
        }
    }

    void splitTipCutsAtTheFirstColon() {
        // Tip 8 has a second colon inside its text, which must stay there.
        const auto [section, text] = SplitTip(TipText(8));
        QCOMPARE(section, QStringLiteral("CALENDAR:"));
        QVERIFY(text.startsWith(QStringLiteral("A quick way to create a timed event related to a task listed in your "
                                               "todo list: remember")));
        QVERIFY(text.endsWith(QStringLiteral("in the event pane.")));

        const auto [none, plain] = SplitTip(QStringLiteral("plain"));
        QVERIFY(none.isEmpty());
        QCOMPARE(plain, QStringLiteral("lain"));
        const auto [bare, empty] = SplitTip(QStringLiteral("TASKS:"));
        QCOMPARE(bare, QStringLiteral("TASKS:"));
        QVERIFY(empty.isEmpty());
    }

    void nextTipDrawsEveryTipFromTwentySeven() {
        // The scripted source answers below(bound) with 0, 1, 2, ... modulo bound, so 27 draws walk the whole range
        // once only if NextTip asks for exactly 27 outcomes and maps them to tips 1..27.
        ScriptedRandom random;
        for (int n = 1; n <= kTipCount; ++n) {
            QCOMPARE(NextTip(random), TipText(n));
        }
        QCOMPARE(NextTip(random), TipText(1));
    }
};

NCT_TEST_MAIN(TestCatalogue)
#include "tst_catalogue.moc"

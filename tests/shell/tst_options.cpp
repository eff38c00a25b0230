#include "shell/open_sequence.h"
#include "shell/options.h"
#include "shell/session.h"
#include "support/scripted_prompter.h"
#include "support/test_databases.h"

#include <QTemporaryDir>
#include <QtTest>

namespace {

const QString kPass = QStringLiteral("Options pass 1");

} // namespace

class TestOptions : public QObject {
    Q_OBJECT

    QTemporaryDir m_settings;

private Q_SLOTS:
    void initTestCase() {
        QVERIFY(m_settings.isValid());
        RedirectSettings(m_settings.path());
    }

    void spinsStopAtTheEdgesOfTheDay() {
        options::WorkTimes t{23 * 60, 23 * 60 + 30, 0};
        t = options::SpinTime(t, 1, 1); // the end by an hour
        QCOMPARE(options::TimeText(t.WorkdayEnd), QStringLiteral("23:45"));
        t = options::SpinTime(t, 4, 1); // and by a quarter
        QCOMPARE(options::TimeText(t.WorkdayEnd), QStringLiteral("23:45"));
        // The start moved onto the end takes the end along.
        t = options::SpinTime(t, 0, 1);
        QCOMPARE(options::TimeText(t.WorkdayStart), QStringLiteral("23:45"));
        QCOMPARE(options::TimeText(t.WorkdayEnd), QStringLiteral("23:45"));
        // The end moved before the start takes the start along.
        t = options::SpinTime({8 * 60, 8 * 60 + 30, 450}, 1, -1);
        QCOMPARE(t.WorkdayStart, 7 * 60 + 30);

        t = options::SpinTime({8 * 60, 17 * 60, 30}, 2, -1); // display from, by an hour
        QCOMPARE(options::TimeText(t.DisplayFrom), QStringLiteral("00:00"));
        t = options::SpinTime(t, 5, -1);
        QCOMPARE(options::TimeText(t.DisplayFrom), QStringLiteral("00:00"));
        QCOMPARE(t.WorkdayStart, 8 * 60);
    }

    void idleStepsStopAtZeroAndFifteen() {
        QCOMPARE(options::StepIdle(14, 1), 15);
        QCOMPARE(options::StepIdle(15, 1), 15);
        QCOMPARE(options::StepIdle(1, -1), 0);
        QCOMPARE(options::StepIdle(0, -1), 0);
    }

    void labelsReadBackWithDefaultsForEmptyOnes() {
        QStringList labels = options::UserFieldLabelsFrom(QByteArray());
        QCOMPARE(labels.size(), 9);
        QCOMPARE(labels.last(), QStringLiteral("User Def 9"));
        labels[1] = QStringLiteral("Hobby");
        labels[4] = QStringLiteral("Кот ✓"); // outside code page 1252
        labels[7] = QString();
        const QStringList back = options::UserFieldLabelsFrom(options::UserFieldLabelsBytes(labels));
        QCOMPARE(back[1], QStringLiteral("Hobby"));
        QCOMPARE(back[4], QStringLiteral("Кот ✓"));
        QCOMPARE(back[7], QStringLiteral("User Def 8"));
        // A separator typed into a label would shift every label behind it.
        const QByteArray withSeparator = options::UserFieldLabelsBytes({QStringLiteral("a\x11"
                                                                                       "b"),
                                                                        QStringLiteral("c")});
        QCOMPARE(options::UserFieldLabelsFrom(withSeparator).mid(0, 2), QStringList({"ab", "c"}));
    }

    void pinValuesMarkOnlyRealChanges() {
        UserOptions pin{0, QStringLiteral("1234"), 3, false};
        QVERIFY(!options::TakePinValues(pin, QStringLiteral("1234"), 3, false));
        QVERIFY(options::TakePinValues(pin, QStringLiteral("12345"), 3, false));
        QCOMPARE(pin.PinCode, QStringLiteral("12345"));
        QVERIFY(options::TakePinValues(pin, QStringLiteral("12345"), 1, true));
        QCOMPARE(pin.PinMask, 1);
        QVERIFY(pin.PinEveryAccess);
    }

    void labelsAndOptionsRoundTripThroughTheFile() {
        QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("options.nct"));
        ScriptedPrompter prompter;
        {
            Session session(prompter);
            QCOMPARE(CreateDatabase(session, prompter, path, kPass), 0);
            Store& store = session.store();
            QStringList labels = options::LoadUserFieldLabels(store);
            labels[0] = QStringLiteral("Nickname");
            labels[8] = QStringLiteral("Ünterschrift");
            QCOMPARE(options::SaveUserFieldLabels(store, labels), 0);
            labels[2] = QStringLiteral("Second write");
            QCOMPARE(options::SaveUserFieldLabels(store, labels), 0);
            store.preferences.IdleMinutes = 15;
            store.preferences.ShowPrivateAtStart = true;
            QCOMPARE(options::SaveOptions(store), 0);
            // Closed as a crash would: nothing is written on the way out.
            store.wipeSecrets();
            store.database.Close();
            session.DbIsOpen = false;
        }
        Session again(prompter);
        QCOMPARE(OpenDatabase(again, prompter, path, kPass), 0);
        Store& store = again.store();
        QCOMPARE(options::LoadOptions(store), 0);
        QCOMPARE(store.preferences.IdleMinutes, 15);
        QVERIFY(again.ShowPrivate);
        const QStringList labels = options::LoadUserFieldLabels(store);
        QCOMPARE(labels[0], QStringLiteral("Nickname"));
        QCOMPARE(labels[1], QStringLiteral("User Def 2"));
        QCOMPARE(labels[2], QStringLiteral("Second write"));
        QCOMPARE(labels[8], QStringLiteral("Ünterschrift"));
        // One list row per user, rewritten rather than added to.
        sqlite::Statement count = store.connection().prepare("SELECT COUNT(*) FROM tt WHERE fSec=9 AND fSub=11");
        QVERIFY(count.step());
        QCOMPARE(count.int64(0), 1);
    }

    void savingOnAVanishedRowIsFatal() {
        QTemporaryDir dir;
        ScriptedPrompter prompter;
        Session session(prompter);
        QCOMPARE(CreateDatabase(session, prompter, dir.filePath(QStringLiteral("gone.nct")), kPass), 0);
        session.store().connection().exec("DELETE FROM tt WHERE fSec=2");
        prompter.shown.clear();
        QCOMPARE(options::SaveOptions(session.store()), StoreError::Fatal);
        QCOMPARE(prompter.numbers(), QList<int>({83}));
    }
};

QTEST_GUILESS_MAIN(TestOptions)
#include "tst_options.moc"

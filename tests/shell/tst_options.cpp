#include "shell/catalogue/messages.h"
#include "shell/open_sequence.h"
#include "shell/options.h"
#include "shell/session.h"
#include "support/scripted_prompter.h"
#include "support/test_databases.h"

#include <QSettings>
#include <QTemporaryDir>
#include <QtTest>

namespace {

const QString kPass = QStringLiteral("Options pass 1");

// A new database in `dir`, open in the session.
bool MakeDatabase(ScriptedPrompter& prompter, Session& session, const QString& path) {
    return CreateDatabase(session, prompter, path, kPass) == 0 && session.DbIsOpen;
}

// Closes the file as a crash would: nothing is written on the way out.
void DropFile(Session& session) {
    session.store().wipeSecrets();
    session.store().database.Close();
    session.DbIsOpen = false;
}

bool Reopen(ScriptedPrompter& prompter, Session& session, const QString& path) {
    return OpenDatabase(session, prompter, path, kPass) == 0;
}

} // namespace

class TestOptions : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void stepTime_data();
    void stepTime();
    void spinControlsPickFieldAndStep_data();
    void spinControlsPickFieldAndStep();
    void workdayNeverEndsBeforeItStarts();
    void spinsStopAtTheEdgesOfTheDay();
    void idleStepsStopAtZeroAndFifteen();
    void labelBytesAreVersionThenNineLabels();
    void labelsReadBackWithDefaultsForEmptyOnes();
    void pinValuesMarkOnlyRealChanges();
    void offeredStartSections();
    void labelsAndOptionsRoundTripThroughTheFile();
    void savingOnAVanishedRowIsFatal();

private:
    QTemporaryDir m_settings;
};

void TestOptions::initTestCase() {
    QVERIFY(m_settings.isValid());
    RedirectSettings(m_settings.path());
}

void TestOptions::stepTime_data() {
    QTest::addColumn<int>("minutes");
    QTest::addColumn<int>("step");
    QTest::addColumn<int>("expected");

    QTest::newRow("-15 at 00:15") << 15 << -15 << 0;
    QTest::newRow("-15 below 00:15 stays") << 10 << -15 << 10;
    QTest::newRow("-15 at 00:00 stays") << 0 << -15 << 0;
    QTest::newRow("+15 at 23:30") << 1410 << 15 << 1425;
    QTest::newRow("+15 above 23:30 stays") << 1411 << 15 << 1411;
    QTest::newRow("+15 at 23:45 stays") << 1425 << 15 << 1425;
    QTest::newRow("-60 at 01:00") << 60 << -60 << 0;
    QTest::newRow("-60 below 01:00 goes to 00:00") << 45 << -60 << 0;
    QTest::newRow("-60 in the day") << 8 * 60 << -60 << 7 * 60;
    QTest::newRow("+60 at 22:45") << 1365 << 60 << 1425;
    QTest::newRow("+60 above 22:45 goes to 23:45") << 1366 << 60 << 1425;
    QTest::newRow("+60 at 23:45 stays") << 1425 << 60 << 1425;
    QTest::newRow("+60 in the day") << 8 * 60 << 60 << 9 * 60;
    QTest::newRow("other step does nothing") << 600 << 30 << 600;
}

void TestOptions::stepTime() {
    QFETCH(int, minutes);
    QFETCH(int, step);
    QFETCH(int, expected);
    QCOMPARE(options::StepTime(minutes, step), expected);
}

void TestOptions::spinControlsPickFieldAndStep_data() {
    QTest::addColumn<int>("control");
    QTest::addColumn<int>("direction");
    QTest::addColumn<int>("start");
    QTest::addColumn<int>("end");
    QTest::addColumn<int>("from");

    // From 08:00, 17:00, 07:30.
    QTest::newRow("0 up: start by an hour") << 0 << 1 << 9 * 60 << 17 * 60 << 450;
    QTest::newRow("1 down: end by an hour") << 1 << -1 << 8 * 60 << 16 * 60 << 450;
    QTest::newRow("2 up: display by an hour") << 2 << 1 << 8 * 60 << 17 * 60 << 510;
    QTest::newRow("3 down: start by a quarter") << 3 << -1 << 465 << 17 * 60 << 450;
    QTest::newRow("4 up: end by a quarter") << 4 << 1 << 8 * 60 << 1035 << 450;
    QTest::newRow("5 down: display by a quarter") << 5 << -1 << 8 * 60 << 17 * 60 << 435;
    QTest::newRow("no such control") << 6 << 1 << 8 * 60 << 17 * 60 << 450;
}

void TestOptions::spinControlsPickFieldAndStep() {
    QFETCH(int, control);
    QFETCH(int, direction);
    const options::WorkTimes after = options::SpinTime({8 * 60, 17 * 60, 450}, control, direction);
    QTEST(after.WorkdayStart, "start");
    QTEST(after.WorkdayEnd, "end");
    QTEST(after.DisplayFrom, "from");
}

void TestOptions::workdayNeverEndsBeforeItStarts() {
    // The start moved onto the end takes the end along.
    options::WorkTimes t = options::SpinTime({16 * 60 + 30, 17 * 60, 450}, 0, 1);
    QCOMPARE(t.WorkdayStart, 17 * 60 + 30);
    QCOMPARE(t.WorkdayEnd, 17 * 60 + 30);
    // Reaching the end exactly counts as well: the start is no longer earlier.
    t = options::SpinTime({16 * 60 + 45, 17 * 60, 450}, 3, 1);
    QCOMPARE(t.WorkdayStart, 17 * 60);
    QCOMPARE(t.WorkdayEnd, 17 * 60);
    // The end moved before the start takes the start along.
    t = options::SpinTime({8 * 60, 8 * 60 + 30, 450}, 1, -1);
    QCOMPARE(t.WorkdayEnd, 7 * 60 + 30);
    QCOMPARE(t.WorkdayStart, 7 * 60 + 30);
    // Display from is no part of the pair.
    t = options::SpinTime({8 * 60, 9 * 60, 8 * 60 + 30}, 2, 1);
    QCOMPARE(t.DisplayFrom, 9 * 60 + 30);
    QCOMPARE(t.WorkdayStart, 8 * 60);
    QCOMPARE(t.WorkdayEnd, 9 * 60);

    options::WorkTimes ordered{9 * 60, 10 * 60, 0};
    options::KeepWorkdayInOrder(ordered, true);
    QCOMPARE(ordered.WorkdayStart, 9 * 60);
    QCOMPARE(ordered.WorkdayEnd, 10 * 60);
}

void TestOptions::spinsStopAtTheEdgesOfTheDay() {
    options::WorkTimes t{23 * 60, 23 * 60 + 30, 0};
    t = options::SpinTime(t, 1, 1);
    QCOMPARE(options::TimeText(t.WorkdayEnd), QStringLiteral("23:45"));
    t = options::SpinTime(t, 1, 1);
    t = options::SpinTime(t, 4, 1);
    QCOMPARE(options::TimeText(t.WorkdayEnd), QStringLiteral("23:45"));
    t = options::SpinTime(t, 0, 1);
    QCOMPARE(options::TimeText(t.WorkdayStart), QStringLiteral("23:45"));
    QCOMPARE(options::TimeText(t.WorkdayEnd), QStringLiteral("23:45"));

    t = options::SpinTime({8 * 60, 17 * 60, 30}, 2, -1);
    QCOMPARE(options::TimeText(t.DisplayFrom), QStringLiteral("00:00"));
    t = options::SpinTime(t, 2, -1);
    t = options::SpinTime(t, 5, -1);
    QCOMPARE(options::TimeText(t.DisplayFrom), QStringLiteral("00:00"));
    QCOMPARE(options::TimeText(9 * 60 + 5), QStringLiteral("09:05"));
}

void TestOptions::idleStepsStopAtZeroAndFifteen() {
    QCOMPARE(options::StepIdle(14, 1), 15);
    QCOMPARE(options::StepIdle(15, 1), 15);
    QCOMPARE(options::StepIdle(1, -1), 0);
    QCOMPARE(options::StepIdle(0, -1), 0);
    QCOMPARE(options::StepIdle(5, 0), 5);
}

void TestOptions::labelBytesAreVersionThenNineLabels() {
    const QStringList labels = {
        QStringLiteral("Pet"), QString(), QStringLiteral("Café"), QString(), QString(), QString(), QString(), QString(),
        QStringLiteral("Z")};
    QByteArray expected("\x09Pet\x11\x11"
                        "Caf\xe9\x11\x11\x11\x11\x11\x11Z");
    QCOMPARE(options::UserFieldLabelsBytes(labels), expected);
    // Nine empty labels are the stored default of the list row.
    QCOMPARE(options::UserFieldLabelsBytes({}), QByteArray("\x09\x11\x11\x11\x11\x11\x11\x11\x11"));
    // A separator typed into a label would shift every label behind it.
    const QByteArray withSeparator = options::UserFieldLabelsBytes({QStringLiteral("a\x11"
                                                                                   "b"),
                                                                    QStringLiteral("c")});
    QCOMPARE(options::UserFieldLabelsFrom(withSeparator).mid(0, 2), QStringList({"ab", "c"}));
    // Labels past the ninth are not stored.
    QStringList ten;
    for (int i = 0; i < 10; ++i) {
        ten << QStringLiteral("L%1").arg(i);
    }
    QCOMPARE(options::UserFieldLabelsFrom(options::UserFieldLabelsBytes(ten)), ten.mid(0, 9));
}

void TestOptions::labelsReadBackWithDefaultsForEmptyOnes() {
    const QStringList defaults = options::UserFieldLabelsFrom(QByteArray());
    QCOMPARE(defaults.size(), 9);
    QCOMPARE(defaults.first(), QStringLiteral("User Def 1"));
    QCOMPARE(defaults.last(), QStringLiteral("User Def 9"));

    QStringList labels = defaults;
    labels[1] = QStringLiteral("Hobby");
    labels[4] = QStringLiteral("Кот ✓"); // outside code page 1252
    labels[7] = QString();
    const QStringList back = options::UserFieldLabelsFrom(options::UserFieldLabelsBytes(labels));
    QCOMPARE(back[1], QStringLiteral("Hobby"));
    QCOMPARE(back[4], QStringLiteral("Кот ✓"));
    QCOMPARE(back[7], QStringLiteral("User Def 8"));
    QCOMPARE(back[8], QStringLiteral("User Def 9"));
    // A short row gives defaults for the labels it lacks.
    QCOMPARE(options::UserFieldLabelsFrom(QByteArray("\x09One")).mid(0, 2), QStringList({"One", "User Def 2"}));
}

void TestOptions::pinValuesMarkOnlyRealChanges() {
    QCOMPARE(options::PinMaskOf({true, false, true}), 5);
    QCOMPARE(options::PinMaskOf(QList<bool>(12, true)), 511); // only boxes 0 to 8 count
    QVERIFY(options::PinMaskHas(5, 2));
    QVERIFY(!options::PinMaskHas(5, 1));
    QVERIFY(!options::PinMaskHas(5, -1));

    UserOptions pin{0, QStringLiteral("1234"), 3, false};
    QVERIFY(!options::TakePinValues(pin, QStringLiteral("1234"), 3, false));
    QVERIFY(options::TakePinValues(pin, QStringLiteral("12345"), 3, false));
    QCOMPARE(pin.PinCode, QStringLiteral("12345"));
    QVERIFY(options::TakePinValues(pin, QStringLiteral("12345"), 1, false));
    QCOMPARE(pin.PinMask, 1);
    QVERIFY(options::TakePinValues(pin, QStringLiteral("12345"), 1, true));
    QVERIFY(pin.PinEveryAccess);
    QVERIFY(!options::TakePinValues(pin, QStringLiteral("12345"), 1, true));
}

void TestOptions::offeredStartSections() {
    const QList<int> all = {11, 12, 13, 14, 15, 16, 17};
    QCOMPARE(options::OfferedSections({0}), all);
    QCOMPARE(options::OfferedSections({}), all);
    QCOMPARE(options::OfferedSections({17}), QList<int>({17}));
    QCOMPARE(options::OfferedSections({15, 11, 20, 15}), QList<int>({15, 11}));
}

void TestOptions::labelsAndOptionsRoundTripThroughTheFile() {
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("options.nct"));
    ScriptedPrompter prompter;
    {
        Session session(prompter);
        QVERIFY(MakeDatabase(prompter, session, path));
        Store& store = session.store();
        QCOMPARE(options::LoadUserFieldLabels(store).at(0), QStringLiteral("User Def 1"));
        QCOMPARE(store.preferences.toBlob(), options::DefaultOptions().toBlob());

        QStringList labels = options::LoadUserFieldLabels(store);
        labels[0] = QStringLiteral("Nickname");
        labels[8] = QStringLiteral("Ünterschrift");
        QCOMPARE(options::SaveUserFieldLabels(store, labels), 0);
        labels[2] = QStringLiteral("Second write");
        QCOMPARE(options::SaveUserFieldLabels(store, labels), 0);

        store.preferences.IdleMinutes = 15;
        store.preferences.WorkdayEnd = 1425;
        store.preferences.IdleAction = 2;
        store.preferences.ShowPrivateAtStart = true;
        QCOMPARE(options::SaveOptions(store), 0);
        DropFile(session);
    }
    Session again(prompter);
    QVERIFY(Reopen(prompter, again, path));
    Store& store = again.store();
    QCOMPARE(options::LoadOptions(store), 0);
    QCOMPARE(store.preferences.IdleMinutes, 15);
    QCOMPARE(store.preferences.WorkdayEnd, 1425);
    QCOMPARE(store.preferences.IdleAction, 2);
    QVERIFY(store.preferences.ShowPrivateAtStart);
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

void TestOptions::savingOnAVanishedRowIsFatal() {
    QTemporaryDir dir;
    ScriptedPrompter prompter;
    Session session(prompter);
    QVERIFY(MakeDatabase(prompter, session, dir.filePath(QStringLiteral("gone.nct"))));
    Store& store = session.store();
    store.connection().exec("DELETE FROM tt WHERE fSec=2");
    prompter.shown.clear();
    QCOMPARE(options::SaveOptions(store), StoreError::Fatal);
    QCOMPARE(prompter.numbers(), QList<int>({83}));
    QCOMPARE(prompter.shown.first().text, MsgText(83) + QStringLiteral("778"));
}

QTEST_GUILESS_MAIN(TestOptions)
#include "tst_options.moc"

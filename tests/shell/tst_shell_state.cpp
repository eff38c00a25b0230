#include "shell/catalogue/messages.h"
#include "shell/file_choice.h"
#include "shell/open_sequence.h"
#include "shell/section_list.h"
#include "shell/session.h"
#include "shell/settings.h"
#include "shell/shell_state.h"
#include "store/sqlite.h"
#include "support/scripted_prompter.h"
#include "support/test_databases.h"

#include <QSettings>
#include <QStandardPaths>
#include <QtTest>

#include <limits>
#include <memory>

namespace {

const QString kPassphrase = QStringLiteral("night owl 42");
constexpr int kSectionMemos = 14;
constexpr std::uint32_t kMemoBit = 1u << (kSectionMemos - 11);

// Records the frame calls, with how many boxes the person had seen when each came.
class RecordingFrame final : public FrameLink {
public:
    explicit RecordingFrame(const ScriptedPrompter& prompter)
        : m_prompter(prompter) {}
    void EnableDbCommands(bool) override {}
    void ShowDatabase(const QString&) override {}
    void CloseSections() override {}
    void HideShow() override { hideShowAfterBoxes.append(static_cast<int>(m_prompter.shown.size())); }

    QList<int> hideShowAfterBoxes;

private:
    const ScriptedPrompter& m_prompter;
};

struct Run {
    ScriptedPrompter prompter;
    RecordingFrame frame{prompter};
    Session session{prompter, StrongRandom(), &frame};
    std::int64_t now = 1'000'000;
    ShellState shell{session, [this] { return now; }};

    Preferences& preferences() { return session.store().preferences; }
    void minutes(int m) { now += static_cast<std::int64_t>(m) * 60'000; }
};

bool writeFile(const QString& path, const QByteArray& bytes) {
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

QByteArray readFile(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

class TestShellState : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void init();

    void sectionListReadings_data();
    void sectionListReadings();

    void idleTimeFollowsActivityAndFreezing();
    void countdown_data();
    void countdown();
    void idleHidesPrivateRecordsBeforeTellingSo();
    void idleWithNothingToHideFreezesQuietly();
    void idleBlocksOrExits_data();
    void idleBlocksOrExits();

    void privateSwitchNeedsThePassphraseOnlyToShow();
    void pinIsAskedOnceOrEveryTime();
    void wrongOrCancelledPinLeadsToTheStartScreen();
    void diaryIsRefusedWhilePrivateRecordsAreHidden();
    void autoBlockAsksThePassphraseAtTheNextEntry();

    void checkDatabaseFile_data();
    void checkDatabaseFile();
    void damagedFileIsRepairedWhenThePersonAgrees();
    void lockedFileKeepsItsPathAndNamesIt();
    void firstRunOfferMakesTheDefaultFile();
    void firstRunOfferDeclined();
    void selectDatabase();

private:
    // A file of ours with the test passphrase, made once and copied for each test.
    QString freshFile(const QString& name);
    bool openFresh(Run& run, const QString& name = QStringLiteral("open.nct"));

    QTemporaryDir m_dir;
    QString m_template;
};

void TestShellState::initTestCase() {
    QVERIFY(m_dir.isValid());
    QStandardPaths::setTestModeEnabled(true);
    // The documents folder follows the home folder; the first-run tests must never touch the real one.
    const QString home = m_dir.filePath(QStringLiteral("home"));
    QVERIFY(QDir().mkpath(home));
    qputenv("HOME", QFile::encodeName(home));
    QVERIFY(QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation).startsWith(home + u'/'));
    QCOMPARE(
        file_choice::DefaultFolder(),
        QDir(QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation)).filePath(QStringLiteral("Noctaria")));
    RedirectSettings(m_dir.filePath(QStringLiteral("settings")));

    TestSession maker;
    m_template = m_dir.filePath(QStringLiteral("template.nct"));
    QCOMPARE(CreateDatabase(maker, m_template, kPassphrase), 0);
    open_sequence::CloseDatabase(maker.session);
}

void TestShellState::init() {
    QSettings(QStringLiteral("Marrowline"), QStringLiteral("Noctaria")).clear();
    QDir(file_choice::DefaultFolder()).removeRecursively();
}

QString TestShellState::freshFile(const QString& name) {
    return CopyWritable(m_template, m_dir.filePath(name));
}

bool TestShellState::openFresh(Run& run, const QString& name) {
    const bool opened =
        OpenDatabase(run.session, run.prompter, freshFile(name), kPassphrase) == 0 && run.session.DbIsOpen;
    run.prompter.shown.clear();
    run.prompter.passphraseRequests.clear();
    run.prompter.waits.clear();
    return opened;
}

// ---------------------------------------------------------------------------------------------------------------

void TestShellState::sectionListReadings_data() {
    QTest::addColumn<QString>("list");
    QTest::addColumn<bool>("all");
    QTest::addColumn<bool>("single");
    QTest::addColumn<QList<int>>("sections");
    QTest::addColumn<int>("first");
    QTest::addColumn<QString>("edition");

    const QList<int> every{12, 15, 11, 14, 13, 16, 17};
    QTest::newRow("every section") << "0" << true << false << every << 0 << "";
    QTest::newRow("the product's build") << "17" << false << true << QList<int>{17} << 17 << " Budget";
    QTest::newRow("one section, blanks around") << " 14 " << false << true << QList<int>{14} << 14 << " Memos";
    QTest::newRow("several, bar order") << "17 12 15" << false << false << QList<int>{12, 15, 17} << 17
                                        << " Budget Calendar Tasks";
    QTest::newRow("contacts and diary") << "11 13" << false << false << QList<int>{11, 13} << 11 << " Address Diary";
    // Numbers outside the sections name nothing.
    QTest::newRow("unnamed numbers") << "16 20 21" << false << false << QList<int>{16} << 16 << " Confidential";
}

void TestShellState::sectionListReadings() {
    QFETCH(QString, list);
    QFETCH(bool, all);
    QFETCH(bool, single);
    QFETCH(QList<int>, sections);
    QFETCH(int, first);
    QFETCH(QString, edition);

    const SectionList l(list);
    QCOMPARE(l.all(), all);
    QCOMPARE(l.single(), single);
    QCOMPARE(l.sections(), sections);
    QCOMPARE(l.first(), first);
    QCOMPARE(l.editionTitle(), edition);
    for (const int section : SectionList::BarOrder()) {
        QCOMPARE(l.contains(section), sections.contains(section));
    }
    QVERIFY(!l.contains(0));
}

// ---------------------------------------------------------------------------------------------------------------

void TestShellState::idleTimeFollowsActivityAndFreezing() {
    Run run;
    QCOMPARE(run.shell.IdleMilliseconds(), 0);
    run.now += 4500;
    QCOMPARE(run.shell.IdleMilliseconds(), 4500);
    run.shell.activity();
    run.now += 10;
    QCOMPARE(run.shell.IdleMilliseconds(), 10);

    // While frozen every reading moves the stamp, so the count starts afresh from the last frozen reading.
    run.shell.IdleFrozen = true;
    run.minutes(30);
    QCOMPARE(run.shell.IdleMilliseconds(), 0);
    run.shell.IdleFrozen = false;
    run.now += 700;
    QCOMPARE(run.shell.IdleMilliseconds(), 700);

    // Beyond the 32-bit range the idle time stays at its largest value instead of turning negative.
    run.now += std::int64_t{3} * 1000 * 1000 * 1000;
    QCOMPARE(run.shell.IdleMilliseconds(), std::numeric_limits<std::int32_t>::max());
    // A clock that went back reads as no idle time at all.
    run.shell.activity();
    run.now -= 5000;
    QCOMPARE(run.shell.IdleMilliseconds(), 0);
}

void TestShellState::countdown_data() {
    QTest::addColumn<int>("idleMinutes");
    QTest::addColumn<int>("action");
    QTest::addColumn<int>("idleMs");
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("result");

    const int none = static_cast<int>(ShellState::IdleAction::None);
    QTest::newRow("at rest") << 5 << 0 << 0 << "05:00" << none;
    QTest::newRow("part of a second") << 5 << 1 << 999 << "05:00" << none;
    QTest::newRow("one second") << 5 << 1 << 1000 << "04:59" << none;
    QTest::newRow("minutes and seconds") << 5 << 2 << 61'500 << "03:59" << none;
    QTest::newRow("last second") << 5 << 2 << 299'999 << "00:01" << none;
    QTest::newRow("longest period") << 15 << 2 << 0 << "15:00" << none;
    QTest::newRow("period over") << 1 << 1 << 60'000 << "00:00" << static_cast<int>(ShellState::IdleAction::AutoBlock);
    QTest::newRow("long over") << 1 << 2 << 3'600'000 << "00:00" << static_cast<int>(ShellState::IdleAction::Exit);
    QTest::newRow("unknown action") << 1 << 7 << 60'000 << "00:00" << none;
    // Never: the panel keeps its text, whatever the action.
    QTest::newRow("never, block") << 0 << 1 << 3'600'000 << "" << none;
    QTest::newRow("never, exit") << 0 << 2 << 3'600'000 << "" << none;
}

void TestShellState::countdown() {
    QFETCH(int, idleMinutes);
    QFETCH(int, action);
    QFETCH(int, idleMs);
    QFETCH(QString, text);
    QFETCH(int, result);

    Run run;
    QVERIFY(openFresh(run));
    run.preferences().IdleMinutes = idleMinutes;
    run.preferences().IdleAction = action;
    run.shell.activity();
    run.now += idleMs;
    const ShellState::IdleTick tick = run.shell.timeoutTick();
    QCOMPARE(tick.countdown, text);
    QCOMPARE(static_cast<int>(tick.action), result);
    QVERIFY(run.prompter.shown.isEmpty());
}

void TestShellState::idleHidesPrivateRecordsBeforeTellingSo() {
    Run run;
    QVERIFY(openFresh(run));
    run.preferences().IdleMinutes = 5;
    run.preferences().IdleAction = 0;
    run.session.ShowPrivate = true;
    run.session.store().hidePrivate = false;
    run.shell.activity();

    run.minutes(4);
    QCOMPARE(run.shell.timeoutTick().action, ShellState::IdleAction::None);
    QVERIFY(run.session.ShowPrivate);

    run.minutes(1);
    const ShellState::IdleTick tick = run.shell.timeoutTick();
    QCOMPARE(tick.action, ShellState::IdleAction::HidePrivate);
    QVERIFY(!run.session.ShowPrivate);
    QVERIFY(run.session.store().hidePrivate);
    QVERIFY(run.shell.IdleFrozen);
    QCOMPARE(run.prompter.numbers(), QList<int>{190});
    QCOMPARE(run.prompter.shown.first().text, MsgText(190));
    // The screen was safe before the box waited for anyone.
    QCOMPARE(run.frame.hideShowAfterBoxes, QList<int>{0});

    // Frozen from now on: the panel stands still at the full period and nothing more happens.
    run.minutes(60);
    const ShellState::IdleTick rest = run.shell.timeoutTick();
    QCOMPARE(rest.countdown, QStringLiteral("05:00"));
    QCOMPARE(rest.action, ShellState::IdleAction::None);
    QCOMPARE(run.prompter.shown.size(), 1);
}

void TestShellState::idleWithNothingToHideFreezesQuietly() {
    Run run;
    QVERIFY(openFresh(run));
    run.preferences().IdleAction = 0;
    QVERIFY(!run.session.ShowPrivate);
    run.shell.activity();
    run.minutes(run.preferences().IdleMinutes);
    QCOMPARE(run.shell.timeoutTick().action, ShellState::IdleAction::HidePrivate);
    QVERIFY(run.shell.IdleFrozen);
    QVERIFY(run.prompter.shown.isEmpty());
    QVERIFY(run.frame.hideShowAfterBoxes.isEmpty());
    run.minutes(10);
    QCOMPARE(run.shell.timeoutTick().countdown, QStringLiteral("05:00"));
}

void TestShellState::idleBlocksOrExits_data() {
    QTest::addColumn<int>("action");
    QTest::addColumn<ShellState::IdleAction>("result");
    QTest::addColumn<bool>("frozen");
    QTest::newRow("auto-block") << 1 << ShellState::IdleAction::AutoBlock << true;
    QTest::newRow("exit") << 2 << ShellState::IdleAction::Exit << false;
}

void TestShellState::idleBlocksOrExits() {
    QFETCH(int, action);
    QFETCH(ShellState::IdleAction, result);
    QFETCH(bool, frozen);

    Run run;
    QVERIFY(openFresh(run));
    run.preferences().IdleMinutes = 2;
    run.preferences().IdleAction = action;
    run.session.ShowPrivate = true;
    run.shell.activity();
    run.minutes(2);
    QCOMPARE(run.shell.timeoutTick().action, result);
    QCOMPARE(run.shell.IdleFrozen, frozen);
    // The frame carries these out; the private switch is not this action's business.
    QVERIFY(run.session.ShowPrivate);
    QVERIFY(run.prompter.shown.isEmpty());
    QVERIFY(!run.shell.AutoBlocked);
}

// ---------------------------------------------------------------------------------------------------------------

void TestShellState::privateSwitchNeedsThePassphraseOnlyToShow() {
    Run run;
    QVERIFY(openFresh(run));
    run.preferences().IdleAction = 0;
    QVERIFY(!run.session.ShowPrivate);

    // A wrong passphrase leaves everything hidden, and the frame still refreshes.
    run.prompter.passphrases.enqueue(QStringLiteral("not the one"));
    run.shell.switchPrivate();
    QVERIFY(!run.session.ShowPrivate);
    QVERIFY(run.session.store().hidePrivate);
    QCOMPARE(run.prompter.numbers(), QList<int>{85});
    QCOMPARE(run.prompter.waits.size(), 1);
    QCOMPARE(run.frame.hideShowAfterBoxes.size(), 1);
    QVERIFY(run.shell.IdleFrozen); // nothing to hide, so the count rests

    // A cancelled dialog: still hidden.
    run.shell.switchPrivate();
    QVERIFY(!run.session.ShowPrivate);
    QCOMPARE(run.prompter.passphraseRequests.size(), 2);

    run.prompter.passphrases.enqueue(kPassphrase);
    run.shell.switchPrivate();
    QVERIFY(run.session.ShowPrivate);
    QVERIFY(!run.session.store().hidePrivate);
    QVERIFY(!run.shell.IdleFrozen);
    QCOMPARE(run.prompter.passphraseRequests.size(), 3);
    QCOMPARE(run.prompter.passphraseRequests.last().prompt, MsgText(159));

    // Hiding asks nothing.
    run.shell.switchPrivate();
    QVERIFY(!run.session.ShowPrivate);
    QVERIFY(run.session.store().hidePrivate);
    QCOMPARE(run.prompter.passphraseRequests.size(), 3);
    QCOMPARE(run.frame.hideShowAfterBoxes.size(), 4);

    // With another idle action the count always runs.
    run.preferences().IdleAction = 1;
    run.shell.hideShow();
    QVERIFY(!run.shell.IdleFrozen);
}

void TestShellState::pinIsAskedOnceOrEveryTime() {
    Run run;
    UserOptions& options = run.session.store().user.options;
    options.PinCode = QStringLiteral("4711");

    // Entered before the PIN was set: it counts as passed for this session.
    QCOMPARE(run.shell.enterSection(kSectionMemos), kSectionMemos);
    options.PinMask = static_cast<std::int32_t>(kMemoBit);
    QCOMPARE(run.shell.enterSection(kSectionMemos), kSectionMemos);
    QVERIFY(run.prompter.passphraseRequests.isEmpty());

    // Once a session.
    run.shell.PinPassedMask = 0;
    run.prompter.passphrases.enqueue(QStringLiteral("4711"));
    QCOMPARE(run.shell.enterSection(kSectionMemos), kSectionMemos);
    QCOMPARE(run.shell.CurrentSection, kSectionMemos);
    QCOMPARE(run.prompter.passphraseRequests.size(), 1);
    const Prompter::PassphraseRequest request = run.prompter.passphraseRequests.first();
    QCOMPARE(request.prompt, MsgText(126));
    QVERIFY(!request.checkLength);
    QVERIFY(!request.confirmWanted);
    QVERIFY(request.fileName.isEmpty());
    QCOMPARE(run.shell.enterSection(0), 0);
    QCOMPARE(run.shell.enterSection(kSectionMemos), kSectionMemos);
    QCOMPARE(run.prompter.passphraseRequests.size(), 1);
    // Other sections are not behind this PIN, nor is Budget behind any.
    options.PinMask |= 1 << 6;
    QCOMPARE(run.shell.enterSection(15), 15);
    QCOMPARE(run.shell.enterSection(17), 17);
    QCOMPARE(run.prompter.passphraseRequests.size(), 1);

    // Every access.
    options.PinEveryAccess = true;
    run.prompter.passphrases.enqueue(QStringLiteral("4711"));
    run.prompter.passphrases.enqueue(QStringLiteral("4711"));
    QCOMPARE(run.shell.enterSection(kSectionMemos), kSectionMemos);
    QCOMPARE(run.shell.enterSection(kSectionMemos), kSectionMemos);
    QCOMPARE(run.prompter.passphraseRequests.size(), 3);
    QVERIFY(run.prompter.shown.isEmpty());
}

void TestShellState::wrongOrCancelledPinLeadsToTheStartScreen() {
    Run run;
    UserOptions& options = run.session.store().user.options;
    options.PinCode = QStringLiteral("4711");
    options.PinMask = static_cast<std::int32_t>(kMemoBit);

    run.prompter.passphrases.enqueue(QStringLiteral("4712"));
    QCOMPARE(run.shell.CheckPIN(), 2);
    QCOMPARE(run.prompter.numbers(), QList<int>{125});
    run.prompter.passphrases.enqueue(QStringLiteral("4711"));
    QCOMPARE(run.shell.CheckPIN(), 1);
    QCOMPARE(run.shell.CheckPIN(), 3);
    QCOMPARE(run.prompter.numbers(), QList<int>{125});
    run.prompter.shown.clear();

    run.shell.CurrentSection = 15;
    run.prompter.passphrases.enqueue(QStringLiteral("1147"));
    QCOMPARE(run.shell.enterSection(kSectionMemos), 0);
    QCOMPARE(run.shell.CurrentSection, 0);
    QCOMPARE(run.prompter.numbers(), QList<int>{125});
    QCOMPARE(run.shell.PinPassedMask & kMemoBit, 0u);

    // A cancel goes the same way without a word.
    run.shell.CurrentSection = 15;
    QCOMPARE(run.shell.enterSection(kSectionMemos), 0);
    QCOMPARE(run.shell.CurrentSection, 0);
    QCOMPARE(run.prompter.numbers(), QList<int>{125});
    QCOMPARE(run.shell.PinPassedMask & kMemoBit, 0u);

    // Failed attempts do not count as passed: the PIN is asked again.
    run.prompter.passphrases.enqueue(QStringLiteral("4711"));
    QCOMPARE(run.shell.enterSection(kSectionMemos), kSectionMemos);
    QCOMPARE(run.prompter.passphraseRequests.size(), 6);
}

void TestShellState::diaryIsRefusedWhilePrivateRecordsAreHidden() {
    Run run;
    run.shell.CurrentSection = 12;
    run.session.ShowPrivate = false;
    QCOMPARE(run.session.store().user.level, 0);
    QCOMPARE(run.shell.enterSection(13), 0);
    QCOMPARE(run.shell.CurrentSection, 0);
    QCOMPARE(run.prompter.numbers(), QList<int>{143});
    QCOMPARE(run.prompter.shown.first().text, MsgText(143));

    // Only the administrator is told why.
    run.session.store().user.level = 1;
    QCOMPARE(run.shell.enterSection(13), 0);
    QCOMPARE(run.prompter.shown.size(), 1);

    run.session.ShowPrivate = true;
    QCOMPARE(run.shell.enterSection(13), 13);
    QCOMPARE(run.shell.CurrentSection, 13);
    QCOMPARE(run.prompter.shown.size(), 1);
}

void TestShellState::autoBlockAsksThePassphraseAtTheNextEntry() {
    Run run;
    QVERIFY(openFresh(run));
    run.preferences().IdleAction = 1;
    run.shell.CurrentSection = 0;
    run.shell.activity();
    run.minutes(run.preferences().IdleMinutes);
    QCOMPARE(run.shell.timeoutTick().action, ShellState::IdleAction::AutoBlock);
    run.shell.blocked();
    QVERIFY(run.shell.AutoBlocked);
    QVERIFY(run.shell.IdleFrozen);
    // The block does not fire again while it stands.
    run.minutes(60);
    QCOMPARE(run.shell.timeoutTick().action, ShellState::IdleAction::None);

    // Cancelled and wrong: the entry stops with everything as it was.
    QCOMPARE(run.shell.enterSection(17), -1);
    run.prompter.passphrases.enqueue(QStringLiteral("wrong passphrase"));
    QCOMPARE(run.shell.enterSection(17), -1);
    QVERIFY(run.shell.AutoBlocked);
    QVERIFY(run.shell.IdleFrozen);
    QCOMPARE(run.shell.CurrentSection, 0);
    QCOMPARE(run.prompter.numbers(), QList<int>{85});
    QCOMPARE(run.prompter.passphraseRequests.size(), 2);

    // The watch goes on ticking while the dialog waits; frozen, each tick moves the stamp.
    run.minutes(3);
    QCOMPARE(run.shell.timeoutTick().countdown, QStringLiteral("05:00"));
    run.prompter.passphrases.enqueue(kPassphrase);
    QCOMPARE(run.shell.enterSection(17), 17);
    QVERIFY(!run.shell.AutoBlocked);
    QVERIFY(!run.shell.IdleFrozen);
    QCOMPARE(run.shell.CurrentSection, 17);
    // The count restarts from the entry, not from the last activity.
    QCOMPARE(run.shell.IdleMilliseconds(), 0);
    run.minutes(1);
    QCOMPARE(run.shell.timeoutTick().countdown, QStringLiteral("04:00"));

    // Further entries ask nothing.
    QCOMPARE(run.shell.enterSection(0), 0);
    QCOMPARE(run.prompter.passphraseRequests.size(), 3);

    // A block whose file was closed guards nothing any more.
    run.shell.blocked();
    open_sequence::CloseDatabase(run.session);
    QCOMPARE(run.shell.enterSection(0), 0);
    QVERIFY(!run.shell.AutoBlocked);
    QVERIFY(!run.shell.IdleFrozen);
    QCOMPARE(run.prompter.passphraseRequests.size(), 3);
    QCOMPARE(run.prompter.numbers(), QList<int>{85});
}

// ---------------------------------------------------------------------------------------------------------------

void TestShellState::checkDatabaseFile_data() {
    QTest::addColumn<QString>("kind");
    QTest::addColumn<int>("error");
    QTest::addColumn<QList<int>>("messages");
    QTest::addColumn<bool>("pathKept");

    QTest::newRow("empty path") << "empty" << -1 << QList<int>{} << false;
    QTest::newRow("ours") << "good" << 0 << QList<int>{} << true;
    QTest::newRow("moved away") << "missing" << sqlite::kErrFileNotFound << QList<int>{} << false;
    QTest::newRow("noise, no repair") << "noise" << sqlite::kErrDamaged << QList<int>{46} << false;
    QTest::newRow("empty file, no repair") << "zero" << sqlite::kErrDamaged << QList<int>{46} << false;
}

void TestShellState::checkDatabaseFile() {
    QFETCH(QString, kind);
    QFETCH(int, error);
    QFETCH(QList<int>, messages);
    QFETCH(bool, pathKept);

    Run run;
    QString path;
    if (kind == QLatin1String("good")) {
        path = freshFile(QStringLiteral("check.nct"));
    } else if (kind == QLatin1String("missing")) {
        path = m_dir.filePath(QStringLiteral("gone/away.nct"));
    } else if (kind == QLatin1String("noise")) {
        path = m_dir.filePath(QStringLiteral("noise.nct"));
        QVERIFY(writeFile(path, QByteArray(4096, '\x5a')));
    } else if (kind == QLatin1String("zero")) {
        path = m_dir.filePath(QStringLiteral("zero.nct"));
        QVERIFY(writeFile(path, QByteArray()));
    }
    const QByteArray before = path.isEmpty() ? QByteArray() : readFile(path);
    run.session.DbPath = path;
    QCOMPARE(file_choice::CheckDatabaseFile(run.session), error);
    QCOMPARE(run.prompter.numbers(), messages);
    if (!messages.isEmpty()) {
        QCOMPARE(run.prompter.shown.first().buttons, Prompter::Buttons::YesNo);
        QVERIFY(run.prompter.shown.first().text.startsWith(MsgText(46) + QStringLiteral("\n\n")));
        QVERIFY(run.prompter.shown.first().text.size() > MsgText(46).size() + 2);
    }
    QCOMPARE(run.session.DbPath, pathKept ? path : QString());
    // Declining the repair leaves the file as it was.
    if (!path.isEmpty()) {
        QCOMPARE(readFile(path), before);
    }
}

void TestShellState::damagedFileIsRepairedWhenThePersonAgrees() {
    // A file whose mark was lost: the records are there, but it no longer says it is ours.
    const QString path = freshFile(QStringLiteral("unmarked.nct"));
    {
        sqlite::Connection connection;
        QVERIFY(!connection.open(path, sqlite::Connection::Mode::ReadWrite));
        QVERIFY(!connection.exec("PRAGMA application_id=0"));
    }
    Run run;
    run.session.DbPath = path;
    run.prompter.replies.enqueue(Prompter::Reply::Yes);
    QCOMPARE(file_choice::CheckDatabaseFile(run.session), 0);
    QCOMPARE(run.prompter.numbers(), QList<int>{46});
    QCOMPARE(run.session.DbPath, path);
    QVERIFY(run.prompter.statuses.contains(QStringLiteral("Repairing...")));
    QVERIFY(run.prompter.statuses.last().isEmpty());
    // The repaired file opens with its passphrase.
    run.prompter.passphrases.enqueue(kPassphrase);
    QCOMPARE(open_sequence::OpenDatabaseSequence(run.session), 0);
    QVERIFY(run.session.DbIsOpen);

    // Noise cannot be repaired: the answer stands and the path goes.
    Run noise;
    noise.session.DbPath = m_dir.filePath(QStringLiteral("noise-yes.nct"));
    QVERIFY(writeFile(noise.session.DbPath, QByteArray(8192, '\x33')));
    noise.prompter.replies.enqueue(Prompter::Reply::Yes);
    QCOMPARE(file_choice::CheckDatabaseFile(noise.session), sqlite::kErrDamaged);
    QCOMPARE(noise.prompter.numbers(), QList<int>{46});
    QVERIFY(noise.session.DbPath.isEmpty());
}

void TestShellState::lockedFileKeepsItsPathAndNamesIt() {
    const QString path = freshFile(QStringLiteral("held.nct"));
    db::Database holder;
    QCOMPARE(holder.Open(path).number, 0);

    Run run;
    run.session.DbPath = path;
    QCOMPARE(file_choice::CheckDatabaseFile(run.session), sqlite::kErrLocked);
    QCOMPARE(run.prompter.shown.size(), 1);
    const QString text = run.prompter.shown.first().text;
    // The engine's own words, two line ends and the path; no offer to repair a file someone else holds.
    QVERIFY(text.endsWith(QStringLiteral("\n\n") + path));
    QVERIFY(text.size() > path.size() + 2);
    QVERIFY(!run.prompter.numbers().contains(46));
    QCOMPARE(run.session.DbPath, path);

    holder.Close();
    QCOMPARE(file_choice::CheckDatabaseFile(run.session), 0);
}

void TestShellState::firstRunOfferMakesTheDefaultFile() {
    Run run;
    QVERIFY(file_choice::IsFirstRun(run.session));
    run.session.DbPath = m_dir.filePath(QStringLiteral("somewhere.nct"));
    QVERIFY(!file_choice::IsFirstRun(run.session));
    run.session.DbPath.clear();

    run.prompter.replies.enqueue(Prompter::Reply::Yes);
    run.prompter.passphrases.enqueue(kPassphrase);
    // The save dialog must not come: its answer would lead elsewhere.
    run.prompter.newFile = m_dir.filePath(QStringLiteral("elsewhere.nct"));
    QCOMPARE(file_choice::FirstRunOffer(run.session), 0);

    const QString expected = QDir(file_choice::DefaultFolder()).filePath(QStringLiteral("mydata.nct"));
    QCOMPARE(run.prompter.numbers(), QList<int>{160});
    QCOMPARE(run.prompter.shown.first().buttons, Prompter::Buttons::YesNo);
    QVERIFY(run.session.DbIsOpen);
    QCOMPARE(run.session.DbPath, expected);
    QVERIFY(QFileInfo::exists(expected));
    QVERIFY(!QFileInfo::exists(run.prompter.newFile));
    QVERIFY(!run.session.CreatingDefault);
    // Only the new passphrase was asked, with its confirmation and strength test.
    QCOMPARE(run.prompter.passphraseRequests.size(), 1);
    QVERIFY(run.prompter.passphraseRequests.first().confirmWanted);
    QCOMPARE(run.prompter.passphraseRequests.first().fileName, QStringLiteral("MYDATA.NCT"));
    QCOMPARE(QDir::fromNativeSeparators(RegReadValue(QStringLiteral("MostRecentFiles\\1"))), expected);

    // With the folder in place there is no first run any more.
    open_sequence::CloseDatabase(run.session);
    run.session.DbPath.clear();
    QVERIFY(!file_choice::IsFirstRun(run.session));
}

void TestShellState::firstRunOfferDeclined() {
    Run run;
    QCOMPARE(file_choice::FirstRunOffer(run.session), open_sequence::kDialogCancelled);
    QCOMPARE(run.prompter.numbers(), QList<int>{160});
    QVERIFY(!QFileInfo::exists(file_choice::DefaultFolder()));
    QVERIFY(run.prompter.passphraseRequests.isEmpty());
    QVERIFY(!run.session.DbIsOpen);

    // Yes, then a cancelled passphrase: the folder stays, no file is left behind.
    Run cancelled;
    cancelled.prompter.replies.enqueue(Prompter::Reply::Yes);
    QVERIFY(file_choice::FirstRunOffer(cancelled.session) != 0);
    QVERIFY(QFileInfo(file_choice::DefaultFolder()).isDir());
    QVERIFY(!QFileInfo::exists(QDir(file_choice::DefaultFolder()).filePath(QStringLiteral("mydata.nct"))));
    QVERIFY(!cancelled.session.DbIsOpen);
}

void TestShellState::selectDatabase() {
    Run run;
    run.session.DbPath = m_dir.filePath(QStringLiteral("former.nct"));
    QCOMPARE(file_choice::SelectDatabase(run.session), open_sequence::kDialogCancelled);
    QVERIFY(run.session.DbPath.isEmpty());
    QVERIFY(run.prompter.shown.isEmpty());

    // Not one of ours: the repair is declined, then the dialog's own word.
    run.prompter.openFile = m_dir.filePath(QStringLiteral("letter.txt"));
    QVERIFY(writeFile(run.prompter.openFile, QByteArrayLiteral("Dear friend,\nthis is no database.\n")));
    QCOMPARE(file_choice::SelectDatabase(run.session), sqlite::kErrDamaged);
    QCOMPARE(run.prompter.numbers(), (QList<int>{46, 51}));
    QCOMPARE(run.prompter.shown.last().text, MsgText(51));
    QVERIFY(run.session.DbPath.isEmpty());

    // A usable file: the attempt counter starts again.
    run.session.OpenAttempts = 3;
    run.prompter.openFile = freshFile(QStringLiteral("chosen.nct"));
    QDir::setCurrent(m_dir.path());
    run.prompter.openFile = QStringLiteral("chosen.nct");
    QCOMPARE(file_choice::SelectDatabase(run.session), 0);
    QCOMPARE(run.session.DbPath, QFileInfo(m_dir.filePath(QStringLiteral("chosen.nct"))).absoluteFilePath());
    QCOMPARE(run.session.OpenAttempts, 0);
    QCOMPARE(run.prompter.shown.size(), 2);
}

QTEST_GUILESS_MAIN(TestShellState)
#include "tst_shell_state.moc"

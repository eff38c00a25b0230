#include "shell/file_choice.h"
#include "shell/section_list.h"
#include "shell/section_table.h"
#include "shell/settings.h"
#include "shell/shell_state.h"
#include "support/test_main.h"

#include <limits>

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
    void HideShow() override {}
    void RefreshPrivateViews() override { hideShowAfterBoxes.append(static_cast<int>(m_prompter.shown.size())); }

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

} // namespace

class TestShellState : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() {
        m_template = MadeDatabase(m_dir.filePath(QStringLiteral("template.nct")), kPassphrase);
        QVERIFY(!m_template.isEmpty());
    }

    void init() {
        test_env::ForgetSettings();
        QDir(file_choice::DefaultFolder()).removeRecursively();
    }

    void sectionListReadings_data() {
        QTest::addColumn<QString>("list");
        QTest::addColumn<bool>("single");
        QTest::addColumn<QList<int>>("offered");
        QTest::addColumn<int>("first");
        QTest::addColumn<QString>("edition");

        QTest::newRow("every section") << "0" << false << QList<int>{12, 15, 11, 14, 13, 16, 17} << 0 << "";
        QTest::newRow("the product's build") << "17" << true << QList<int>{17} << 17 << " Budget";
        // Bar order, not the written one; numbers outside the sections name nothing.
        QTest::newRow("several") << "17 12 20 15" << false << QList<int>{12, 15, 17} << 17 << " Budget Calendar Tasks";
    }

    void sectionListReadings() {
        QFETCH(QString, list);
        QFETCH(QList<int>, offered);
        const SectionList l(list);
        QCOMPARE(l.all(), list == QLatin1String("0"));
        QTEST(l.single(), "single");
        QCOMPARE(l.sections(), offered);
        QTEST(l.first(), "first");
        QTEST(l.editionTitle(), "edition");
        for (const SectionInfo& info : sections::Table()) {
            QCOMPARE(l.contains(sections::Number(info.id)), offered.contains(sections::Number(info.id)));
        }
    }

    void idleTimeFollowsActivityAndFreezing() {
        Run run;
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

    void countdown_data() {
        QTest::addColumn<int>("idleMinutes");
        QTest::addColumn<int>("action");
        QTest::addColumn<int>("idleMs");
        QTest::addColumn<QString>("text");
        QTest::addColumn<ShellState::IdleAction>("result");

        const ShellState::IdleAction none = ShellState::IdleAction::None;
        QTest::newRow("part of a second") << 5 << 1 << 999 << "05:00" << none;
        QTest::newRow("minutes and seconds") << 5 << 2 << 61'500 << "03:59" << none;
        QTest::newRow("period over") << 1 << 1 << 60'000 << "00:00" << ShellState::IdleAction::AutoBlock;
        QTest::newRow("long over") << 1 << 2 << 3'600'000 << "00:00" << ShellState::IdleAction::Exit;
        // Never: the panel keeps its text, whatever the action.
        QTest::newRow("never") << 0 << 2 << 3'600'000 << "" << none;
    }

    void countdown() {
        Run run;
        QVERIFY(openFresh(run));
        QFETCH(int, idleMinutes);
        QFETCH(int, action);
        QFETCH(int, idleMs);
        run.preferences().IdleMinutes = idleMinutes;
        run.preferences().IdleAction = action;
        run.shell.activity();
        run.now += idleMs;
        const ShellState::IdleTick tick = run.shell.timeoutTick();
        QTEST(tick.countdown, "text");
        QTEST(tick.action, "result");
        // The frame carries blocks and exits out; the watch itself says nothing.
        QVERIFY(run.prompter.shown.isEmpty());
        QVERIFY(!run.shell.AutoBlocked);
    }

    void idleHidesPrivateRecordsBeforeTellingSo() {
        Run run;
        QVERIFY(openFresh(run));
        run.preferences().IdleMinutes = 5;
        run.preferences().IdleAction = 0;
        run.session.ShowPrivate = true;
        run.shell.activity();

        run.minutes(5);
        QCOMPARE(run.shell.timeoutTick().action, ShellState::IdleAction::HidePrivate);
        run.shell.hidePrivateAfterIdle();
        QVERIFY(!run.session.ShowPrivate);
        QCOMPARE(run.prompter.numbers(), QList<int>{190});
        // The screen was safe before the box waited for anyone.
        QCOMPARE(run.frame.hideShowAfterBoxes, QList<int>{0});

        // Frozen from now on: the panel stands still at the full period and nothing more happens.
        run.minutes(60);
        const ShellState::IdleTick rest = run.shell.timeoutTick();
        QCOMPARE(rest.countdown, QStringLiteral("05:00"));
        QCOMPARE(rest.action, ShellState::IdleAction::None);
        QCOMPARE(run.prompter.shown.size(), 1);
    }

    void pinIsAskedOncePerLoginOrEveryTime() {
        Run run;
        QVERIFY(openFresh(run));
        const QString path = run.session.DbPath;
        const auto pinned = [&run]() -> UserOptions& {
            UserOptions& options = run.session.store().user.options;
            options.PinCode = QStringLiteral("4711");
            options.PinMask = static_cast<std::int32_t>(kMemoBit);
            return options;
        };
        pinned();
        run.prompter.passphrases << QStringLiteral("4711");
        QCOMPARE(run.shell.enterSection(kSectionMemos), kSectionMemos);
        QCOMPARE(run.shell.enterSection(0), 0);
        QCOMPARE(run.shell.enterSection(kSectionMemos), kSectionMemos);
        // Sections outside the mask are not behind the PIN.
        QCOMPARE(run.shell.enterSection(15), 15);
        QCOMPARE(run.prompter.passphraseRequests.size(), 1);
        run.session.store().budgetPinGiven.set(1);

        // The next login asks again, for the sections and for the budgets alike; a cancelled PIN keeps them out.
        open_sequence::CloseDatabase(run.session);
        QCOMPARE(run.session.PinPassedMask, 0u);
        QCOMPARE(OpenDatabase(run.session, run.prompter, path, kPassphrase), 0);
        QVERIFY(run.session.store().budgetPinGiven.none());
        pinned();
        QCOMPARE(run.shell.enterSection(kSectionMemos), 0);
        pinned().PinEveryAccess = true;
        run.prompter.passphrases << QStringLiteral("4711") << QStringLiteral("4711");
        QCOMPARE(run.shell.enterSection(kSectionMemos), kSectionMemos);
        QCOMPARE(run.shell.enterSection(kSectionMemos), kSectionMemos);
        QCOMPARE(run.prompter.passphraseRequests.size(), 1 + 1 + 3);
        QVERIFY(run.prompter.shown.isEmpty());
    }

    void diaryIsRefusedWhilePrivateRecordsAreHidden() {
        Run run;
        run.shell.CurrentSection = 12;
        QCOMPARE(run.shell.enterSection(13), 0);
        QCOMPARE(run.prompter.numbers(), QList<int>{143});

        // Only the administrator is told why.
        run.session.store().user.level = 1;
        QCOMPARE(run.shell.enterSection(13), 0);
        QCOMPARE(run.prompter.shown.size(), 1);

        run.session.ShowPrivate = true;
        QCOMPARE(run.shell.enterSection(13), 13);
    }

    void autoBlockAsksThePassphraseAtTheNextEntry() {
        Run run;
        QVERIFY(openFresh(run));
        run.shell.blocked();
        QVERIFY(run.shell.AutoBlocked);
        // The block does not fire again while it stands.
        run.preferences().IdleAction = 1;
        run.minutes(60);
        QCOMPARE(run.shell.timeoutTick().action, ShellState::IdleAction::None);

        // Cancelled and wrong: the entry stops with everything as it was.
        QCOMPARE(run.shell.enterSection(17), -1);
        run.prompter.passphrases.enqueue(QStringLiteral("wrong passphrase"));
        QCOMPARE(run.shell.enterSection(17), -1);
        QVERIFY(run.shell.AutoBlocked);
        QCOMPARE(run.prompter.numbers(), QList<int>{85});

        run.prompter.passphrases.enqueue(kPassphrase);
        QCOMPARE(run.shell.enterSection(17), 17);
        QVERIFY(!run.shell.AutoBlocked);
        // The count restarts from the entry, not from the last activity.
        QCOMPARE(run.shell.IdleMilliseconds(), 0);
        QCOMPARE(run.shell.enterSection(0), 0);
        QCOMPARE(run.prompter.passphraseRequests.size(), 3);

        // A block whose file was closed guards nothing any more.
        run.shell.blocked();
        open_sequence::CloseDatabase(run.session);
        QCOMPARE(run.shell.enterSection(0), 0);
        QVERIFY(!run.shell.AutoBlocked);
        QCOMPARE(run.prompter.passphraseRequests.size(), 3);
    }

    void checkDatabaseFile_data() {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<int>("error");
        QTest::addColumn<QList<int>>("messages");

        QTest::newRow("empty path") << "" << -1 << QList<int>{};
        QTest::newRow("ours") << "good" << 0 << QList<int>{};
        QTest::newRow("moved away") << "missing" << sqlite::kErrFileNotFound << QList<int>{};
        QTest::newRow("noise, no repair") << "noise" << sqlite::kErrDamaged << QList<int>{46};
        QTest::newRow("unmarked, repaired") << "unmarked" << 0 << QList<int>{46};
    }

    void checkDatabaseFile() {
        QFETCH(QString, kind);
        QFETCH(int, error);
        Run run;
        QString path;
        if (kind == QLatin1String("good")) {
            path = freshFile(QStringLiteral("check.nct"));
        } else if (kind == QLatin1String("missing")) {
            path = m_dir.filePath(QStringLiteral("gone/away.nct"));
        } else if (kind == QLatin1String("noise")) {
            path = m_dir.filePath(QStringLiteral("noise.nct"));
            QVERIFY(WriteFile(path, QByteArray(4096, '\x5a')));
        } else if (kind == QLatin1String("unmarked")) {
            // The records are there, but the file no longer says it is ours; the person agrees to the repair.
            path = freshFile(QStringLiteral("unmarked.nct"));
            QVERIFY(ExecOn(path, QStringLiteral("PRAGMA application_id=0")));
            run.prompter.replies << Prompter::Reply::Yes;
        }
        run.session.DbPath = path;
        QCOMPARE(file_choice::CheckDatabaseFile(run.session), error);
        QTEST(run.prompter.numbers(), "messages");
        // Only a file that can be used keeps its place as the one to open, and opens.
        QCOMPARE(run.session.DbPath, error == 0 ? path : QString());
        run.prompter.passphrases << kPassphrase;
        QVERIFY(error != 0 || open_sequence::OpenDatabaseSequence(run.session) == 0);
    }

    void firstRunOfferMakesTheDefaultFile() {
        Run run;
        QVERIFY(file_choice::IsFirstRun(run.session));
        run.prompter.replies.enqueue(Prompter::Reply::Yes);
        run.prompter.passphrases.enqueue(kPassphrase);
        // The save dialog must not come: its answer would lead elsewhere.
        run.prompter.newFile = m_dir.filePath(QStringLiteral("elsewhere.nct"));
        QCOMPARE(file_choice::FirstRunOffer(run.session), 0);

        const QString expected = QDir(file_choice::DefaultFolder()).filePath(QStringLiteral("mydata.nct"));
        QCOMPARE(run.prompter.numbers(), QList<int>{160});
        QCOMPARE(run.session.DbPath, expected);
        QVERIFY(!QFileInfo::exists(run.prompter.newFile));
        QCOMPARE(run.prompter.passphraseRequests.size(), 1);
        QCOMPARE(QDir::fromNativeSeparators(RegReadValue(QStringLiteral("MostRecentFiles\\1"))), expected);

        // With the folder in place there is no first run any more.
        open_sequence::CloseDatabase(run.session);
        run.session.DbPath.clear();
        QVERIFY(!file_choice::IsFirstRun(run.session));
    }

    void firstRunOfferDeclined() {
        Run run;
        QCOMPARE(file_choice::FirstRunOffer(run.session), open_sequence::kDialogCancelled);
        QVERIFY(!QFileInfo::exists(file_choice::DefaultFolder()));
        QVERIFY(run.prompter.passphraseRequests.isEmpty());

        // Yes, then a cancelled passphrase: no file is left behind.
        Run cancelled;
        cancelled.prompter.replies.enqueue(Prompter::Reply::Yes);
        QVERIFY(file_choice::FirstRunOffer(cancelled.session) != 0);
        QVERIFY(!QFileInfo::exists(QDir(file_choice::DefaultFolder()).filePath(QStringLiteral("mydata.nct"))));
        QVERIFY(!cancelled.session.DbIsOpen);
    }

private:
    // A file of ours with the test passphrase, made once and copied for each test.
    QString freshFile(const QString& name) { return CopyWritable(m_template, m_dir.filePath(name)); }
    bool openFresh(Run& run) {
        const bool opened =
            OpenDatabase(run.session, run.prompter, freshFile(QStringLiteral("open.nct")), kPassphrase) == 0 &&
            run.session.DbIsOpen;
        run.prompter.forget();
        return opened;
    }

    QTemporaryDir m_dir;
    QString m_template;
};

NCT_TEST_MAIN(TestShellState)
#include "tst_shell_state.moc"

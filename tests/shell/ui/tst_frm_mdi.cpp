#include "shell/ui/frm_mdi.h"

#include "shell/catalogue/messages.h"
#include "shell/file_choice.h"
#include "shell/open_sequence.h"
#include "shell/session.h"
#include "shell/settings.h"
#include "shell/ui/frm_splash.h"
#include "support/scripted_prompter.h"
#include "support/test_databases.h"

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QImage>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMimeData>
#include <QPointer>
#include <QPushButton>
#include <QSettings>
#include <QStandardPaths>
#include <QToolBar>
#include <QtTest>

#include <memory>

namespace {

const QString kPassphrase = QStringLiteral("night owl 42");
constexpr int kMemos = 14;

QSettings Settings() {
    return QSettings(QStringLiteral("Marrowline"), QStringLiteral("Noctaria"));
}

// One frame with its own session and prompter, on a clock the test moves.
struct Fixture {
    ScriptedPrompter prompter;
    Session session{prompter};
    std::int64_t now = 0;
    std::unique_ptr<frmMDI> frame;

    Fixture(const QString& list, const QString& lockPath) {
        frmMDI::Options options;
        options.sectionList = list;
        options.clock = [this] { return now; };
        options.instanceLockPath = lockPath;
        frame = std::make_unique<frmMDI>(session, prompter, options);
        session.setFrame(frame.get());
    }
    ~Fixture() {
        session.setFrame(nullptr);
        frame.reset();
    }

    template <typename T> T* find(const QString& name) const { return frame->findChild<T*>(name); }
    QAction* action(const QString& name) const { return find<QAction>(name); }
    bool enabled(const QString& name) const { return action(name)->isEnabled(); }
    bool menuShown(const QString& name) const { return find<QMenu>(name)->menuAction()->isVisible(); }
    QString splashText(const QString& label) const { return frame->splash()->findChild<QLabel*>(label)->text(); }
    QString countdown() const { return find<QLabel>(QStringLiteral("autoshutoff"))->text(); }
    QString formName() const {
        return frame->activeSectionForm() != nullptr ? frame->activeSectionForm()->objectName() : QString();
    }
    Preferences& preferences() { return session.store().preferences; }
    void minutes(int m) { now += static_cast<std::int64_t>(m) * 60'000; }
    // One beat of the idle watch, as the timer gives it.
    bool tick() { return QMetaObject::invokeMethod(&frame->timerTimeout, "timeout"); }
    // Stands in for the commands the sections put into their menus; an empty menu stays out of sight.
    void fillSectionMenus() const {
        for (const char* name : {"mnuAddress", "mnuCalendar", "mnuMemo", "mnuTodo", "mnuBudget"}) {
            find<QMenu>(QLatin1String(name))->addAction(QStringLiteral("Command"));
        }
    }
    void forget() {
        prompter.shown.clear();
        prompter.passphraseRequests.clear();
    }
};

// Presses buttons of the modal dialogs as they come, in order; past the list it presses Cancel, so that an
// unexpected dialog cannot hang the test.
class ModalAnswers : public QObject {
public:
    explicit ModalAnswers(QStringList buttons)
        : m_buttons(std::move(buttons)) {
        connect(&m_poll, &QTimer::timeout, this, &ModalAnswers::poll);
        m_poll.start(10);
    }
    QStringList pressed; // dialog name and button, for each press

private:
    void poll() {
        QWidget* modal = QApplication::activeModalWidget();
        if (modal == nullptr || !modal->isVisible() || modal == m_last) {
            return;
        }
        const QString name = m_buttons.isEmpty() ? QStringLiteral("cmdCancel") : m_buttons.takeFirst();
        if (auto* button = modal->findChild<QPushButton*>(name)) {
            m_last = modal;
            pressed.append(modal->objectName() + u'.' + name);
            button->click();
        }
    }
    QStringList m_buttons;
    QTimer m_poll;
    QPointer<QWidget> m_last;
};

// The frame's way out ends the application's event loop; the test run goes on, so the loop is made usable again.
void reviveEventLoop() {
    QTimer::singleShot(0, qApp, [] { QCoreApplication::exit(0); });
    QCoreApplication::exec();
}

QList<int> sectionsOnTheBar(const Fixture& f) {
    QList<int> result;
    for (const int section : {12, 15, 11, 14, 13, 16, 17, 0}) {
        if (f.action(QStringLiteral("op%1").arg(section, 2, 10, QLatin1Char('0')))->isVisible()) {
            result.append(section);
        }
    }
    return result;
}

} // namespace

class TestFrmMdi : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void firstRunMakesTheDefaultFile();
    void firstRunDeclinedEndsAtTheMenu();
    void movedFileWithTheFolderPresentGoesToTheMenu();
    void threeWrongPassphrasesEndTheProgram();
    void cancelledPassphraseLeavesTheFrameWithoutAFile();
    void secondInstanceIsRefused();

    void sectionBarFollowsTheSectionList_data();
    void sectionBarFollowsTheSectionList();
    void singleSectionBuildOpensItsSectionAfterTheSplash();
    void sectionSwitchBuildsANewFormEachTime();

    void idleHidesPrivateRecords();
    void idleAutoBlocks();
    void autoBlockEndsWithItsFile();
    void idleExits();
    void privateSwitchAndTheDiary();
    void pinOnceOrEveryAccess();
    void cancelledOrWrongPinGoesToTheStartScreen();

    void copyCutPasteAndTheClipboardTimer();
    void wipeClipboardLeavesOtherContent();

    void closeDatabaseDisablesItsCommands();
    void shutDownClosesAndRemembersThePlace();

private:
    QString freshFile(const QString& name);
    QString lockPath();
    // A frame loaded with a copy of the prepared file, opened with the right passphrase.
    std::unique_ptr<Fixture> started(const QString& list);

    QTemporaryDir m_dir;
    QString m_template;
    int m_locks = 0;
};

void TestFrmMdi::initTestCase() {
    QVERIFY(m_dir.isValid());
    QStandardPaths::setTestModeEnabled(true);
    // The documents folder follows the home folder; the first-run tests must never touch the real one.
    const QString home = m_dir.filePath(QStringLiteral("home"));
    QVERIFY(QDir().mkpath(home));
    qputenv("HOME", QFile::encodeName(home));
    QVERIFY(file_choice::DefaultFolder().startsWith(home + u'/'));
    RedirectSettings(m_dir.filePath(QStringLiteral("settings")));

    TestSession maker;
    m_template = m_dir.filePath(QStringLiteral("template.nct"));
    QCOMPARE(CreateDatabase(maker, m_template, kPassphrase), 0);
    open_sequence::CloseDatabase(maker.session);
}

void TestFrmMdi::init() {
    QSettings settings = Settings();
    settings.clear();
    settings.setValue(QStringLiteral("Startup/ShowTipsAtStartup"), QStringLiteral("0"));
    QDir(QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation)).removeRecursively();
    QGuiApplication::clipboard()->clear();
}

void TestFrmMdi::cleanup() {
    reviveEventLoop();
}

QString TestFrmMdi::freshFile(const QString& name) {
    return CopyWritable(m_template, m_dir.filePath(name));
}

QString TestFrmMdi::lockPath() {
    return m_dir.filePath(QStringLiteral("instance-%1.lock").arg(++m_locks));
}

std::unique_ptr<Fixture> TestFrmMdi::started(const QString& list) {
    Settings().setValue(QStringLiteral("MostRecentFiles/1"), freshFile(QStringLiteral("last.nct")));
    auto f = std::make_unique<Fixture>(list, lockPath());
    f->prompter.passphrases.enqueue(kPassphrase);
    if (!f->frame->Load() || !f->session.DbIsOpen) {
        return nullptr;
    }
    f->forget();
    return f;
}

// ---------------------------------------------------------------------------------------------------------------

void TestFrmMdi::firstRunMakesTheDefaultFile() {
    Fixture f(QStringLiteral("17"), lockPath());
    f.prompter.replies.enqueue(Prompter::Reply::Yes);
    f.prompter.passphrases.enqueue(kPassphrase);
    QVERIFY(f.frame->Load());
    QVERIFY(!f.frame->isShutDown());

    const QString expected = QDir(file_choice::DefaultFolder()).filePath(QStringLiteral("mydata.nct"));
    QCOMPARE(f.prompter.numbers(), QList<int>{160});
    QVERIFY(f.session.DbIsOpen);
    QCOMPARE(f.session.DbPath, expected);
    QVERIFY(QFileInfo::exists(expected));
    // Only the new passphrase was asked.
    QCOMPARE(f.prompter.passphraseRequests.size(), 1);
    QVERIFY(f.prompter.passphraseRequests.first().confirmWanted);
    // Open on the start screen, which names the file.
    QVERIFY(f.frame->isVisible());
    QVERIFY(f.frame->activeSectionForm() == nullptr);
    QCOMPARE(f.splashText(QStringLiteral("lblFile")), QStringLiteral("mydata.nct"));
    QCOMPARE(f.splashText(QStringLiteral("lblFolder")), QDir::toNativeSeparators(file_choice::DefaultFolder()));
    QVERIFY(f.enabled(QStringLiteral("mnuToolsBackup")));
    QCOMPARE(Settings().value(QStringLiteral("MostRecentFiles/1")).toString(), QDir::toNativeSeparators(expected));
}

void TestFrmMdi::firstRunDeclinedEndsAtTheMenu() {
    Fixture f(QStringLiteral("17"), lockPath());
    ModalAnswers answers({QStringLiteral("cmdCancel")});
    f.frame->Load();
    QCOMPARE(f.prompter.numbers(), QList<int>{160});
    QCOMPARE(answers.pressed, QStringList{QStringLiteral("frmMenuDB.cmdCancel")});
    QVERIFY(f.prompter.passphraseRequests.isEmpty());
    QVERIFY(!QFileInfo::exists(file_choice::DefaultFolder()));
    // Leaving the menu with no file open ends the program.
    QVERIFY(f.frame->isShutDown());
    QVERIFY(!f.frame->isVisible());
}

void TestFrmMdi::movedFileWithTheFolderPresentGoesToTheMenu() {
    QVERIFY(QDir().mkpath(file_choice::DefaultFolder()));
    Settings().setValue(QStringLiteral("MostRecentFiles/1"), m_dir.filePath(QStringLiteral("moved/away.nct")));
    const QString created = m_dir.filePath(QStringLiteral("made-from-menu.nct"));
    QFile::remove(created);

    Fixture f(QStringLiteral("17"), lockPath());
    f.prompter.newFile = created;
    f.prompter.passphrases.enqueue(kPassphrase);
    ModalAnswers answers({QStringLiteral("cmdNewDB")});
    QVERIFY(f.frame->Load());
    // No first-run offer, no word about the moved file: the menu, and a new file from it.
    QCOMPARE(answers.pressed, QStringList{QStringLiteral("frmMenuDB.cmdNewDB")});
    QVERIFY(f.prompter.shown.isEmpty());
    QVERIFY(f.session.DbIsOpen);
    QCOMPARE(f.session.DbPath, created);
    QCOMPARE(f.splashText(QStringLiteral("lblFile")), QStringLiteral("made-from-menu.nct"));
    QVERIFY(!f.frame->isShutDown());
}

void TestFrmMdi::threeWrongPassphrasesEndTheProgram() {
    Settings().setValue(QStringLiteral("MostRecentFiles/1"), freshFile(QStringLiteral("last.nct")));
    Fixture f(QStringLiteral("17"), lockPath());
    for (int i = 0; i < 3; ++i) {
        f.prompter.passphrases.enqueue(QStringLiteral("wrong guess %1").arg(i));
    }
    f.prompter.replies.enqueue(Prompter::Reply::Retry);
    f.prompter.replies.enqueue(Prompter::Reply::Retry);
    f.frame->Load();
    QCOMPARE(f.prompter.passphraseRequests.size(), 3);
    QCOMPARE(f.prompter.numbers(), (QList<int>{85, 85, 85}));
    QVERIFY(f.frame->isShutDown());
    QVERIFY(!f.frame->isVisible());
    QVERIFY(!f.session.DbIsOpen);
    QVERIFY(!f.session.store().cry.hasKeyPool());
}

void TestFrmMdi::cancelledPassphraseLeavesTheFrameWithoutAFile() {
    const QString last = freshFile(QStringLiteral("last.nct"));
    Settings().setValue(QStringLiteral("MostRecentFiles/1"), last);
    Fixture f(QStringLiteral("17"), lockPath());
    ModalAnswers answers({});
    QVERIFY(f.frame->Load());
    QCOMPARE(f.prompter.passphraseRequests.size(), 1);
    QCOMPARE(f.prompter.passphraseRequests.first().fileName, QStringLiteral("LAST.NCT"));
    QCOMPARE(f.prompter.numbers(), QList<int>{97});
    QVERIFY(answers.pressed.isEmpty());
    QVERIFY(!f.frame->isShutDown());
    QVERIFY(f.frame->isVisible());
    QVERIFY(!f.session.DbIsOpen);
    QCOMPARE(f.session.DbPath, last);
    QCOMPARE(f.splashText(QStringLiteral("lblFile")), QStringLiteral("No database open"));
    QVERIFY(!f.enabled(QStringLiteral("mnuToolsBackup")));
    QVERIFY(!f.find<QToolBar>(QStringLiteral("optSection"))->isEnabled());
    // The splash timer finds no file to open a section of.
    QTRY_VERIFY_WITH_TIMEOUT(!f.frame->timerSplash.isActive(), 5000);
    QVERIFY(f.frame->activeSectionForm() == nullptr);
}

void TestFrmMdi::secondInstanceIsRefused() {
    const QString shared = lockPath();
    Settings().setValue(QStringLiteral("MostRecentFiles/1"), freshFile(QStringLiteral("last.nct")));
    Fixture first(QStringLiteral("17"), shared);
    first.prompter.passphrases.enqueue(kPassphrase);
    QVERIFY(first.frame->Load());
    QVERIFY(first.session.DbIsOpen);

    Fixture second(QStringLiteral("17"), shared);
    second.prompter.passphrases.enqueue(kPassphrase);
    QVERIFY(!second.frame->Load());
    QCOMPARE(second.prompter.numbers(), QList<int>{135});
    QVERIFY(second.prompter.passphraseRequests.isEmpty());
    QVERIFY(!second.session.DbIsOpen);
    QVERIFY(!second.frame->isVisible());
    // The first one goes on undisturbed.
    QVERIFY(first.session.DbIsOpen);
    QVERIFY(first.frame->isVisible());
}

// ---------------------------------------------------------------------------------------------------------------

void TestFrmMdi::sectionBarFollowsTheSectionList_data() {
    QTest::addColumn<QString>("list");
    QTest::addColumn<bool>("barShown");
    QTest::addColumn<QList<int>>("buttons");
    QTest::addColumn<int>("minWidth");
    QTest::addColumn<bool>("splashTimer");
    QTest::addColumn<QList<int>>("viewEntries");

    QTest::newRow("every section") << "0" << true << QList<int>{12, 15, 11, 14, 13, 16, 17} << 820 << false
                                   << QList<int>{0, 1, 2, 3, 4, 5, 6, 7};
    QTest::newRow("several") << "12 15 17" << true << QList<int>{12, 15, 17} << 820 << false << QList<int>{0, 1, 2, 7};
    QTest::newRow("one") << "17" << false << QList<int>{} << 745 << true << QList<int>{0, 7};
}

void TestFrmMdi::sectionBarFollowsTheSectionList() {
    QFETCH(QString, list);
    QFETCH(bool, barShown);
    QFETCH(QList<int>, buttons);
    QFETCH(int, minWidth);
    QFETCH(bool, splashTimer);
    QFETCH(QList<int>, viewEntries);

    std::unique_ptr<Fixture> f = started(list);
    QVERIFY(f);
    auto* bar = f->find<QToolBar>(QStringLiteral("optSection"));
    QCOMPARE(bar->isVisible(), barShown);
    QCOMPARE(sectionsOnTheBar(*f), buttons);
    QCOMPARE(f->frame->minimumWidth(), minWidth);
    QCOMPARE(f->frame->minimumHeight(), 588);
    // The pictures of both bars are built into the program.
    for (const QString& name : {QStringLiteral("op17"), QStringLiteral("Reset"), QStringLiteral("Lock")}) {
        QVERIFY2(!f->action(name)->icon().pixmap(24).isNull(), qPrintable(name));
    }
    QCOMPARE(f->frame->timerSplash.isActive(), splashTimer);
    QList<int> entries;
    for (int i = 0; i < 8; ++i) {
        if (f->action(QStringLiteral("mnuViewSection_%1").arg(i))->isVisible()) {
            entries.append(i);
        }
    }
    QCOMPARE(entries, viewEntries);
    if (!splashTimer) {
        // With the start screen as the start mode the bar is usable at once, and no section opens.
        QVERIFY(bar->isEnabled());
        QVERIFY(f->find<QToolBar>(QStringLiteral("Toolbar1"))->isEnabled());
        QCOMPARE(f->frame->timerSplash.interval(), 100);
        QTest::qWait(200);
        QVERIFY(f->frame->activeSectionForm() == nullptr);
        QCOMPARE(f->frame->shell().CurrentSection, 0);
    }
}

void TestFrmMdi::singleSectionBuildOpensItsSectionAfterTheSplash() {
    std::unique_ptr<Fixture> f = started(QStringLiteral("17"));
    QVERIFY(f);
    f->fillSectionMenus();
    // The start screen stays in view first, with the bars held.
    QVERIFY(f->frame->timerSplash.isActive());
    QVERIFY(f->frame->timerSplash.isSingleShot());
    QCOMPARE(f->frame->timerSplash.interval(), 1300);
    QVERIFY(f->frame->activeSectionForm() == nullptr);
    QVERIFY(!f->find<QToolBar>(QStringLiteral("Toolbar1"))->isEnabled());
    QCOMPARE(f->splashText(QStringLiteral("lblFile")), QStringLiteral("last.nct"));
    QCOMPARE(f->splashText(QStringLiteral("lblEdition")), QStringLiteral("Budget"));

    QTRY_VERIFY_WITH_TIMEOUT(!f->frame->timerSplash.isActive(), 5000);
    QCOMPARE(f->formName(), QStringLiteral("frmBudget"));
    QCOMPARE(f->frame->shell().CurrentSection, 17);
    QVERIFY(f->menuShown(QStringLiteral("mnuBudget")));
    QVERIFY(f->find<QToolBar>(QStringLiteral("Toolbar1"))->isEnabled());
    QVERIFY(f->enabled(QStringLiteral("mnuToolsBackup")));
    QVERIFY(f->prompter.shown.isEmpty());
}

void TestFrmMdi::sectionSwitchBuildsANewFormEachTime() {
    std::unique_ptr<Fixture> f = started(QStringLiteral("0"));
    QVERIFY(f);
    f->session.ShowPrivate = true; // the Diary needs it
    f->fillSectionMenus();
    const QStringList menus{QStringLiteral("mnuAddress"), QStringLiteral("mnuCalendar"), QStringLiteral("mnuMemo"),
                            QStringLiteral("mnuTodo"), QStringLiteral("mnuBudget")};
    const QList<std::pair<int, QString>> steps{
        {12, QStringLiteral("frmCalendar")},   {15, QStringLiteral("frmTodo")},    {15, QStringLiteral("frmTodo")},
        {11, QStringLiteral("frmAddress")},    {14, QStringLiteral("frmNotepad")}, {13, QStringLiteral("frmDiary")},
        {16, QStringLiteral("frmClassified")}, {17, QStringLiteral("frmBudget")}};
    const std::map<int, QString> menuOf{{11, QStringLiteral("mnuAddress")},
                                        {12, QStringLiteral("mnuCalendar")},
                                        {14, QStringLiteral("mnuMemo")},
                                        {15, QStringLiteral("mnuTodo")},
                                        {17, QStringLiteral("mnuBudget")}};
    QPointer<QWidget> former;
    for (const auto& [section, form] : steps) {
        f->frame->GotoSection(section);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QCOMPARE(f->formName(), form);
        QCOMPARE(f->frame->shell().CurrentSection, section);
        QVERIFY(f->frame->activeSectionForm()->isVisible());
        QVERIFY(f->action(QStringLiteral("op%1").arg(section))->isChecked());
        // Every entry builds the form anew; the one before is gone.
        QVERIFY(f->frame->activeSectionForm() != former.data());
        QVERIFY(former.isNull());
        former = f->frame->activeSectionForm();
        for (const QString& menu : menus) {
            const auto it = menuOf.find(section);
            QCOMPARE(f->menuShown(menu), it != menuOf.end() && it->second == menu);
        }
        QVERIFY(f->enabled(QStringLiteral("mnuToolsBackup")));
    }
    f->action(QStringLiteral("mnuFileCloseSection"))->trigger();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QVERIFY(former.isNull());
    QVERIFY(f->frame->activeSectionForm() == nullptr);
    QCOMPARE(f->frame->shell().CurrentSection, 0);
    for (const QString& menu : menus) {
        QVERIFY(!f->menuShown(menu));
    }
    QVERIFY(f->frame->splash()->isVisible());
    QVERIFY(f->prompter.shown.isEmpty());
}

// ---------------------------------------------------------------------------------------------------------------

void TestFrmMdi::idleHidesPrivateRecords() {
    std::unique_ptr<Fixture> f = started(QStringLiteral("0"));
    QVERIFY(f);
    QVERIFY(f->frame->timerTimeout.isActive());
    QCOMPARE(f->frame->timerTimeout.interval(), 1000);
    f->preferences().IdleMinutes = 5;
    f->preferences().IdleAction = 0;
    f->prompter.passphrases.enqueue(kPassphrase);
    f->action(QStringLiteral("mnuViewShowPrivate"))->trigger();
    QVERIFY(f->session.ShowPrivate);
    f->frame->GotoSection(14);

    QVERIFY(f->tick());
    QCOMPARE(f->countdown(), QStringLiteral("05:00"));
    f->minutes(2);
    QVERIFY(f->tick());
    QCOMPARE(f->countdown(), QStringLiteral("03:00"));
    QVERIFY(f->session.ShowPrivate);

    f->minutes(3);
    QVERIFY(f->tick());
    QVERIFY(!f->session.ShowPrivate);
    QVERIFY(f->session.store().hidePrivate);
    QCOMPARE(f->prompter.numbers(), QList<int>{190});
    QVERIFY(!f->enabled(QStringLiteral("Lock")));
    QCOMPARE(f->action(QStringLiteral("mnuViewShowPrivate"))->text(), QStringLiteral("Show Private Records"));
    // The section stays; only its private records went.
    QCOMPARE(f->formName(), QStringLiteral("frmNotepad"));

    // Frozen now: the panel rests at the full period however long nobody comes.
    f->minutes(30);
    QVERIFY(f->tick());
    QCOMPARE(f->countdown(), QStringLiteral("05:00"));
    QCOMPARE(f->prompter.shown.size(), 1);
    QVERIFY(!f->frame->isShutDown());
}

void TestFrmMdi::idleAutoBlocks() {
    std::unique_ptr<Fixture> f = started(QStringLiteral("0"));
    QVERIFY(f);
    f->preferences().IdleMinutes = 1;
    f->preferences().IdleAction = 1;
    f->fillSectionMenus();
    f->frame->GotoSection(17);
    QVERIFY(f->menuShown(QStringLiteral("mnuBudget")));
    QCOMPARE(f->formName(), QStringLiteral("frmBudget"));

    f->minutes(1);
    QVERIFY(f->tick());
    QVERIFY(f->frame->activeSectionForm() == nullptr);
    QCOMPARE(f->frame->shell().CurrentSection, 0);
    QVERIFY(f->frame->shell().AutoBlocked);
    QVERIFY(f->prompter.passphraseRequests.isEmpty());
    f->minutes(5);
    QVERIFY(f->tick());
    QCOMPARE(f->countdown(), QStringLiteral("01:00"));

    // A wrong passphrase keeps the block, and the commands stay off.
    f->prompter.passphrases.enqueue(QStringLiteral("not my passphrase"));
    f->frame->GotoSection(17);
    QCOMPARE(f->prompter.passphraseRequests.size(), 1);
    QCOMPARE(f->prompter.numbers(), QList<int>{85});
    QVERIFY(f->frame->shell().AutoBlocked);
    QVERIFY(f->frame->activeSectionForm() == nullptr);
    QVERIFY(!f->enabled(QStringLiteral("mnuToolsBackup")));
    QVERIFY(!f->menuShown(QStringLiteral("mnuBudget")));

    f->prompter.passphrases.enqueue(kPassphrase);
    f->frame->GotoSection(17);
    QCOMPARE(f->prompter.passphraseRequests.size(), 2);
    QVERIFY(!f->frame->shell().AutoBlocked);
    QCOMPARE(f->formName(), QStringLiteral("frmBudget"));
    QVERIFY(f->enabled(QStringLiteral("mnuToolsBackup")));
    f->frame->GotoSection(12);
    QCOMPARE(f->prompter.passphraseRequests.size(), 2);

    // Blocked again, the program may still be left without the passphrase.
    f->minutes(1);
    QVERIFY(f->tick());
    QVERIFY(f->frame->shell().AutoBlocked);
    f->action(QStringLiteral("mnuFileQuit"))->trigger();
    QVERIFY(f->frame->isShutDown());
    QVERIFY(!f->session.DbIsOpen);
    QCOMPARE(f->prompter.passphraseRequests.size(), 2);
}

void TestFrmMdi::autoBlockEndsWithItsFile() {
    std::unique_ptr<Fixture> f = started(QStringLiteral("0"));
    QVERIFY(f);
    f->preferences().IdleMinutes = 1;
    f->preferences().IdleAction = 1;
    f->minutes(1);
    QVERIFY(f->tick());
    QVERIFY(f->frame->shell().AutoBlocked);

    // Closing needs no passphrase.
    f->action(QStringLiteral("mnuFileCloseDB"))->trigger();
    QVERIFY(!f->session.DbIsOpen);
    QVERIFY(f->prompter.passphraseRequests.isEmpty());

    // Another file asks its own passphrase once, and nothing of the closed one.
    const QString other = freshFile(QStringLiteral("other.nct"));
    f->prompter.openFile = other;
    f->prompter.passphrases.enqueue(kPassphrase);
    f->action(QStringLiteral("mnuFileOpen"))->trigger();
    QVERIFY(f->session.DbIsOpen);
    QCOMPARE(f->session.DbPath, other);
    QCOMPARE(f->prompter.passphraseRequests.size(), 1);
    QVERIFY(f->prompter.shown.isEmpty());
    f->frame->GotoSection(12);
    QCOMPARE(f->formName(), QStringLiteral("frmCalendar"));
    QCOMPARE(f->prompter.passphraseRequests.size(), 1);
    QVERIFY(!f->frame->shell().AutoBlocked);
}

void TestFrmMdi::idleExits() {
    std::unique_ptr<Fixture> f = started(QStringLiteral("0"));
    QVERIFY(f);
    f->preferences().IdleMinutes = 15;
    f->preferences().IdleAction = 2;
    f->frame->GotoSection(15);
    f->minutes(14);
    QVERIFY(f->tick());
    QCOMPARE(f->countdown(), QStringLiteral("01:00"));
    QVERIFY(!f->frame->isShutDown());
    f->minutes(1);
    QVERIFY(f->tick());
    QVERIFY(f->frame->isShutDown());
    QVERIFY(!f->frame->isVisible());
    QVERIFY(!f->session.DbIsOpen);
    QVERIFY(!f->session.store().cry.hasKeyPool());
    QVERIFY(f->prompter.shown.isEmpty());
}

void TestFrmMdi::privateSwitchAndTheDiary() {
    std::unique_ptr<Fixture> f = started(QStringLiteral("0"));
    QVERIFY(f);
    QAction* lock = f->action(QStringLiteral("Lock"));
    QAction* menu = f->action(QStringLiteral("mnuViewShowPrivate"));
    QVERIFY(!f->session.ShowPrivate);
    QVERIFY(!lock->isEnabled());
    QVERIFY(menu->isEnabled());

    // The Diary is private as a whole.
    f->frame->GotoSection(13);
    QVERIFY(f->frame->activeSectionForm() == nullptr);
    QCOMPARE(f->prompter.numbers(), QList<int>{143});
    f->forget();

    f->prompter.passphrases.enqueue(QStringLiteral("a wrong one"));
    menu->trigger();
    QVERIFY(!f->session.ShowPrivate);
    QVERIFY(!lock->isEnabled());
    QCOMPARE(f->prompter.numbers(), QList<int>{85});

    f->prompter.passphrases.enqueue(kPassphrase);
    menu->trigger();
    QVERIFY(f->session.ShowPrivate);
    QVERIFY(!f->session.store().hidePrivate);
    QVERIFY(lock->isEnabled());
    QCOMPARE(menu->text(), QStringLiteral("Hide Private Records"));
    QCOMPARE(f->prompter.passphraseRequests.size(), 2);

    f->frame->GotoSection(13);
    QCOMPARE(f->formName(), QStringLiteral("frmDiary"));
    QVERIFY(lock->isEnabled());

    // Hiding needs no passphrase, and takes the Diary away.
    lock->trigger();
    QVERIFY(!f->session.ShowPrivate);
    QVERIFY(f->session.store().hidePrivate);
    QVERIFY(!lock->isEnabled());
    QCOMPARE(menu->text(), QStringLiteral("Show Private Records"));
    QCOMPARE(f->prompter.passphraseRequests.size(), 2);
    QVERIFY(f->frame->activeSectionForm() == nullptr);
    QCOMPARE(f->frame->shell().CurrentSection, 0);

    // The button cannot show; only the menu entry can.
    lock->trigger();
    QVERIFY(!f->session.ShowPrivate);
    QCOMPARE(f->prompter.passphraseRequests.size(), 2);
}

void TestFrmMdi::pinOnceOrEveryAccess() {
    std::unique_ptr<Fixture> f = started(QStringLiteral("0"));
    QVERIFY(f);
    UserOptions& options = f->session.store().user.options;
    options.PinCode = QStringLiteral("2468");
    options.PinMask = 1 << (kMemos - 11);
    options.PinEveryAccess = false;

    f->prompter.passphrases.enqueue(QStringLiteral("2468"));
    f->frame->GotoSection(kMemos);
    QCOMPARE(f->formName(), QStringLiteral("frmNotepad"));
    QCOMPARE(f->prompter.passphraseRequests.size(), 1);
    QCOMPARE(f->prompter.passphraseRequests.first().prompt, MsgText(126));
    QVERIFY(!f->prompter.passphraseRequests.first().checkLength);
    f->frame->GotoSection(12);
    f->frame->GotoSection(kMemos);
    QCOMPARE(f->formName(), QStringLiteral("frmNotepad"));
    QCOMPARE(f->prompter.passphraseRequests.size(), 1);

    options.PinEveryAccess = true;
    f->prompter.passphrases.enqueue(QStringLiteral("2468"));
    f->prompter.passphrases.enqueue(QStringLiteral("2468"));
    f->frame->GotoSection(12);
    f->frame->GotoSection(kMemos);
    f->frame->GotoSection(kMemos);
    QCOMPARE(f->formName(), QStringLiteral("frmNotepad"));
    QCOMPARE(f->prompter.passphraseRequests.size(), 3);
    QVERIFY(f->prompter.shown.isEmpty());
}

void TestFrmMdi::cancelledOrWrongPinGoesToTheStartScreen() {
    std::unique_ptr<Fixture> f = started(QStringLiteral("0"));
    QVERIFY(f);
    UserOptions& options = f->session.store().user.options;
    options.PinCode = QStringLiteral("2468");
    options.PinMask = 1 << (kMemos - 11);
    f->fillSectionMenus();

    f->frame->GotoSection(15);
    QPointer<QWidget> tasks = f->frame->activeSectionForm();
    f->frame->GotoSection(kMemos); // the dialog is cancelled
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QCOMPARE(f->prompter.passphraseRequests.size(), 1);
    QVERIFY(f->prompter.shown.isEmpty());
    QVERIFY(f->frame->activeSectionForm() == nullptr);
    QVERIFY(tasks.isNull());
    QCOMPARE(f->frame->shell().CurrentSection, 0);
    QVERIFY(f->action(QStringLiteral("op00"))->isChecked());
    QVERIFY(f->enabled(QStringLiteral("mnuToolsBackup")));

    f->frame->GotoSection(15);
    f->prompter.passphrases.enqueue(QStringLiteral("8642"));
    f->frame->GotoSection(kMemos);
    QCOMPARE(f->prompter.numbers(), QList<int>{125});
    QVERIFY(f->frame->activeSectionForm() == nullptr);
    QCOMPARE(f->frame->shell().CurrentSection, 0);
    QVERIFY(!f->menuShown(QStringLiteral("mnuMemo")));
}

// ---------------------------------------------------------------------------------------------------------------

void TestFrmMdi::copyCutPasteAndTheClipboardTimer() {
    std::unique_ptr<Fixture> f = started(QStringLiteral("0"));
    QVERIFY(f);
    QTimer& timer = f->frame->clipboardGuard().timerClipboard;
    QCOMPARE(timer.interval(), 30000);
    QVERIFY(timer.isSingleShot());
    QClipboard* clipboard = QGuiApplication::clipboard();

    QLineEdit line;
    line.setText(QStringLiteral("secret words here"));
    line.show();
    QApplication::setActiveWindow(&line);
    line.setFocus();
    QTRY_COMPARE(QApplication::focusWidget(), &line);

    line.setSelection(0, 6);
    f->action(QStringLiteral("mnuEditCopy"))->trigger();
    QCOMPARE(clipboard->text(), QStringLiteral("secret"));
    QCOMPARE(clipboard->mimeData()->data(QStringLiteral("x-kde-passwordManagerHint")), QByteArrayLiteral("secret"));
    QVERIFY(timer.isActive());
    QCOMPARE(line.text(), QStringLiteral("secret words here"));

    // A second copy later gives the full period again.
    QTest::qWait(1500);
    const int beforeSecondCopy = timer.remainingTime();
    line.setSelection(7, 5);
    f->action(QStringLiteral("mnuEditCopy"))->trigger();
    QCOMPARE(clipboard->text(), QStringLiteral("words"));
    QVERIFY(timer.remainingTime() > beforeSecondCopy);

    // Paste does not touch the timer.
    QTest::qWait(1100);
    const int beforePaste = timer.remainingTime();
    line.setCursorPosition(static_cast<int>(line.text().size()));
    f->action(QStringLiteral("mnuEditPaste"))->trigger();
    QCOMPARE(line.text(), QStringLiteral("secret words herewords"));
    QVERIFY(timer.remainingTime() <= beforePaste);

    // Cut takes the selection out of the text.
    line.setSelection(7, 6);
    f->action(QStringLiteral("mnuEditCut"))->trigger();
    QCOMPARE(clipboard->text(), QStringLiteral("words "));
    QCOMPARE(line.text(), QStringLiteral("secret herewords"));
    QVERIFY(timer.remainingTime() > beforePaste);

    // What a hidden entry holds never reaches the clipboard.
    line.setEchoMode(QLineEdit::Password);
    line.selectAll();
    f->action(QStringLiteral("mnuEditCopy"))->trigger();
    f->action(QStringLiteral("mnuEditCut"))->trigger();
    QCOMPARE(clipboard->text(), QStringLiteral("words "));
    QCOMPARE(line.text(), QStringLiteral("secret herewords"));

    // When the period is over the text goes.
    QVERIFY(QMetaObject::invokeMethod(&timer, "timeout"));
    QVERIFY(clipboard->text().isEmpty());
    QVERIFY(!timer.isActive());
}

void TestFrmMdi::wipeClipboardLeavesOtherContent() {
    std::unique_ptr<Fixture> f = started(QStringLiteral("17"));
    QVERIFY(f);
    QClipboard* clipboard = QGuiApplication::clipboard();
    const QString secret = QStringLiteral("account 4711-0815");
    clipboard->setText(secret);
    QStringList seen;
    const QMetaObject::Connection watch =
        connect(clipboard, &QClipboard::dataChanged, this, [&] { seen.append(clipboard->text()); });
    f->frame->clipboardGuard().ArmClipboardTimer();
    f->frame->clipboardGuard().WipeClipboard();
    disconnect(watch);
    QVERIFY(!f->frame->clipboardGuard().timerClipboard.isActive());
    QVERIFY(clipboard->text().isEmpty());
    // Overwritten with as many other characters before it was dropped.
    QVERIFY(!seen.isEmpty());
    QCOMPARE(seen.first().size(), secret.size());
    QVERIFY(seen.first() != secret);
    QVERIFY(seen.last().isEmpty());

    QImage image(8, 8, QImage::Format_RGB32);
    image.fill(Qt::darkGreen);
    clipboard->setImage(image);
    f->frame->clipboardGuard().WipeClipboard();
    QVERIFY(clipboard->mimeData()->hasImage());
    QCOMPARE(clipboard->image().pixelColor(3, 3), QColor(Qt::darkGreen));
}

// ---------------------------------------------------------------------------------------------------------------

void TestFrmMdi::closeDatabaseDisablesItsCommands() {
    std::unique_ptr<Fixture> f = started(QStringLiteral("0"));
    QVERIFY(f);
    f->frame->GotoSection(11);
    const QStringList commands{QStringLiteral("mnuToolsBackup"), QStringLiteral("mnuToolsDbUtilitiesRepairCompact"),
                               QStringLiteral("mnuToolsPreferences"), QStringLiteral("mnuViewShowPrivate")};
    for (const QString& name : commands) {
        QVERIFY2(f->enabled(name), qPrintable(name));
    }
    QVERIFY(f->find<QMenu>(QStringLiteral("mnuEdit"))->isEnabled());

    f->action(QStringLiteral("mnuFileCloseDB"))->trigger();
    QVERIFY(!f->session.DbIsOpen);
    QVERIFY(!f->session.store().cry.hasKeyPool());
    for (const QString& name : commands) {
        QVERIFY2(!f->enabled(name), qPrintable(name));
    }
    QVERIFY(!f->find<QMenu>(QStringLiteral("mnuEdit"))->isEnabled());
    QVERIFY(!f->enabled(QStringLiteral("Lock")));
    QVERIFY(!f->find<QToolBar>(QStringLiteral("optSection"))->isEnabled());
    QVERIFY(f->frame->activeSectionForm() == nullptr);
    QCOMPARE(f->splashText(QStringLiteral("lblFile")), QStringLiteral("No database open"));
    QVERIFY(f->splashText(QStringLiteral("lblFolder")).isEmpty());
    QVERIFY(f->prompter.shown.isEmpty());
    QVERIFY(!f->frame->isShutDown());
}

void TestFrmMdi::shutDownClosesAndRemembersThePlace() {
    std::unique_ptr<Fixture> f = started(QStringLiteral("17"));
    QVERIFY(f);
    QTRY_COMPARE_WITH_TIMEOUT(f->formName(), QStringLiteral("frmBudget"), 5000);
    QVERIFY(f->session.store().cry.hasKeyPool());
    f->frame->setGeometry(40, 50, 900, 640);
    const QRect place = f->frame->geometry();
    QGuiApplication::clipboard()->setText(QStringLiteral("left behind"));

    f->action(QStringLiteral("Reset"))->trigger();
    QVERIFY(f->frame->isShutDown());
    QVERIFY(!f->frame->isVisible());
    QVERIFY(!f->session.DbIsOpen);
    QVERIFY(!f->session.store().cry.hasKeyPool());
    QVERIFY(!f->frame->timerTimeout.isActive());
    QVERIFY(QGuiApplication::clipboard()->text().isEmpty());
    const QSettings settings = Settings();
    QCOMPARE(settings.value(QStringLiteral("Startup/MDI_Top")).toInt(), place.top());
    QCOMPARE(settings.value(QStringLiteral("Startup/MDI_Left")).toInt(), place.left());
    QCOMPARE(settings.value(QStringLiteral("Startup/MDI_Height")).toInt(), place.height());
    QCOMPARE(settings.value(QStringLiteral("Startup/MDI_Width")).toInt(), place.width());
    // A second way out does nothing more.
    f->action(QStringLiteral("mnuFileQuit"))->trigger();
    QVERIFY(f->prompter.shown.isEmpty());

    // The next start takes the place back.
    Settings().setValue(QStringLiteral("MostRecentFiles/1"), freshFile(QStringLiteral("again.nct")));
    Fixture next(QStringLiteral("17"), lockPath());
    next.prompter.passphrases.enqueue(kPassphrase);
    QVERIFY(next.frame->Load());
    QCOMPARE(next.frame->size(), place.size());
}

QTEST_MAIN(TestFrmMdi)
#include "tst_frm_mdi.moc"

#include "shell/ui/frm_mdi.h"

#include "sections/all_sections.h"
#include "shell/file_choice.h"
#include "shell/ui/frm_splash.h"
#include "support/gui.h"
#include "support/second_program.h"

#include <memory>

namespace {

const QString kPassphrase = QStringLiteral("night owl 42");
constexpr int kMemos = 14;

QSettings Settings() {
    return QSettings(QStringLiteral("Marrowline"), QStringLiteral("Noctaria"));
}

class StandInForm : public SectionForm {
public:
    using SectionForm::SectionForm;
    QList<QAction*> menuActions() override { return {&m_command}; }

private:
    QAction m_command{QStringLiteral("Command"), this};
};

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
        options.sectionForms = AllSectionForms();
        // Stand-ins for sections whose forms are still to come, each with one command for its menu.
        for (const SectionId id : {SectionId::Calendar, SectionId::Tasks}) {
            options.sectionForms.add(id, [id](Session&, QWidget* parent) {
                auto* form = new StandInForm(parent);
                form->setObjectName(QLatin1String(sections::Info(id).formName));
                return form;
            });
        }
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
    void idle(int minutes, int action) {
        preferences().IdleMinutes = minutes;
        preferences().IdleAction = action;
    }
    void minutes(int m) { now += static_cast<std::int64_t>(m) * 60'000; }
    // One beat of the idle watch, as the timer gives it.
    bool tick() { return QMetaObject::invokeMethod(&frame->timerTimeout, "timeout"); }
    // Clicks the button of that name in the dialog in front (or the frame), or triggers the frame's command.
    void open(const QString& name) const {
        QWidget* scope = QApplication::activeModalWidget() != nullptr ? QApplication::activeModalWidget()
                                                                      : static_cast<QWidget*>(frame.get());
        if (auto* button = scope->findChild<QAbstractButton*>(name)) {
            button->click();
        } else {
            QVERIFY2(action(name) != nullptr, qPrintable(name));
            action(name)->trigger();
        }
    }
    // Opens each dialog of `path` inside the one before, then lets the idle period pass in the innermost.
    void idleInside(const QStringList& path, int step = 0) {
        if (step == path.size()) {
            minutes(60);
            QVERIFY(tick());
            return;
        }
        QTimer::singleShot(0, frame.get(), [this, path, step] { idleInside(path, step + 1); });
        open(path[step]);
    }
};

} // namespace

class TestFrmMdi : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() {
        m_template = MadeDatabase(m_dir.filePath(QStringLiteral("template.nct")), kPassphrase);
        QVERIFY(!m_template.isEmpty());
    }

    void init() {
        test_env::ForgetSettings();
        Settings().setValue(QStringLiteral("Startup/ShowTipsAtStartup"), QStringLiteral("0"));
        QDir(QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation)).removeRecursively();
        QGuiApplication::clipboard()->clear();
    }

    // The frame's way out ends the application's event loop; the test run goes on, so the loop is made usable
    // again.
    void cleanup() {
        m_f.reset();
        QTimer::singleShot(0, qApp, [] { QCoreApplication::exit(0); });
        QCoreApplication::exec();
    }

    void firstRunMakesTheDefaultFile() {
        Fixture f(QStringLiteral("17"), lockPath());
        f.prompter.replies << Prompter::Reply::Yes;
        f.prompter.passphrases << kPassphrase;
        QVERIFY(f.frame->Load());
        // What the offer asks is the shell's part; the frame opens on the start screen naming the new file.
        QVERIFY(QFileInfo::exists(QDir(file_choice::DefaultFolder()).filePath(QStringLiteral("mydata.nct"))));
        QVERIFY(f.frame->isVisible() && f.frame->activeSectionForm() == nullptr);
        QCOMPARE(f.splashText(QStringLiteral("lblFile")), QStringLiteral("mydata.nct"));
    }

    void threeWrongPassphrasesEndTheProgram() {
        Settings().setValue(QStringLiteral("MostRecentFiles/1"), freshFile(QStringLiteral("last.nct")));
        Fixture f(QStringLiteral("17"), lockPath());
        // How the attempts go is the open sequence's part; the frame ends the program after them.
        f.prompter.passphrases << QStringLiteral("wrong guess 1") << QStringLiteral("wrong guess 2")
                               << QStringLiteral("wrong guess 3");
        f.prompter.replies << Prompter::Reply::Retry << Prompter::Reply::Retry;
        f.frame->Load();
        QCOMPARE(f.prompter.passphraseRequests.size(), 3);
        QVERIFY(f.frame->isShutDown());
        QVERIFY(!f.session.store().cry.hasKeyPool());
    }

    void cancelledPassphraseLeavesTheFrameWithoutAFile() {
        Settings().setValue(QStringLiteral("MostRecentFiles/1"), freshFile(QStringLiteral("last.nct")));
        Fixture f(QStringLiteral("17"), lockPath());
        // Should the database menu come, it is closed, so that the test fails rather than hangs.
        QTimer::singleShot(3000, f.frame.get(), [] {
            if (QWidget* menu = QApplication::activeModalWidget()) {
                menu->close();
            }
        });
        QVERIFY(f.frame->Load());
        QCOMPARE(f.prompter.passphraseRequests.size(), 1);
        QCOMPARE(f.prompter.numbers(), QList<int>{97});
        QVERIFY(f.frame->isVisible());
        QVERIFY(!f.session.DbIsOpen);
        QCOMPARE(f.splashText(QStringLiteral("lblFile")), QStringLiteral("No database open"));
        QVERIFY(!f.enabled(QStringLiteral("mnuToolsBackup")));
    }

    void secondInstanceIsRefused() {
        const QString shared = lockPath();
        Settings().setValue(QStringLiteral("MostRecentFiles/1"), freshFile(QStringLiteral("last.nct")));
        Fixture first(QStringLiteral("17"), shared);
        first.prompter.passphrases.enqueue(kPassphrase);
        QVERIFY(first.frame->Load());

        Fixture second(QStringLiteral("17"), shared);
        second.prompter.passphrases.enqueue(kPassphrase);
        QVERIFY(!second.frame->Load());
        QCOMPARE(second.prompter.numbers(), QList<int>{135});
        QVERIFY(second.prompter.passphraseRequests.isEmpty());
        QVERIFY(!second.frame->isVisible());
    }

    void sectionBarFollowsTheSectionList_data() {
        QTest::addColumn<QString>("list");
        QTest::addColumn<QList<int>>("buttons");
        QTest::newRow("every section") << "0" << QList<int>{12, 15, 11, 14, 13, 16, 17};
        QTest::newRow("several") << "12 15 17" << QList<int>{12, 15, 17};
    }

    void sectionBarFollowsTheSectionList() {
        QFETCH(QString, list);
        QVERIFY(start(list));
        QVERIFY(m_f->find<QToolBar>(QStringLiteral("optSection"))->isVisible());
        QList<int> shown;
        for (const int section : {12, 15, 11, 14, 13, 16, 17}) {
            if (m_f->action(QStringLiteral("op%1").arg(section))->isVisible()) {
                shown.append(section);
            }
        }
        QTEST(shown, "buttons");
        // With several sections the start screen stays: no section opens by itself.
        QVERIFY(!m_f->frame->timerSplash.isActive());
    }

    void singleSectionBuildOpensItsSectionAfterTheSplash() {
        QVERIFY(start(QStringLiteral("17")));
        QVERIFY(!m_f->find<QToolBar>(QStringLiteral("optSection"))->isVisible());
        // The start screen stays in view first, then the one section opens.
        QVERIFY(m_f->frame->timerSplash.isActive());
        QCOMPARE(m_f->frame->timerSplash.interval(), 1300);
        QVERIFY(m_f->frame->activeSectionForm() == nullptr);
        QTRY_COMPARE_WITH_TIMEOUT(m_f->formName(), QStringLiteral("frmBudget"), 5000);
        // The section's commands stand in the frame's menu while the section is open, and go with it.
        QVERIFY(m_f->menuShown(QStringLiteral("mnuBudget")));
        QVERIFY(m_f->action(QStringLiteral("mnuBudgetAdd")) != nullptr);
        m_f->frame->GotoSection(0);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(m_f->find<QMenu>(QStringLiteral("mnuBudget"))->actions().isEmpty());
    }

    void sectionSwitchBuildsANewFormEachTime() {
        QVERIFY(start(QStringLiteral("0")));
        QPointer<QWidget> former;
        // Every entry builds the form anew, even of the same section; the one before is gone.
        for (const int section : {12, 15, 15}) {
            m_f->frame->GotoSection(section);
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
            QVERIFY(former.isNull());
            former = m_f->frame->activeSectionForm();
        }
        QCOMPARE(m_f->formName(), QStringLiteral("frmTodo"));
        QVERIFY(m_f->menuShown(QStringLiteral("mnuTodo")));
        QVERIFY(!m_f->menuShown(QStringLiteral("mnuCalendar")));
        m_f->action(QStringLiteral("mnuFileCloseSection"))->trigger();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(former.isNull());
        QVERIFY(!m_f->menuShown(QStringLiteral("mnuTodo")));
    }

    // The open section's own buttons stand on the command bar while it is open, and only then; they act on it.
    void commandBarCarriesTheOpenSectionsButtons() {
        QVERIFY(start(QStringLiteral("0")));
        auto* bar = m_f->find<QToolBar>(QStringLiteral("Toolbar1"));
        const auto sectionTips = [bar] {
            QStringList tips;
            for (QAction* a : bar->actions()) {
                if (a->objectName().startsWith(QLatin1String("tbr"))) {
                    tips << a->toolTip();
                }
            }
            return tips;
        };
        QVERIFY(sectionTips().isEmpty());
        m_f->frame->GotoSection(kMemos);
        QCOMPARE(sectionTips(), QStringList{QStringLiteral("New Memo")});
        m_f->frame->GotoSection(17);
        QCOMPARE(sectionTips(), QStringList{QStringLiteral("New Transaction")});
        bool editorShown = false;
        WhenModal<QDialog>([&editorShown](QDialog* editor) {
            editorShown = editor->objectName() == QLatin1String("frmEditBudget");
            editor->done(QDialog::Rejected);
        });
        for (QAction* a : bar->actions()) {
            if (a->objectName() == QLatin1String("tbrNew")) {
                a->trigger();
            }
        }
        QVERIFY(editorShown);
        m_f->action(QStringLiteral("mnuFileCloseSection"))->trigger();
        QVERIFY(sectionTips().isEmpty());
    }

    void idleHidesPrivateRecords() {
        QVERIFY(start(QStringLiteral("0")));
        m_f->idle(5, 0);
        m_f->prompter.passphrases.enqueue(kPassphrase);
        m_f->action(QStringLiteral("mnuViewShowPrivate"))->trigger();
        QVERIFY(m_f->session.ShowPrivate);
        m_f->frame->GotoSection(kMemos);

        m_f->minutes(5);
        QVERIFY(m_f->tick());
        QVERIFY(!m_f->session.ShowPrivate);
        QCOMPARE(m_f->prompter.numbers(), QList<int>{190});
        // The section stays; only its private records went.
        QCOMPARE(m_f->formName(), QStringLiteral("frmNotepad"));

        // Frozen now: the panel rests at the full period however long nobody comes.
        m_f->minutes(30);
        QVERIFY(m_f->tick());
        QCOMPARE(m_f->countdown(), QStringLiteral("05:00"));
    }

    void idleAutoBlocks() {
        QVERIFY(start(QStringLiteral("0")));
        m_f->idle(1, 1);
        m_f->frame->GotoSection(17);

        m_f->minutes(1);
        QVERIFY(m_f->tick());
        QVERIFY(m_f->frame->activeSectionForm() == nullptr);
        QVERIFY(m_f->frame->shell().AutoBlocked);
        QVERIFY(m_f->prompter.passphraseRequests.isEmpty());
        const QStringList reachFiles = {QStringLiteral("mnuFileNew"),
                                        QStringLiteral("mnuFileOpen"),
                                        QStringLiteral("mnuFileCloseDB"),
                                        QStringLiteral("mnuToolsBackup"),
                                        QStringLiteral("mnuToolsDbUtilitiesRepairCompact"),
                                        QStringLiteral("mnuToolsDbUtilitiesRestore"),
                                        QStringLiteral("mnuToolsPreferences"),
                                        QStringLiteral("mnuEditChangePW")};
        QCOMPARE(SecondProgramRefused(m_f->session.DbPath, {QStringLiteral("info"), m_f->session.DbPath}), QString());

        // A wrong passphrase keeps the block, and every command that reaches a file or the settings stays off.
        m_f->prompter.passphrases.enqueue(QStringLiteral("not my passphrase"));
        QVERIFY(!m_f->frame->GotoSection(17));
        QCOMPARE(m_f->prompter.numbers(), QList<int>{85});
        for (const QString& command : reachFiles) {
            QVERIFY2(!m_f->enabled(command) || !m_f->find<QMenu>(QStringLiteral("mnuEdit"))->isEnabled(),
                     qPrintable(command));
        }
        QVERIFY(m_f->enabled(QStringLiteral("mnuFileQuit")));

        m_f->prompter.passphrases.enqueue(kPassphrase);
        QVERIFY(m_f->frame->GotoSection(17));
        QCOMPARE(m_f->formName(), QStringLiteral("frmBudget"));
        for (const QString& command : reachFiles) {
            QVERIFY2(m_f->enabled(command), qPrintable(command));
        }
        QCOMPARE(SecondProgramRefused(m_f->session.DbPath, {QStringLiteral("info"), m_f->session.DbPath}), QString());

        // Blocked again, the program may still be left without the passphrase.
        m_f->minutes(1);
        QVERIFY(m_f->tick());
        m_f->action(QStringLiteral("mnuFileQuit"))->trigger();
        QVERIFY(m_f->frame->isShutDown());
        QCOMPARE(m_f->prompter.passphraseRequests.size(), 2);
    }

    void idleExits() {
        QVERIFY(start(QStringLiteral("0")));
        m_f->idle(15, 2);
        m_f->minutes(14);
        QVERIFY(m_f->tick());
        QVERIFY(!m_f->frame->isShutDown());
        m_f->minutes(1);
        QVERIFY(m_f->tick());
        QVERIFY(m_f->frame->isShutDown());
        QVERIFY(!m_f->session.store().cry.hasKeyPool());
    }

    void idleClosesWhateverDialogIsOpen_data() {
        QTest::addColumn<QStringList>("path");
        QTest::addColumn<int>("action");
        const QStringList editor{QStringLiteral("cmdAdd_0")};
        for (int action : {0, 1, 2}) {
            QTest::addRow("transaction editor, action %d", action) << editor << action;
            QTest::addRow("categories from the editor, action %d", action)
                << QStringList{QStringLiteral("cmdAdd_0"), QStringLiteral("cmdEditCat")} << action;
        }
        QTest::newRow("category list") << QStringList{QStringLiteral("cmdEditCat")} << 1;
        QTest::newRow("budget names") << QStringList{QStringLiteral("mnuBudgetBudgets")} << 1;
        QTest::newRow("payment modes") << QStringList{QStringLiteral("mnuBudgetPayment")} << 1;
        QTest::newRow("preferences") << QStringList{QStringLiteral("mnuToolsPreferences")} << 1;
    }

    void idleClosesWhateverDialogIsOpen() {
        QFETCH(QStringList, path);
        QFETCH(int, action);
        QVERIFY(start(QStringLiteral("17")));
        m_f->idle(1, action);
        m_f->prompter.passphrases << kPassphrase << kPassphrase;
        m_f->action(QStringLiteral("mnuViewShowPrivate"))->trigger();
        QVERIFY(m_f->frame->GotoSection(17));
        const QPointer<QWidget> form = m_f->frame->activeSectionForm();

        m_f->idleInside(path);
        // Every dialog went as Esc would, and the action followed once they were all gone.
        for (QWidget* window : QApplication::topLevelWidgets()) {
            QVERIFY2(!qobject_cast<QDialog*>(window) || !window->isVisible(), qPrintable(window->objectName()));
        }
        if (action == 0) {
            QTRY_VERIFY(!m_f->session.ShowPrivate);
            QVERIFY(m_f->prompter.numbers().contains(190));
            QCOMPARE(m_f->frame->activeSectionForm(), form.data());
        } else if (action == 1) {
            QTRY_VERIFY(m_f->frame->shell().AutoBlocked);
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
            QVERIFY(form.isNull());
        } else {
            QTRY_VERIFY(m_f->frame->isShutDown());
        }
        QCOMPARE(m_f->prompter.numbers().count(20), 0);
    }

    void preferencesUnfreezeTheIdleWatch() {
        QVERIFY(start(QStringLiteral("0")));
        m_f->idle(1, 0);
        // Nothing private shows, so hiding has nothing to do: the watch rests.
        m_f->minutes(5);
        QVERIFY(m_f->tick());
        QVERIFY(m_f->frame->shell().IdleFrozen);

        QTimer::singleShot(0, m_f->frame.get(), [this] {
            m_f->open(QStringLiteral("optIdle_1"));
            m_f->open(QStringLiteral("cmdOK"));
        });
        m_f->open(QStringLiteral("mnuToolsPreferences"));
        QCOMPARE(m_f->preferences().IdleAction, 1);
        QVERIFY(!m_f->frame->shell().IdleFrozen);
        m_f->minutes(1);
        QVERIFY(m_f->tick());
        QTRY_VERIFY(m_f->frame->shell().AutoBlocked);
    }

    void privateSwitchAndTheDiary() {
        QVERIFY(start(QStringLiteral("0")));
        QAction* lock = m_f->action(QStringLiteral("Lock"));
        QAction* menu = m_f->action(QStringLiteral("mnuViewShowPrivate"));
        QVERIFY(!lock->isEnabled());

        // The Diary is private as a whole.
        m_f->frame->GotoSection(13);
        QCOMPARE(m_f->prompter.numbers(), QList<int>{143});

        m_f->prompter.passphrases.enqueue(QStringLiteral("a wrong one"));
        menu->trigger();
        QVERIFY(!m_f->session.ShowPrivate);
        QVERIFY(!lock->isEnabled());

        m_f->prompter.passphrases.enqueue(kPassphrase);
        menu->trigger();
        QVERIFY(m_f->session.ShowPrivate);
        QVERIFY(lock->isEnabled());
        m_f->frame->GotoSection(13);
        QCOMPARE(m_f->formName(), QStringLiteral("frmDiary"));

        // Hiding needs no passphrase, and takes the Diary away.
        lock->trigger();
        QVERIFY(!m_f->session.ShowPrivate);
        QVERIFY(!lock->isEnabled());
        QCOMPARE(m_f->prompter.passphraseRequests.size(), 2);
        QVERIFY(m_f->frame->activeSectionForm() == nullptr);

        // In the Budget too, one click hides them.
        m_f->prompter.passphrases.enqueue(kPassphrase);
        menu->trigger();
        m_f->frame->GotoSection(17);
        QVERIFY(lock->isEnabled() && menu->isEnabled());
        lock->trigger();
        QVERIFY(!m_f->session.ShowPrivate);
        QVERIFY(m_f->session.store().hidePrivate);
    }

    void cancelledOrWrongPinGoesToTheStartScreen() {
        QVERIFY(start(QStringLiteral("0")));
        UserOptions& options = m_f->session.store().user.options;
        options.PinCode = QStringLiteral("2468");
        options.PinMask = 1 << (kMemos - 11);

        m_f->frame->GotoSection(15);
        QPointer<QWidget> tasks = m_f->frame->activeSectionForm();
        m_f->frame->GotoSection(kMemos); // the dialog is cancelled
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(m_f->prompter.shown.isEmpty());
        QVERIFY(tasks.isNull());
        QVERIFY(m_f->action(QStringLiteral("op00"))->isChecked());

        m_f->prompter.passphrases.enqueue(QStringLiteral("8642"));
        m_f->frame->GotoSection(kMemos);
        QCOMPARE(m_f->prompter.numbers(), QList<int>{125});
        QVERIFY(m_f->frame->activeSectionForm() == nullptr);

        m_f->prompter.passphrases.enqueue(QStringLiteral("2468"));
        m_f->frame->GotoSection(kMemos);
        QCOMPARE(m_f->formName(), QStringLiteral("frmNotepad"));
    }

    void clipboardTimerFollowsCopiesNotPastes() {
        QVERIFY(start(QStringLiteral("0")));
        QTimer& timer = m_f->frame->clipboardGuard().timerClipboard;
        QCOMPARE(timer.interval(), 30000);
        QClipboard* clipboard = QGuiApplication::clipboard();

        QLineEdit line;
        line.setText(QStringLiteral("secret words here"));
        line.show();
        QApplication::setActiveWindow(&line);
        line.setFocus();
        QTRY_COMPARE(QApplication::focusWidget(), &line);

        line.setSelection(0, 6);
        m_f->action(QStringLiteral("mnuEditCopy"))->trigger();
        QCOMPARE(clipboard->text(), QStringLiteral("secret"));

        QTest::qWait(1100);
        const int beforeSecondCopy = timer.remainingTime();
        line.setSelection(7, 5);
        m_f->action(QStringLiteral("mnuEditCopy"))->trigger();
        QVERIFY(timer.remainingTime() > beforeSecondCopy);

        QTest::qWait(1100);
        const int beforePaste = timer.remainingTime();
        line.setCursorPosition(static_cast<int>(line.text().size()));
        m_f->action(QStringLiteral("mnuEditPaste"))->trigger();
        QCOMPARE(line.text(), QStringLiteral("secret words herewords"));
        QVERIFY(timer.remainingTime() <= beforePaste);

        // What a hidden entry holds never reaches the clipboard.
        line.setEchoMode(QLineEdit::Password);
        line.selectAll();
        m_f->action(QStringLiteral("mnuEditCopy"))->trigger();
        QCOMPARE(clipboard->text(), QStringLiteral("words"));

        QVERIFY(QMetaObject::invokeMethod(&timer, "timeout"));
        QVERIFY(clipboard->text().isEmpty());
    }

    void copiesFromAnyTextFieldAreGuarded_data() {
        QTest::addColumn<QString>("how");
        for (const char* how :
             {"Ctrl+C in a line", "Ctrl+X in a line", "the line's context menu", "Ctrl+C in a note"}) {
            QTest::newRow(how) << QString::fromLatin1(how);
        }
    }

    void copiesFromAnyTextFieldAreGuarded() {
        QFETCH(QString, how);
        QVERIFY(start(QStringLiteral("0")));
        QTimer& timer = m_f->frame->clipboardGuard().timerClipboard;
        timer.stop();
        QClipboard* clipboard = QGuiApplication::clipboard();
        QLineEdit line(QStringLiteral("card 4711 0815"));
        QPlainTextEdit note(QStringLiteral("card 4711 0815"));
        line.selectAll();
        note.selectAll();
        if (how == QLatin1String("Ctrl+C in a line")) {
            QTest::keyClick(&line, Qt::Key_C, Qt::ControlModifier);
        } else if (how == QLatin1String("Ctrl+X in a line")) {
            QTest::keyClick(&line, Qt::Key_X, Qt::ControlModifier);
        } else if (how == QLatin1String("the line's context menu")) {
            line.copy();
        } else {
            QTest::keyClick(&note, Qt::Key_C, Qt::ControlModifier);
        }
        QCOMPARE(clipboard->text(), QStringLiteral("card 4711 0815"));
        // Clipboard managers are told not to keep it.
        QCOMPARE(clipboard->mimeData()->data(QStringLiteral("x-kde-passwordManagerHint")), QByteArrayLiteral("secret"));
        QVERIFY(timer.isActive());
        QVERIFY(QMetaObject::invokeMethod(&timer, "timeout"));
        QVERIFY(clipboard->text().isEmpty());
    }

    void wipeClipboardLeavesOtherContent() {
        QVERIFY(start(QStringLiteral("17")));
        QClipboard* clipboard = QGuiApplication::clipboard();
        const QString secret = QStringLiteral("account 4711-0815");
        clipboard->setText(secret);
        QStringList seen;
        connect(clipboard, &QClipboard::dataChanged, m_f->frame.get(), [&] { seen.append(clipboard->text()); });
        m_f->frame->clipboardGuard().WipeClipboard();
        QVERIFY(clipboard->text().isEmpty());
        // Overwritten with as many other characters before it was dropped.
        QVERIFY(!seen.isEmpty() && seen.first().size() == secret.size() && seen.first() != secret);

        QImage image(8, 8, QImage::Format_RGB32);
        image.fill(Qt::darkGreen);
        clipboard->setImage(image);
        m_f->frame->clipboardGuard().WipeClipboard();
        QCOMPARE(clipboard->image().pixelColor(3, 3), QColor(Qt::darkGreen));
    }

    void openingTheOpenFileAgain() {
        QVERIFY(start(QStringLiteral("17")));
        const QString path = m_f->session.DbPath;
        m_f->prompter.openFile = path;
        m_f->prompter.passphrases.enqueue(kPassphrase);
        m_f->action(QStringLiteral("mnuFileOpen"))->trigger();
        QVERIFY(!m_f->prompter.numbers().contains(51));
        QCOMPARE(m_f->prompter.passphraseRequests.size(), 1);
        QVERIFY(m_f->session.DbIsOpen);
        QCOMPARE(m_f->session.DbPath, path);
        QVERIFY(LockedByThisProcess(path));
    }

    void helpAnswersF1() {
        QVERIFY(start(QStringLiteral("17")));
        QCOMPARE(m_f->action(QStringLiteral("mnuHelpOnline"))->shortcut(), QKeySequence(Qt::Key_F1));
        m_f->action(QStringLiteral("mnuHelpOnline"))->trigger();
        auto* help = m_f->find<QWidget>(QStringLiteral("frmHelp"));
        QVERIFY(help != nullptr && help->isVisible());
        const QString text = help->findChild<QTextBrowser*>(QStringLiteral("txtHelp"))->toPlainText();
        QVERIFY(text.contains(QLatin1String("Add CREDIT")) && text.contains(QLatin1String("not encrypted")));
        help->close();
    }

    void closeDatabaseDisablesItsCommands() {
        QVERIFY(start(QStringLiteral("0")));
        m_f->frame->GotoSection(11);
        QVERIFY(m_f->enabled(QStringLiteral("mnuToolsBackup")));
        m_f->action(QStringLiteral("mnuFileCloseDB"))->trigger();
        QVERIFY(!m_f->session.store().cry.hasKeyPool());
        for (const char* name :
             {"mnuToolsBackup", "mnuToolsDbUtilitiesRepairCompact", "mnuToolsPreferences", "mnuViewShowPrivate"}) {
            QVERIFY2(!m_f->enabled(QLatin1String(name)), name);
        }
        QVERIFY(!m_f->find<QToolBar>(QStringLiteral("optSection"))->isEnabled());
        QVERIFY(m_f->frame->activeSectionForm() == nullptr);
        QCOMPARE(m_f->splashText(QStringLiteral("lblFile")), QStringLiteral("No database open"));
        QVERIFY(!m_f->frame->isShutDown());
    }

    void shutDownClosesAndRemembersThePlace() {
        QVERIFY(start(QStringLiteral("17")));
        m_f->frame->setGeometry(40, 50, 900, 640);
        const QRect place = m_f->frame->geometry();
        QGuiApplication::clipboard()->setText(QStringLiteral("left behind"));

        m_f->action(QStringLiteral("Reset"))->trigger();
        QVERIFY(m_f->frame->isShutDown());
        QVERIFY(!m_f->session.DbIsOpen);
        QVERIFY(!m_f->session.store().cry.hasKeyPool());
        QVERIFY(QGuiApplication::clipboard()->text().isEmpty());
        const QSettings settings = Settings();
        QCOMPARE(settings.value(QStringLiteral("Startup/MDI_Top")).toInt(), place.top());
        QCOMPARE(settings.value(QStringLiteral("Startup/MDI_Width")).toInt(), place.width());
    }

private:
    QString freshFile(const QString& name) { return CopyWritable(m_template, m_dir.filePath(name)); }
    QString lockPath() { return m_dir.filePath(QStringLiteral("instance-%1.lock").arg(++m_locks)); }
    // A frame in m_f, loaded with a copy of the prepared file and opened with the right passphrase.
    bool start(const QString& list) {
        Settings().setValue(QStringLiteral("MostRecentFiles/1"), freshFile(QStringLiteral("last.nct")));
        m_f = std::make_unique<Fixture>(list, lockPath());
        m_f->prompter.passphrases << kPassphrase;
        const bool opened = m_f->frame->Load() && m_f->session.DbIsOpen;
        m_f->prompter.passphraseRequests.clear();
        return opened;
    }

    QTemporaryDir m_dir;
    QString m_template;
    std::unique_ptr<Fixture> m_f;
    int m_locks = 0;
};

NCT_GUI_TEST_MAIN(TestFrmMdi)
#include "tst_frm_mdi.moc"

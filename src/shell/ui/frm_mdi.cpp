#include "shell/ui/frm_mdi.h"

#include "base/messages.h"
#include "shell/catalogue/captions.h"
#include "shell/dates.h"
#include "shell/file_choice.h"
#include "shell/open_sequence.h"
#include "shell/settings.h"
#include "shell/ui/apply_captions.h"
#include "shell/ui/frm_backup.h"
#include "shell/ui/frm_help.h"
#include "shell/ui/frm_menu_db.h"
#include "shell/ui/frm_options.h"
#include "shell/ui/frm_restore.h"
#include "shell/ui/frm_splash.h"
#include "shell/ui/frm_tip.h"
#include "shell/ui/gui_prompter.h"
#include "shell/ui/modal.h"
#include "shell/ui/section_form.h"

#include <QAction>
#include <QActionGroup>
#include <QApplication>
#include <QCloseEvent>
#include <QDateTime>
#include <QDesktopServices>
#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QLabel>
#include <QLineEdit>
#include <QMenuBar>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QScreen>
#include <QStackedLayout>
#include <QStandardPaths>
#include <QStatusBar>
#include <QTextEdit>
#include <QToolBar>
#include <QToolButton>
#include <QUrl>

namespace {

constexpr int kMinHeight = 588;
constexpr int kMinWidthWithBar = 820;
constexpr int kMinWidthWithoutBar = 745;
const char* const kViewButtons[] = {"itCalDay", "itCalWork", "itCalWeek", "itCalMonth"};
const char* const kViewImages[] = {"01", "05", "07", "31"};

QString Key(int section) {
    return QStringLiteral("op%1").arg(section, 2, 10, QLatin1Char('0'));
}

// The View menu's entries: the start screen, then the sections in the order of the bar.
int ViewSection(int index) {
    return index == 0 ? 0 : sections::Number(sections::Table()[index - 1].id);
}

QIcon Icon(const QString& name) {
    return QIcon(QStringLiteral(":/icons/%1.svg").arg(name));
}

ShellState::Clock MonotonicClock() {
    auto timer = std::make_shared<QElapsedTimer>();
    timer->start();
    return [timer] { return timer->elapsed(); };
}

bool IsInput(QEvent::Type type) {
    switch (type) {
    case QEvent::KeyPress:
    case QEvent::KeyRelease:
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonRelease:
    case QEvent::MouseButtonDblClick:
    case QEvent::MouseMove:
    case QEvent::Wheel:
    case QEvent::TouchBegin:
        return true;
    default:
        return false;
    }
}

} // namespace

// The icons are built into this static library; without a reference nothing would link them into a program.
static void InitResources() {
    Q_INIT_RESOURCE(resources);
}

frmMDI::frmMDI(Session& session, Prompter& prompter, Options options, QWidget* parent)
    : QMainWindow(parent)
    , m_session(session)
    , m_prompter(prompter)
    , m_options(std::move(options))
    , m_sections(m_options.sectionList)
    , m_shell(session, m_options.clock ? m_options.clock : MonotonicClock()) {
    InitResources();
    setObjectName(QStringLiteral("frmMDI"));
    setWindowIcon(Icon(QStringLiteral("noctaria")));

    auto* central = new QWidget(this);
    m_stack = new QStackedLayout(central);
    m_splash = new frmSplash(m_sections.editionTitle(), central);
    m_stack->addWidget(m_splash);
    setCentralWidget(central);
    if (auto* gui = dynamic_cast<GuiPrompter*>(&m_prompter)) {
        gui->setParent(this);
        gui->setStatusSink([this](const QString& text) { m_splash->ShowStatus(text); });
        gui->setShutDown([this] { ShutDown(); });
        gui->setPenaltyWait([this](int milliseconds) { penaltyWait(milliseconds); });
    }

    buildMenus();
    buildSectionBar();
    buildCommandBar();
    buildStatusBar();

    timerTimeout.setObjectName(QStringLiteral("timerTimeout"));
    timerTimeout.setInterval(1000);
    connect(&timerTimeout, &QTimer::timeout, this, &frmMDI::timerTimeout_Tick);
    timerPW.setObjectName(QStringLiteral("timerPW"));
    timerPW.setInterval(1200);
    timerPW.setSingleShot(true);
    timerSplash.setObjectName(QStringLiteral("timerSplash"));
    timerSplash.setSingleShot(true);
    timerSplash.setInterval(100);
    connect(&timerSplash, &QTimer::timeout, this, &frmMDI::timerSplash_Tick);
    m_clipboard.setParent(this);
}

frmMDI::~frmMDI() {
    qApp->removeEventFilter(this);
}

QAction* frmMDI::action(const char* name) const {
    return findChild<QAction*>(QLatin1String(name));
}

void frmMDI::buildMenus() {
    auto menu = [this](QMenu* parent, const char* name) {
        QMenu* m = parent != nullptr ? parent->addMenu(QString()) : menuBar()->addMenu(QString());
        m->setObjectName(QLatin1String(name));
        m->menuAction()->setObjectName(QLatin1String(name) + QStringLiteral("Action"));
        return m;
    };
    auto item = [this](QMenu* parent, const char* name, auto slot) {
        QAction* a = parent->addAction(QString());
        a->setObjectName(QLatin1String(name));
        connect(a, &QAction::triggered, this, slot);
        return a;
    };

    QMenu* file = menu(nullptr, "mnuFile");
    item(file, "mnuFileNew", &frmMDI::mnuFileNew_Click);
    item(file, "mnuFileOpen", &frmMDI::mnuFileOpen_Click);
    item(file, "mnuFileCloseSection", [this] { GotoSection(0); });
    item(file, "mnuFileCloseDB", &frmMDI::mnuFileCloseDB_Click);
    file->addSeparator();
    // The open section's form prints what it shows; the entries stand ready while a form with a report is open.
    const auto report = [this](void (SectionForm::*command)()) {
        return [this, command] {
            if (auto* form = qobject_cast<SectionForm*>(m_sectionForm); form != nullptr && form->hasReport()) {
                (form->*command)();
            }
        };
    };
    item(file, "mnuFilePrint", report(&SectionForm::printReport))->setShortcut(QKeySequence::Print);
    item(file, "mnuFileExportPdf", report(&SectionForm::exportReportPdf));
    action("mnuFilePrint")->setEnabled(false);
    action("mnuFileExportPdf")->setEnabled(false);
    file->addSeparator();
    item(file, "mnuFileQuit", &frmMDI::ShutDown);

    QMenu* edit = menu(nullptr, "mnuEdit");
    item(edit, "mnuEditCut", [this] { mnuEditCopy_Click(true); })->setShortcut(QKeySequence::Cut);
    item(edit, "mnuEditCopy", [this] { mnuEditCopy_Click(false); })->setShortcut(QKeySequence::Copy);
    item(edit, "mnuEditPaste", &frmMDI::mnuEditPaste_Click)->setShortcut(QKeySequence::Paste);
    edit->addSeparator();
    // Find comes with the sections it searches; a build without them has no entry for it.
    QAction* find = item(edit, "mnuEditFind", &frmMDI::mnuEditFind_Click);
    find->setShortcut(QKeySequence::Find);
    find->setVisible(m_options.sectionForms.findsIn(m_sections));
    item(edit, "mnuEditChangePW", &frmMDI::mnuEditChangePW_Click);
    // A file holds one user; there is no command behind the users entry.
    edit->addAction(QString())->setObjectName(QStringLiteral("mnuEditUsers"));
    action("mnuEditUsers")->setEnabled(false);

    QMenu* view = menu(nullptr, "mnuView");
    for (int i = 0; i <= static_cast<int>(sections::Table().size()); ++i) {
        QAction* a = view->addAction(QString());
        a->setObjectName(ArrayElementName("mnuViewSection", i));
        a->setVisible(i == 0 || m_sections.contains(ViewSection(i)));
        connect(a, &QAction::triggered, this, [this, i] { mnuViewSection_Click(i); });
    }
    view->addSeparator();
    item(view, "mnuViewShowPrivate", &frmMDI::mnuViewShowPrivate_Click);

    for (const SectionInfo& info : sections::Table()) {
        if (info.menuName != nullptr) {
            QMenu* m = menu(nullptr, info.menuName);
            m->menuAction()->setVisible(false);
            m_sectionMenus[sections::Number(info.id)] = m;
        }
    }

    QMenu* tools = menu(nullptr, "mnuTools");
    item(tools, "mnuToolsBackup", &frmMDI::mnuToolsBackup_Click);
    QMenu* utilities = menu(tools, "mnuToolsDbUtilities");
    item(utilities, "mnuToolsDbUtilitiesRepairCompact", &frmMDI::mnuToolsDbUtilitiesRepairCompact_Click);
    item(utilities, "mnuToolsDbUtilitiesRestore", &frmMDI::mnuToolsDbUtilitiesRestore_Click);
    tools->addSeparator();
    item(tools, "mnuToolsPreferences", &frmMDI::mnuToolsPreferences_Click);

    QMenu* help = menu(nullptr, "mnuHelp");
    // The help comes with the program, so that it answers without a network or a browser.
    item(help, "mnuHelpOnline", [this] { frmHelp::Show(this); })->setShortcut(QKeySequence::HelpContents);
    item(help, "mnuHelpTipOfDay", &frmMDI::mnuHelpTipOfDay_Click);
    item(help, "mnuHelpWebsite", [this] {
        const QString address = QStringLiteral("https://www.marrowline.example/noctaria");
        if (!QDesktopServices::openUrl(QUrl(address))) {
            m_prompter.message(0, QStringLiteral("No web browser could be started. The website is at\n%1").arg(address),
                               Prompter::Buttons::Ok, Prompter::Icon::Information);
        }
    });
    item(help, "mnuHelpAbout", &frmMDI::mnuHelpAbout_Click);
}

void frmMDI::buildSectionBar() {
    optSection = new QToolBar(this);
    optSection->setObjectName(QStringLiteral("optSection"));
    optSection->setMovable(false);
    optSection->setFloatable(false);
    optSection->setToolButtonStyle(Qt::ToolButtonTextUnderIcon);
    optSection->setIconSize(QSize(40, 40));
    m_sectionGroup = new QActionGroup(this);
    m_sectionGroup->setExclusive(true);
    QList<int> buttons;
    for (const SectionInfo& info : sections::Table()) {
        buttons.append(sections::Number(info.id));
    }
    buttons.append(0);
    for (const int section : buttons) {
        QAction* a = optSection->addAction(Icon(Key(section)), sections::Name(section));
        a->setObjectName(Key(section));
        a->setCheckable(true);
        a->setData(section);
        // The start screen's button is pressed by the program only, and a build shows only its own sections.
        a->setVisible(section != 0 && !m_sections.single() && m_sections.contains(section));
        m_sectionGroup->addAction(a);
        connect(a, &QAction::triggered, this, [this, section] { optSection_ButtonClick(section); });
    }
    addToolBar(Qt::LeftToolBarArea, optSection);
    optSection->setVisible(!m_sections.single());
}

void frmMDI::buildCommandBar() {
    Toolbar1 = new QToolBar(this);
    Toolbar1->setObjectName(QStringLiteral("Toolbar1"));
    Toolbar1->setMovable(false);
    Toolbar1->setIconSize(QSize(28, 28));
    auto button = [this](const char* key, const QString& image) {
        QAction* a = Toolbar1->addAction(Icon(image), QString());
        a->setObjectName(QLatin1String(key));
        return a;
    };
    connect(button("Reset", QStringLiteral("kiExit")), &QAction::triggered, this, &frmMDI::ShutDown);
    connect(button("Lock", QStringLiteral("kiLock")), &QAction::triggered, this, &frmMDI::mnuViewShowPrivate_Click);
    QAction* find = button("Find", QStringLiteral("kiFind"));
    find->setVisible(m_options.sectionForms.findsIn(m_sections));
    connect(find, &QAction::triggered, this, &frmMDI::mnuEditFind_Click);
    Toolbar1->addSeparator();
    const bool calendar = m_sections.contains(sections::Number(SectionId::Calendar));
    for (int i = 0; i < 4; ++i) {
        QAction* a = button(kViewButtons[i], QStringLiteral("kiBlue") + QLatin1String(kViewImages[i]));
        a->setCheckable(true);
        a->setVisible(calendar);
        connect(a, &QAction::triggered, this, [this, i] { SetCalendarViewButton(i); });
    }
    for (const auto& [key, image] :
         {std::pair{"itCalNewApp", "kiNewApp"}, std::pair{"itCalNewAllday", "kiNewAllday"}}) {
        QAction* a = button(key, QLatin1String(image));
        a->setVisible(calendar);
        connect(a, &QAction::triggered, this, [this, name = QLatin1String(key)] { runSectionCommand(name); });
    }
    addToolBar(Qt::TopToolBarArea, Toolbar1);
    Toolbar1->installEventFilter(this);
    Toolbar1->setMouseTracking(true);
}

void frmMDI::buildStatusBar() {
    QStatusBar* staBar1 = statusBar();
    staBar1->setObjectName(QStringLiteral("staBar1"));
    auto panel = [staBar1](const char* name, int stretch) {
        auto* label = new QLabel(staBar1);
        label->setObjectName(QLatin1String(name));
        label->setContentsMargins(6, 0, 6, 0);
        staBar1->addPermanentWidget(label, stretch);
        return label;
    };
    kComment = panel("kComment", 1);
    kDate = panel("kDate", 0);
    kTime = panel("kTime", 0);
    autoshutoff = panel("autoshutoff", 0);
    autoshutoff->setToolTip(QStringLiteral("Idle Countdown to Shutdown"));
}

bool frmMDI::Load() {
    const QString lockPath = m_options.instanceLockPath.isEmpty()
                                 ? QDir(QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation))
                                       .filePath(QStringLiteral("noctaria.lock"))
                                 : m_options.instanceLockPath;
    m_instanceLock = std::make_unique<QLockFile>(lockPath);
    m_instanceLock->setStaleLockTime(0);
    if (!m_instanceLock->tryLock(0)) {
        m_prompter.message(135, MsgText(135), Prompter::Buttons::Ok, Prompter::Icon::Warning);
        m_shutDown = true;
        return false;
    }
    ApplyCaptions(this);
    setWindowTitle(QStringLiteral("Noctaria "));
    OutlookBarEnabled(false);
    EnableDbCommands(false);
    restorePlace();
    m_stack->setCurrentWidget(m_splash);
    show();

    m_session.DbPath = QDir::fromNativeSeparators(RegReadValue(QStringLiteral("MostRecentFiles\\1")));
    m_session.DbIsOpen = false;
    openAtStart();
    if (m_shutDown) {
        return true;
    }

    const int startMode = m_session.DbIsOpen ? m_session.store().preferences.StartMode : 0;
    if (startMode > 0 || m_sections.single()) {
        OutlookBarEnabled(false);
        Toolbar1->setEnabled(false);
        timerSplash.setInterval(1300);
        timerSplash.start();
    } else {
        timerSplash.setInterval(100);
    }
    m_shell.IdleFrozen = false;
    m_shell.activity();
    qApp->installEventFilter(this);
    timerTimeout_Tick();
    timerTimeout.start();
    if (m_session.DbIsOpen) {
        showTips();
        if (startMode == 0) {
            OutlookBarEnabled(true);
        }
        findChild<QMenu*>(QStringLiteral("mnuTools"))->setEnabled(true);
    } else {
        m_prompter.message(97, MsgText(97), Prompter::Buttons::Ok, Prompter::Icon::Warning);
    }
    m_loaded = true;
    return true;
}

void frmMDI::openAtStart() {
    if (file_choice::CheckDatabaseFile(m_session) != 0) {
        if (file_choice::IsFirstRun(m_session)) {
            const int result = file_choice::FirstRunOffer(m_session);
            if (result == StoreError::Fatal) {
                ShutDown();
                return;
            }
            if (result == 0) {
                return;
            }
        }
        runMenuDB();
        return;
    }
    const int result = open_sequence::OpenDatabaseSequence(m_session);
    if (result == StoreError::Fatal) {
        ShutDown();
    } else if (result != 0 && m_session.DbPath.isEmpty()) {
        runMenuDB();
    }
}

bool frmMDI::runMenuDB() {
    for (;;) {
        const int choice = modal::Scoped<frmMenuDB>(this).exec();
        if (choice == frmMenuDB::NewDB) {
            const int result = open_sequence::NewDatabase(m_session);
            if (result == StoreError::Fatal) {
                ShutDown();
                return false;
            }
            if (result == 0) {
                return true;
            }
            continue;
        }
        if (choice == frmMenuDB::OldDB) {
            const QString former = m_session.DbPath;
            const int selected = file_choice::SelectDatabase(m_session);
            if (selected != 0) {
                if (!former.isEmpty() && selected != open_sequence::kDialogCancelled) {
                    return false;
                }
                continue;
            }
            const int result = open_sequence::OpenDatabaseSequence(m_session);
            if (result == StoreError::Fatal) {
                ShutDown();
                return false;
            }
            if (result == 0) {
                return true;
            }
            if (!m_session.DbPath.isEmpty()) {
                return false;
            }
            continue;
        }
        if (!m_session.DbIsOpen) {
            ShutDown();
        }
        return false;
    }
}

void frmMDI::showTips() {
    if (RegReadValue(QStringLiteral("Startup\\ShowTipsAtStartup")) == QLatin1String("0") || !m_sections.all()) {
        return;
    }
    const modal::Scoped<frmTip> tip(this);
    if (tip->hasTip()) {
        tip.exec();
    }
}

void frmMDI::restorePlace() {
    bool ok = true;
    auto read = [&ok](const char* key) {
        bool good = false;
        const int value = RegReadValue(QStringLiteral("Startup\\") + QLatin1String(key)).toInt(&good);
        ok = ok && good;
        return value;
    };
    const int top = read("MDI_Top");
    const int left = read("MDI_Left");
    const int height = read("MDI_Height");
    const int width = read("MDI_Width");
    const int minWidth = m_sections.single() ? kMinWidthWithoutBar : kMinWidthWithBar;
    setMinimumSize(minWidth, kMinHeight);
    if (!ok || height < kMinHeight || width < minWidth) {
        resize(minWidth, kMinHeight);
        if (const QScreen* screen = QGuiApplication::primaryScreen()) {
            move(screen->availableGeometry().center() - rect().center());
        }
        return;
    }
    setGeometry(left, top, width, height);
}

void frmMDI::savePlace() {
    if (windowState() != Qt::WindowNoState) {
        return;
    }
    const QRect place = geometry();
    RegWriteDword(QStringLiteral("Startup\\MDI_Top"), static_cast<quint32>(std::max(place.top(), 0)));
    RegWriteDword(QStringLiteral("Startup\\MDI_Left"), static_cast<quint32>(std::max(place.left(), 0)));
    RegWriteDword(QStringLiteral("Startup\\MDI_Height"), static_cast<quint32>(place.height()));
    RegWriteDword(QStringLiteral("Startup\\MDI_Width"), static_cast<quint32>(place.width()));
}

void frmMDI::penaltyWait(int milliseconds) {
    const QString standBy = QStringLiteral("Stand By");
    m_splash->ShowStatus(standBy);
    ShowStatusComment(standBy);
    QApplication::setOverrideCursor(Qt::WaitCursor);
    // The program stays responsive while the wait runs, but takes no input before it is over.
    const modal::Loop running;
    QEventLoop loop;
    const QMetaObject::Connection done = connect(&timerPW, &QTimer::timeout, &loop, &QEventLoop::quit);
    timerPW.setInterval(milliseconds);
    timerPW.start();
    loop.exec(QEventLoop::ExcludeUserInputEvents);
    disconnect(done);
    QApplication::restoreOverrideCursor();
    m_splash->ShowStatus(QString());
    ShowStatusComment(QString());
}

void frmMDI::OutlookBarEnabled(bool enabled) {
    optSection->setEnabled(enabled);
}

void frmMDI::timerSplash_Tick() {
    timerSplash.stop();
    if (m_session.DbIsOpen) {
        const int start = m_sections.all() ? m_session.store().preferences.StartSection : m_sections.first();
        if (start > 0) {
            optSection_ButtonClick(start);
        }
    }
    OutlookBarEnabled(m_session.DbIsOpen);
    Toolbar1->setEnabled(true);
}

bool frmMDI::GotoSection(int n) {
    if (QAction* button = findChild<QAction*>(Key(n))) {
        button->setChecked(true);
    }
    return optSection_ButtonClick(n);
}

void frmMDI::showSectionCommands(int section) {
    auto* form = qobject_cast<SectionForm*>(m_sectionForm);
    for (const QPointer<QAction>& a : std::as_const(m_sectionTools)) {
        if (a) {
            Toolbar1->removeAction(a);
            // The separator is the bar's own; the section's actions go with their form.
            if (a->isSeparator()) {
                delete a;
            }
        }
    }
    m_sectionTools.clear();
    const bool report = form != nullptr && section > 0 && form->hasReport() && !m_shell.AutoBlocked;
    action("mnuFilePrint")->setEnabled(report);
    action("mnuFileExportPdf")->setEnabled(report);
    if (form != nullptr && section > 0 && !form->toolActions().isEmpty()) {
        m_sectionTools.append(Toolbar1->addSeparator());
        for (QAction* a : form->toolActions()) {
            Toolbar1->addAction(a);
            m_sectionTools.append(a);
        }
    }
    for (const auto& [number, menu] : m_sectionMenus) {
        menu->clear();
        if (number == section && form != nullptr) {
            for (QAction* a : form->menuActions()) {
                if (a != nullptr) {
                    menu->addAction(a);
                } else {
                    menu->addSeparator();
                }
            }
        }
        // A section's menu shows with its section, when the section has commands for it.
        menu->menuAction()->setVisible(number == section && !menu->actions().isEmpty());
    }
}

bool frmMDI::optSection_ButtonClick(int n) {
    QCoreApplication::processEvents();
    ShowStatusComment(QString());
    EnableDbCommands(false);
    showSectionCommands(-1);
    const bool wasBlocked = m_shell.AutoBlocked;
    const int target = m_session.DbIsOpen || n == 0 ? m_shell.enterSection(n) : 0;
    if (target < 0) {
        return false;
    }
    if (wasBlocked) {
        m_splash->ShowStatus(QString());
    }
    showSection(target);
    EnableDbCommands(m_session.DbIsOpen);
    return true;
}

void frmMDI::showSection(int section) {
    if (QAction* button = findChild<QAction*>(Key(section))) {
        button->setChecked(true);
    }
    if (m_sectionForm != nullptr) {
        // A form goes only once no dialog of it has code left running; until then it is out of sight.
        m_stack->removeWidget(m_sectionForm);
        m_sectionForm->hide();
        modal::AfterLoops([form = QPointer<QWidget>(m_sectionForm)] {
            if (form) {
                form->deleteLater();
            }
        });
        m_sectionForm = nullptr;
    }
    if (section == 0) {
        m_stack->setCurrentWidget(m_splash);
    } else {
        m_sectionForm = m_options.sectionForms.create(section, m_session, centralWidget());
        m_stack->addWidget(m_sectionForm);
        m_stack->setCurrentWidget(m_sectionForm);
        if (auto* form = qobject_cast<SectionForm*>(m_sectionForm)) {
            connect(form, &SectionForm::menuChanged, this, [this, form, section] {
                if (m_sectionForm == form) {
                    showSectionCommands(section);
                }
            });
        }
        showSectionCommands(section);
    }
}

void frmMDI::runSectionCommand(const QString& name) {
    const int section = m_options.sectionForms.commandSection(name);
    if (section == 0 || !m_session.DbIsOpen) {
        return;
    }
    // The command works inside its section, so it passes the section's gate first.
    if (m_shell.CurrentSection != section && (!GotoSection(section) || m_shell.CurrentSection != section)) {
        return;
    }
    m_options.sectionForms.runCommand(name, m_session, m_sectionForm);
}

void frmMDI::EnableDbCommands(bool enabled) {
    const bool usable = enabled && !m_shell.AutoBlocked;
    for (const char* name : {"mnuToolsBackup", "mnuToolsDbUtilitiesRepairCompact", "mnuToolsPreferences"}) {
        action(name)->setEnabled(usable);
    }
    findChild<QMenu*>(QStringLiteral("mnuEdit"))->setEnabled(usable);
    // Private records are hidden with one click from every section, the Budget's included.
    action("Lock")->setEnabled(usable && m_session.ShowPrivate);
    action("mnuViewShowPrivate")->setEnabled(usable);
    action("Find")->setEnabled(usable);
    action("mnuEditFind")->setEnabled(usable);
    for (const char* name : {"itCalNewApp", "itCalNewAllday"}) {
        action(name)->setEnabled(usable);
    }
    // While blocked nothing reaches a file or the settings; leaving the program stays possible.
    for (const char* name :
         {"mnuFileNew", "mnuFileOpen", "mnuFileCloseDB", "mnuToolsDbUtilitiesRestore", "mnuHelpTipOfDay"}) {
        action(name)->setEnabled(!m_shell.AutoBlocked);
    }
}

void frmMDI::ShowDatabase(const QString& path) {
    m_splash->ShowDatabase(path);
}

void frmMDI::CloseSections() {
    // Closing is no entry into a section, so it passes no gate: no passphrase, no PIN.
    showSectionCommands(-1);
    m_shell.CurrentSection = 0;
    showSection(0);
}

void frmMDI::HideShow() {
    m_shell.hideShow();
}

void frmMDI::RefreshPrivateViews() {
    action("Lock")->setEnabled(m_session.ShowPrivate && !m_shell.AutoBlocked);
    action("mnuViewShowPrivate")
        ->setText(m_session.ShowPrivate ? QStringLiteral("Hide Private Records")
                                        : QStringLiteral("Show Private Records"));
    const int section = m_shell.CurrentSection;
    if (section == sections::Number(SectionId::Diary) && !m_session.ShowPrivate) {
        GotoSection(0);
        return;
    }
    if (auto* form = qobject_cast<SectionForm*>(m_sectionForm)) {
        form->privateSwitched();
    }
}

void frmMDI::ShowStatusComment(const QString& text, bool onlyIfHelp) {
    // No section has the number the help switch asks for, so such a write never happens.
    if (onlyIfHelp && m_shell.CurrentSection != 21) {
        return;
    }
    kComment->setText(text);
}

void frmMDI::SetCalendarViewButton(int i) {
    m_calendarView = i;
    for (int k = 0; k < 4; ++k) {
        QAction* a = action(kViewButtons[k]);
        a->setChecked(k == i);
    }
    updateViewButtonImages(nullptr);
}

void frmMDI::updateViewButtonImages(QAction* hovered) {
    for (int k = 0; k < 4; ++k) {
        QAction* a = action(kViewButtons[k]);
        const char* colour = k == m_calendarView ? "kiYellow" : (a == hovered ? "kiRed" : "kiBlue");
        const QString image = QLatin1String(colour) + QLatin1String(kViewImages[k]);
        // Only a changed image is written, so the bar does not flicker.
        if (a->property("image").toString() != image) {
            a->setProperty("image", image);
            a->setIcon(Icon(image));
        }
    }
}

void frmMDI::timerTimeout_Tick() {
    const QDateTime now = QDateTime::currentDateTime();
    kDate->setText(dates::ShortDate(now.date()));
    kTime->setText(QLocale().toString(now.time(), QLocale::ShortFormat));
    const ShellState::IdleTick tick = m_shell.timeoutTick();
    if (!tick.countdown.isEmpty()) {
        autoshutoff->setText(tick.countdown);
        autoshutoff->setToolTip(QStringLiteral("Idle Countdown"));
    }
    // Whatever dialog is open goes first, as Esc would; the action follows once no dialog's code is left running.
    switch (tick.action) {
    case ShellState::IdleAction::HidePrivate:
        modal::CloseAll([this] { m_shell.hidePrivateAfterIdle(); });
        break;
    case ShellState::IdleAction::AutoBlock:
        // The data leave the screen at once, the dialogs with them.
        m_stack->setCurrentWidget(m_splash);
        modal::CloseAll([this] {
            GotoSection(0);
            m_shell.blocked();
            // While blocked nothing reaches the data, the file or the settings; the next section entry asks the
            // passphrase.
            EnableDbCommands(false);
            m_splash->ShowStatus(
                tr("The database is locked. Choose a section (View menu) and give the passphrase to go on."));
        });
        break;
    case ShellState::IdleAction::Exit:
        modal::CloseAll([this] { ShutDown(); });
        break;
    case ShellState::IdleAction::None:
        break;
    }
}

bool frmMDI::eventFilter(QObject* watched, QEvent* event) {
    if (IsInput(event->type())) {
        m_shell.activity();
    }
    if (watched == Toolbar1) {
        if (event->type() == QEvent::MouseMove || event->type() == QEvent::HoverMove) {
            const QPoint pos = Toolbar1->mapFromGlobal(QCursor::pos());
            updateViewButtonImages(Toolbar1->actionAt(pos));
        } else if (event->type() == QEvent::Leave) {
            updateViewButtonImages(nullptr);
        }
    }
    return QMainWindow::eventFilter(watched, event);
}

void frmMDI::mnuViewSection_Click(int index) {
    const int section = ViewSection(index);
    if (section != 0 && !m_sections.all() && !m_sections.contains(section)) {
        m_prompter.message(
            0, QStringLiteral("The section %1 is not part of this edition of Noctaria.").arg(sections::Name(section)),
            Prompter::Buttons::Ok, Prompter::Icon::Information);
        return;
    }
    GotoSection(section);
}

void frmMDI::mnuViewShowPrivate_Click() {
    m_shell.switchPrivate();
}

void frmMDI::mnuFileNew_Click() {
    if (!GotoSection(0)) {
        return;
    }
    OutlookBarEnabled(false);
    if (m_session.DbIsOpen) {
        open_sequence::CloseDatabase(m_session);
    }
    const int result = open_sequence::NewDatabase(m_session);
    if (result == StoreError::Fatal) {
        ShutDown();
        return;
    }
    if (result != 0) {
        runMenuDB();
    }
    OutlookBarEnabled(m_session.DbIsOpen);
}

void frmMDI::mnuFileOpen_Click() {
    if (!GotoSection(0)) {
        return;
    }
    OutlookBarEnabled(false);
    // The file that is open stays open until another one has opened.
    const QString former = m_session.DbPath;
    int result = file_choice::SelectDatabase(m_session);
    if (result == 0) {
        result = open_sequence::OpenDatabaseSequence(m_session);
    }
    if (result == StoreError::Fatal) {
        ShutDown();
        return;
    }
    if (result != 0 && m_session.DbIsOpen) {
        m_session.DbPath = former;
    } else if (result != 0 || !m_session.DbIsOpen) {
        runMenuDB();
    }
    OutlookBarEnabled(m_session.DbIsOpen);
}

void frmMDI::mnuFileCloseDB_Click() {
    if (m_session.DbIsOpen && QFileInfo::exists(m_session.DbPath)) {
        open_sequence::CloseDatabase(m_session);
        OutlookBarEnabled(false);
    }
}

void frmMDI::mnuEditCopy_Click(bool cut) {
    QWidget* focus = QApplication::focusWidget();
    if (auto* line = qobject_cast<QLineEdit*>(focus)) {
        if (!line->hasSelectedText() || line->echoMode() != QLineEdit::Normal) {
            return;
        }
        m_clipboard.copy(line->selectedText());
        if (cut && !line->isReadOnly()) {
            // The selection goes by rewriting the text, so no copy of it passes the control's own cut.
            const QString text = line->text();
            const int start = line->selectionStart();
            const int length = static_cast<int>(line->selectedText().size());
            line->setText(text.left(start) + text.mid(start + length));
            line->setCursorPosition(start);
        }
    } else if (auto* plain = qobject_cast<QPlainTextEdit*>(focus)) {
        QTextCursor cursor = plain->textCursor();
        if (cursor.hasSelection()) {
            m_clipboard.copy(cursor.selectedText().replace(QChar::ParagraphSeparator, u'\n'));
            if (cut && !plain->isReadOnly()) {
                cursor.removeSelectedText();
            }
        }
    } else if (auto* rich = qobject_cast<QTextEdit*>(focus)) {
        QTextCursor cursor = rich->textCursor();
        if (cursor.hasSelection()) {
            m_clipboard.copy(cursor.selectedText().replace(QChar::ParagraphSeparator, u'\n'));
            if (cut && !rich->isReadOnly()) {
                cursor.removeSelectedText();
            }
        }
    }
}

void frmMDI::mnuEditPaste_Click() {
    QWidget* focus = QApplication::focusWidget();
    if (auto* line = qobject_cast<QLineEdit*>(focus)) {
        line->paste();
    } else if (auto* plain = qobject_cast<QPlainTextEdit*>(focus)) {
        plain->paste();
    } else if (auto* rich = qobject_cast<QTextEdit*>(focus)) {
        rich->paste();
    }
}

void frmMDI::mnuEditFind_Click() {
    if (!m_session.DbIsOpen || m_shell.AutoBlocked) {
        return;
    }
    const std::optional<FoundRecord> found = m_options.sectionForms.runFind(m_session, m_sections, this);
    // The section's own gate decides whether the record is reached; a refused PIN leaves it at that.
    if (!found || !GotoSection(found->section) || m_shell.CurrentSection != found->section) {
        return;
    }
    if (auto* form = qobject_cast<SectionForm*>(m_sectionForm)) {
        form->showFound(*found);
    } else {
        m_options.sectionForms.runFound(m_session, m_sectionForm, *found);
    }
}

void frmMDI::mnuEditChangePW_Click() {
    if (m_session.DbIsOpen) {
        open_sequence::ChangePassphraseCommand(m_session);
    }
}

void frmMDI::mnuToolsDbUtilitiesRepairCompact_Click() {
    if (!GotoSection(0)) {
        return;
    }
    open_sequence::RepairCompactCommand(m_session, m_session.DbPath);
    OutlookBarEnabled(m_session.DbIsOpen);
    if (!m_session.DbIsOpen) {
        runMenuDB();
    }
}

void frmMDI::mnuToolsBackup_Click() {
    if (!GotoSection(0)) {
        return;
    }
    frmBackup::RunCommand(m_session, this);
    OutlookBarEnabled(m_session.DbIsOpen);
    if (!m_session.DbIsOpen) {
        runMenuDB();
    }
}

void frmMDI::mnuToolsDbUtilitiesRestore_Click() {
    if (!GotoSection(0)) {
        return;
    }
    const auto after = frmRestore::RunCommand(m_session, this);
    if (after == backup_commands::AfterRestore::ShutDown) {
        ShutDown();
        return;
    }
    if (after == backup_commands::AfterRestore::ShowMenu) {
        runMenuDB();
        if (!m_session.DbIsOpen) {
            m_prompter.message(97, MsgText(97), Prompter::Buttons::Ok, Prompter::Icon::Warning);
            ShutDown();
            return;
        }
    }
    OutlookBarEnabled(m_session.DbIsOpen);
}

void frmMDI::mnuToolsPreferences_Click() {
    if (!m_session.DbIsOpen) {
        return;
    }
    if (modal::Scoped<frmOptions>(m_session, this, m_sections.sections()).exec() == frmOptions::kFatal) {
        ShutDown();
    }
}

void frmMDI::mnuHelpTipOfDay_Click() {
    RegWriteDword(QStringLiteral("Startup\\ShowTipsAtStartup"), 1);
    const modal::Scoped<frmTip> tip(this);
    if (tip->hasTip()) {
        tip.exec();
    }
}

void frmMDI::mnuHelpAbout_Click() {
    const modal::Scoped<QMessageBox> about(QMessageBox::Information, QStringLiteral("About Noctaria"),
                                           QStringLiteral("<b>Noctaria</b> %1<br>The encrypted personal organiser.")
                                               .arg(QApplication::applicationVersion()),
                                           QMessageBox::Ok, this);
    about->setIconPixmap(windowIcon().pixmap(64, 64));
    about.exec();
}

void frmMDI::ShutDown() {
    if (m_shutDown) {
        return;
    }
    m_shutDown = true;
    timerTimeout.stop();
    if (m_session.DbIsOpen) {
        open_sequence::CloseDatabase(m_session);
    }
    qApp->removeEventFilter(this);
    m_clipboard.WipeClipboard();
    if (m_loaded) {
        savePlace();
    }
    hide();
    m_instanceLock.reset();
    QCoreApplication::exit(0);
}

void frmMDI::closeEvent(QCloseEvent* event) {
    ShutDown();
    event->accept();
}

#pragma once

#include "shell/frame_link.h"
#include "shell/section_list.h"
#include "shell/shell_state.h"
#include "shell/ui/clipboard_guard.h"
#include "shell/ui/section_forms.h"

#include <QLockFile>
#include <QMainWindow>
#include <QPointer>
#include <QTimer>

#include <functional>
#include <map>
#include <memory>

class QAction;
class QActionGroup;
class QLabel;
class QMenu;
class QStackedLayout;
class QToolBar;
class frmSplash;

// The main frame: menus, the section bar, the command bar, the status bar and the timers. It opens the file at
// start-up, gates every section entry, watches for idleness and is the one way out of the program.
class frmMDI : public QMainWindow, public FrameLink {
    Q_OBJECT
public:
    struct Options {
        QString sectionList = QStringLiteral("17");
        SectionForms sectionForms; // sections without a form show an empty one
        ShellState::Clock clock;   // milliseconds; the system's monotonic clock when empty
        QString instanceLockPath;  // the runtime folder's lock file when empty
    };

    // With a GuiPrompter the frame also takes its status line and the way out of the passphrase dialog.
    frmMDI(Session& session, Prompter& prompter, Options options, QWidget* parent = nullptr);
    ~frmMDI() override;

    // The start-up sequence. Returns false when the program must end at once (a second instance).
    bool Load();

    // Both return false when the entry stopped at the gate (a refused passphrase after a block).
    bool GotoSection(int n);
    bool optSection_ButtonClick(int n);
    void ShowStatusComment(const QString& text, bool onlyIfHelp = false) override;
    void SetCalendarViewButton(int i);
    void ShutDown();
    bool isShutDown() const { return m_shutDown; }

    // FrameLink
    void EnableDbCommands(bool enabled) override;
    void ShowDatabase(const QString& path) override;
    void CloseSections() override;
    void HideShow() override;
    void RefreshPrivateViews() override;

    ShellState& shell() { return m_shell; }
    ClipboardGuard& clipboardGuard() { return m_clipboard; }
    frmSplash* splash() const { return m_splash; }
    QWidget* activeSectionForm() const { return m_sectionForm; }

    QTimer timerTimeout;
    QTimer timerPW;
    QTimer timerSplash;

protected:
    void closeEvent(QCloseEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void buildMenus();
    void buildSectionBar();
    void buildCommandBar();
    void buildStatusBar();
    void restorePlace();
    void savePlace();
    void OutlookBarEnabled(bool enabled);
    void timerTimeout_Tick();
    void timerSplash_Tick();
    void showSectionCommands(int section);
    // A command of the bars that a section carries out, inside that section.
    void runSectionCommand(const QString& name);
    // Unloads the section form on show and builds the chosen one; 0 is the start screen.
    void showSection(int section);
    void penaltyWait(int milliseconds);
    bool runMenuDB();
    void openAtStart();
    void showTips();

    void mnuFileNew_Click();
    void mnuFileOpen_Click();
    void mnuFileCloseDB_Click();
    void mnuViewSection_Click(int index);
    void mnuViewShowPrivate_Click();
    void mnuEditCopy_Click(bool cut);
    void mnuEditPaste_Click();
    // Runs Find and goes to the record chosen, through the section's gate as a section button would.
    void mnuEditFind_Click();
    void mnuEditChangePW_Click();
    void mnuToolsDbUtilitiesRepairCompact_Click();
    void mnuToolsBackup_Click();
    void mnuToolsDbUtilitiesRestore_Click();
    void mnuToolsPreferences_Click();
    void mnuHelpTipOfDay_Click();
    void mnuHelpAbout_Click();
    void updateViewButtonImages(QAction* hovered);
    QAction* action(const char* name) const;

    Session& m_session;
    Prompter& m_prompter;
    Options m_options;
    SectionList m_sections;
    ShellState m_shell;
    ClipboardGuard m_clipboard;
    std::unique_ptr<QLockFile> m_instanceLock;

    frmSplash* m_splash = nullptr;
    QWidget* m_sectionForm = nullptr;
    QStackedLayout* m_stack = nullptr;
    QToolBar* optSection = nullptr;
    QToolBar* Toolbar1 = nullptr;
    QActionGroup* m_sectionGroup = nullptr;
    QLabel* kComment = nullptr;
    QLabel* kDate = nullptr;
    QLabel* kTime = nullptr;
    QLabel* autoshutoff = nullptr;
    std::map<int, QMenu*> m_sectionMenus;
    QList<QPointer<QAction>> m_sectionTools;
    int m_calendarView = 2;
    bool m_shutDown = false;
    bool m_loaded = false;
};

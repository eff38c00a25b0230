#pragma once

#include "shell/options.h"
#include "shell/session.h"

#include <QDialog>
#include <QList>

#include <array>

class QCheckBox;
class QComboBox;
class QFrame;
class QLabel;
class QLineEdit;
class QPushButton;
class QRadioButton;
class QTabWidget;
class QWidget;
class UpDown;

// The preferences: the personal options of the logged-in user, the labels of the contacts' user fields and
// the PIN. Whatever reveals or weakens protection (the Security tab, the idle settings, the PIN, showing
// private data) asks the master passphrase again first. OK writes everything; Cancel writes nothing.
class frmOptions : public QDialog {
    Q_OBJECT
public:
    enum Tab { kStartup = 0, kCalendar = 1, kSecurity = 2, kContacts = 3 };
    // The result when the options could not be written to the user's row: the program must end.
    static constexpr int kFatal = 2;

    // `sections` is the build's section list; 0 offers every section as the start section.
    explicit frmOptions(Session& session, QWidget* parent = nullptr, const QList<int>& sections = {0});

private:
    QWidget* buildStartup();
    QWidget* buildCalendar();
    QWidget* buildSecurity();
    QWidget* buildContacts();
    void Form_Load();

    // The passphrase asked again, with the dialog's own events quiet meanwhile.
    bool confirmPassphrase();
    void tbsOptions_Click(int index);
    void nextTab();
    void cmdChangeIdle_Click();
    void UpDownIdle_Change(int direction);
    void cmdPIN_Click();
    void cmdPINhide_Click();
    void chkShowPrivate_Click(bool checked);
    void CalendarDisplayPrivate_Click(bool checked);
    void cmdPWchange_Click();
    void udHN_Change(int index, int direction);
    void showTimes();
    void cmdOK_Click();

    Session& m_session;
    QList<int> m_sections;
    bool m_loading = false;
    bool m_pinMarked = false;
    options::WorkTimes m_times;

    QTabWidget* tbsOptions = nullptr;
    std::array<QWidget*, 4> picOptions{};

    std::array<QRadioButton*, 3> StartScreen{};
    QComboBox* cboStartApp = nullptr;
    std::array<QRadioButton*, 3> DiaryShow{};
    std::array<QRadioButton*, 2> CatShow{};
    QCheckBox* TodoShowCompleted = nullptr;

    std::array<QRadioButton*, 4> CalView{};
    std::array<QRadioButton*, 6> AppDuration{};
    QLabel* WorkdayStart = nullptr;
    QLabel* WorkdayEnd = nullptr;
    QLabel* DisplayFrom = nullptr;
    std::array<UpDown*, 6> udHN{};
    QComboBox* cboFirstDayOfWeek = nullptr;
    std::array<QRadioButton*, 2> CalendarDisplayPrivate{};

    QLabel* labIdle = nullptr;
    UpDown* UpDownIdle = nullptr;
    QPushButton* cmdChangeIdle = nullptr;
    std::array<QRadioButton*, 3> optIdle{};
    QPushButton* cmdPIN = nullptr;
    QFrame* PinFrame = nullptr;
    QLineEdit* PIN = nullptr;
    std::array<QCheckBox*, options::kPinBoxCount> PinApp{};
    std::array<QRadioButton*, 2> PINeveryaccess{};
    QPushButton* cmdPINhide = nullptr;
    QCheckBox* chkShowPrivate = nullptr;
    QPushButton* cmdPWchange = nullptr;

    QCheckBox* chkBirthday2Calendar = nullptr;
    QCheckBox* chkAnniversary2Calendar = nullptr;
    std::array<QLineEdit*, options::kUserFieldCount> txtUserDefined{};

    QPushButton* cmdOK = nullptr;
    QPushButton* cmdCancel = nullptr;
};

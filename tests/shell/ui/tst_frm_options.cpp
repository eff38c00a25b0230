#include "shell/ui/frm_options.h"

#include "shell/open_sequence.h"
#include "store/keys.h"
#include "store/users.h"
#include "support/scripted_prompter.h"
#include "support/test_databases.h"

#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QSettings>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QToolButton>
#include <QtTest>

#include <memory>

namespace {

const QString kPass = QStringLiteral("Preferences pass 1");
const QString kWrong = QStringLiteral("not the passphrase");

class CountingFrame final : public FrameLink {
public:
    int hideShows = 0;
    void EnableDbCommands(bool) override {}
    void ShowDatabase(const QString&) override {}
    void CloseSections() override {}
    void HideShow() override { ++hideShows; }
};

// A new database, open in a session whose dialogs are answered by the script.
struct Fixture {
    QTemporaryDir dir;
    QString path = dir.filePath(QStringLiteral("prefs.nct"));
    ScriptedPrompter prompter;
    CountingFrame frame;
    std::unique_ptr<Session> session;

    bool create() {
        session = std::make_unique<Session>(prompter, StrongRandom(), &frame);
        const bool made = CreateDatabase(*session, prompter, path, kPass) == 0 && session->DbIsOpen;
        // Only what the dialog asks counts from here on.
        prompter.passphraseRequests.clear();
        prompter.shown.clear();
        return made;
    }
    // Closes the file without writing anything on the way out, then opens it again in a new session, so that
    // only what reached the file is seen.
    bool reopen(const QString& passphrase = kPass) {
        session->store().wipeSecrets();
        session->store().database.Close();
        session = std::make_unique<Session>(prompter, StrongRandom(), &frame);
        return OpenDatabase(*session, prompter, path, passphrase) == 0;
    }
    Store& store() { return session->store(); }
};

template <typename T> T* Find(QWidget& form, const QString& name) {
    T* widget = form.findChild<T*>(name);
    if (widget == nullptr) {
        qWarning("no control %s", qPrintable(name));
    }
    return widget;
}

void Click(QWidget& form, const QString& name) {
    if (auto* button = Find<QAbstractButton>(form, name)) {
        button->click();
    }
}

// One press on an arrow of a spin control.
void Spin(QWidget& form, const QString& control, bool up, int times = 1) {
    QWidget* spin = Find<QWidget>(form, control);
    QToolButton* arrow = spin->findChild<QToolButton*>(up ? QStringLiteral("up") : QStringLiteral("down"));
    for (int i = 0; i < times; ++i) {
        arrow->click();
    }
}

QString Text(QWidget& form, const QString& name) {
    return Find<QLabel>(form, name)->text();
}

bool Checked(QWidget& form, const QString& name) {
    return Find<QAbstractButton>(form, name)->isChecked();
}

} // namespace

class TestFrmOptions : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void loadShowsCaptionsAndTheStoredValues();
    void startSectionsFollowTheSectionList();
    void securityTabAsksThePassphrase();
    void ctrlTabGoesRoundTheTabs();
    void refusedGatesLeaveEverythingAsItWas();
    void okWritesEverythingIntoTheFile();
    void cancelWritesNothing();
    void setPinThenCancelKeepsThePin();
    void setPinThenOkStoresThePin();
    void timeSpinsStopAtTheEdgesOfTheDay();
    void idleUpDownStopsAtFifteenAndZero();
    void passphraseChangeFromTheDialog();

private:
    QTemporaryDir m_settings;
};

void TestFrmOptions::initTestCase() {
    QVERIFY(m_settings.isValid());
    RedirectSettings(m_settings.path());
}

void TestFrmOptions::loadShowsCaptionsAndTheStoredValues() {
    Fixture f;
    QVERIFY(f.create());
    f.store().preferences.IdleMinutes = 7;
    f.store().preferences.IdleAction = 1;
    f.store().preferences.AppDuration = 90;
    f.store().preferences.StartMode = 1;
    f.store().preferences.StartSection = 15;
    f.store().user.options.PinMask = 0b100010;
    f.store().user.options.PinEveryAccess = true;

    frmOptions form(*f.session);
    QCOMPARE(form.objectName(), QStringLiteral("frmOptions"));
    QCOMPARE(form.windowTitle(), QStringLiteral("Preferences"));
    auto* tabs = Find<QTabWidget>(form, QStringLiteral("tbsOptions"));
    QVERIFY(tabs != nullptr);
    QCOMPARE(tabs->count(), 4);
    const QStringList names = {QStringLiteral("Startup"), QStringLiteral("Calendar"), QStringLiteral("Security"),
                               QStringLiteral("Contacts")};
    for (int i = 0; i < 4; ++i) {
        QCOMPARE(tabs->tabText(i), names[i]);
        QCOMPARE(tabs->widget(i)->objectName(), QStringLiteral("picOptions_%1").arg(i));
    }
    QCOMPARE(tabs->currentIndex(), int(frmOptions::kStartup));
    QCOMPARE(Find<QAbstractButton>(form, QStringLiteral("StartScreen_2"))->text(),
             QStringLiteral("Show Last Section Used "));
    QCOMPARE(Find<QAbstractButton>(form, QStringLiteral("optIdle_2"))->text(),
             QStringLiteral("Exit Program (Auto-Shutoff)"));
    QVERIFY(Find<QWidget>(form, QStringLiteral("optIdle_1"))->toolTip().startsWith(u"Program returns to Startscreen."));
    QCOMPARE(Find<QAbstractButton>(form, QStringLiteral("cmdPWchange"))->text(),
             QStringLiteral("Change Master Passphrase"));

    // The stored values, not the caption presets: the end of the working day preset reads 16:00.
    QCOMPARE(Text(form, QStringLiteral("WorkdayStart")), QStringLiteral("08:00"));
    QCOMPARE(Text(form, QStringLiteral("WorkdayEnd")), QStringLiteral("17:00"));
    QCOMPARE(Text(form, QStringLiteral("DisplayFrom")), QStringLiteral("07:30"));
    QCOMPARE(Text(form, QStringLiteral("labIdle")), QStringLiteral("7"));
    QVERIFY(Checked(form, QStringLiteral("optIdle_1")));
    QVERIFY(Checked(form, QStringLiteral("AppDuration_4")));
    QVERIFY(Checked(form, QStringLiteral("StartScreen_1")));
    QCOMPARE(Find<QComboBox>(form, QStringLiteral("cboStartApp"))->currentText(), QStringLiteral("Tasks"));
    QVERIFY(Checked(form, QStringLiteral("DiaryShow_1")));
    QVERIFY(Checked(form, QStringLiteral("CalView_2")));
    QVERIFY(Checked(form, QStringLiteral("CalendarDisplayPrivate_0")));
    QVERIFY(Checked(form, QStringLiteral("chkBirthday2Calendar")));
    QVERIFY(!Checked(form, QStringLiteral("chkShowPrivate")));
    QVERIFY(Checked(form, QStringLiteral("PinApp_1")));
    QVERIFY(Checked(form, QStringLiteral("PinApp_5")));
    QVERIFY(!Checked(form, QStringLiteral("PinApp_0")));
    QVERIFY(Checked(form, QStringLiteral("PINeveryaccess_1")));
    QCOMPARE(Find<QLineEdit>(form, QStringLiteral("PIN"))->text(), f.store().user.options.PinCode);
    QCOMPARE(Find<QLineEdit>(form, QStringLiteral("txtUserDefined_0"))->text(), QStringLiteral("User Def 1"));
    QCOMPARE(Find<QLineEdit>(form, QStringLiteral("txtUserDefined_8"))->text(), QStringLiteral("User Def 9"));
    QVERIFY(Find<QWidget>(form, QStringLiteral("PinFrame"))->isHidden());
    QVERIFY(Find<QWidget>(form, QStringLiteral("UpDownIdle"))->isHidden());
    for (int i = 0; i < 6; ++i) {
        QVERIFY(Find<QWidget>(form, QStringLiteral("udHN_%1").arg(i)) != nullptr);
    }
    // Loading asked nothing.
    QVERIFY(f.prompter.passphraseRequests.isEmpty());
}

void TestFrmOptions::startSectionsFollowTheSectionList() {
    Fixture f;
    QVERIFY(f.create());
    {
        frmOptions all(*f.session);
        auto* start = Find<QComboBox>(all, QStringLiteral("cboStartApp"));
        QCOMPARE(start->count(), 7);
        QCOMPARE(start->itemText(0), QStringLiteral("Contacts"));
        QCOMPARE(start->itemData(3).toInt(), 14);
        QCOMPARE(start->itemText(3), QStringLiteral("Memo"));
        QCOMPARE(start->itemText(6), QStringLiteral("Budget"));
        QCOMPARE(start->currentIndex(), -1); // the start screen is no entry
    }
    frmOptions budget(*f.session, nullptr, {17});
    auto* start = Find<QComboBox>(budget, QStringLiteral("cboStartApp"));
    QCOMPARE(start->count(), 1);
    QCOMPARE(start->itemData(0).toInt(), 17);
    // With no entry chosen, OK takes the first one.
    Click(budget, QStringLiteral("cmdOK"));
    QCOMPARE(f.store().preferences.StartSection, 17);
}

void TestFrmOptions::securityTabAsksThePassphrase() {
    Fixture f;
    QVERIFY(f.create());
    frmOptions form(*f.session);
    auto* tabs = Find<QTabWidget>(form, QStringLiteral("tbsOptions"));
    f.prompter.shown.clear();

    f.prompter.passphrases.enqueue(kWrong);
    tabs->setCurrentIndex(frmOptions::kSecurity);
    QCOMPARE(tabs->currentIndex(), int(frmOptions::kStartup));
    QCOMPARE(f.prompter.numbers(), QList<int>({85}));
    QCOMPARE(f.prompter.waits.size(), 1);

    // From another tab a refusal also leads to Startup; a cancelled dialog says nothing.
    tabs->setCurrentIndex(frmOptions::kContacts);
    f.prompter.passphrases.enqueue(QString());
    tabs->setCurrentIndex(frmOptions::kSecurity);
    QCOMPARE(tabs->currentIndex(), int(frmOptions::kStartup));
    QCOMPARE(f.prompter.numbers(), QList<int>({85}));

    f.prompter.passphrases.enqueue(kPass);
    tabs->setCurrentIndex(frmOptions::kSecurity);
    QCOMPARE(tabs->currentIndex(), int(frmOptions::kSecurity));
    QCOMPARE(f.prompter.passphraseRequests.size(), 3);
    QVERIFY(f.prompter.passphrases.isEmpty());
}

void TestFrmOptions::ctrlTabGoesRoundTheTabs() {
    Fixture f;
    QVERIFY(f.create());
    frmOptions form(*f.session);
    form.show();
    form.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&form));
    auto* tabs = Find<QTabWidget>(form, QStringLiteral("tbsOptions"));
    // From the OK button too, which is outside the tabs.
    Find<QWidget>(form, QStringLiteral("cmdOK"))->setFocus();

    QTest::keyClick(&form, Qt::Key_Tab, Qt::ControlModifier);
    QCOMPARE(tabs->currentIndex(), int(frmOptions::kCalendar));
    f.prompter.passphrases.enqueue(kPass);
    QTest::keyClick(&form, Qt::Key_Tab, Qt::ControlModifier);
    QCOMPARE(tabs->currentIndex(), int(frmOptions::kSecurity));
    QTest::keyClick(&form, Qt::Key_Tab, Qt::ControlModifier);
    QCOMPARE(tabs->currentIndex(), int(frmOptions::kContacts));
    QTest::keyClick(&form, Qt::Key_Tab, Qt::ControlModifier);
    QCOMPARE(tabs->currentIndex(), int(frmOptions::kStartup));
    QCOMPARE(f.prompter.passphraseRequests.size(), 1);
}

void TestFrmOptions::refusedGatesLeaveEverythingAsItWas() {
    Fixture f;
    QVERIFY(f.create());
    frmOptions form(*f.session);
    f.prompter.shown.clear();

    f.prompter.passphrases.enqueue(kWrong);
    Click(form, QStringLiteral("chkShowPrivate"));
    QVERIFY(!Checked(form, QStringLiteral("chkShowPrivate")));

    f.prompter.passphrases.enqueue(kWrong);
    Click(form, QStringLiteral("CalendarDisplayPrivate_1"));
    QVERIFY(Checked(form, QStringLiteral("CalendarDisplayPrivate_0")));
    QVERIFY(!Checked(form, QStringLiteral("CalendarDisplayPrivate_1")));

    f.prompter.passphrases.enqueue(kWrong);
    Click(form, QStringLiteral("cmdChangeIdle"));
    QVERIFY(Find<QWidget>(form, QStringLiteral("UpDownIdle"))->isHidden());
    QVERIFY(!Find<QWidget>(form, QStringLiteral("cmdChangeIdle"))->isHidden());

    f.prompter.passphrases.enqueue(kWrong);
    Click(form, QStringLiteral("cmdPIN"));
    QVERIFY(Find<QWidget>(form, QStringLiteral("PinFrame"))->isHidden());
    QCOMPARE(f.prompter.numbers(), QList<int>({85, 85, 85, 85}));

    // Turning the private option off again needs nothing.
    f.prompter.passphrases.enqueue(kPass);
    Click(form, QStringLiteral("chkShowPrivate"));
    QVERIFY(Checked(form, QStringLiteral("chkShowPrivate")));
    Click(form, QStringLiteral("chkShowPrivate"));
    QVERIFY(!Checked(form, QStringLiteral("chkShowPrivate")));
    QCOMPARE(f.prompter.passphraseRequests.size(), 5);

    f.prompter.passphrases.enqueue(kPass);
    Click(form, QStringLiteral("cmdChangeIdle"));
    QVERIFY(!Find<QWidget>(form, QStringLiteral("UpDownIdle"))->isHidden());
    QVERIFY(Find<QWidget>(form, QStringLiteral("cmdChangeIdle"))->isHidden());
}

void TestFrmOptions::okWritesEverythingIntoTheFile() {
    Fixture f;
    QVERIFY(f.create());
    const Preferences before = f.store().preferences;
    {
        frmOptions form(*f.session);
        Click(form, QStringLiteral("StartScreen_1"));
        auto* start = Find<QComboBox>(form, QStringLiteral("cboStartApp"));
        start->setCurrentIndex(start->findData(13));
        Click(form, QStringLiteral("DiaryShow_0"));
        Click(form, QStringLiteral("CatShow_1"));
        Click(form, QStringLiteral("TodoShowCompleted"));
        Click(form, QStringLiteral("CalView_0"));
        Click(form, QStringLiteral("AppDuration_5"));
        Spin(form, QStringLiteral("udHN_0"), true);     // start 09:00
        Spin(form, QStringLiteral("udHN_4"), false, 2); // end 16:30
        Spin(form, QStringLiteral("udHN_5"), true);     // display 07:45
        auto* week = Find<QComboBox>(form, QStringLiteral("cboFirstDayOfWeek"));
        week->setCurrentIndex(week->findData(before.FirstDayOfWeek == 4 ? 5 : 4));
        Click(form, QStringLiteral("chkBirthday2Calendar"));
        Click(form, QStringLiteral("optIdle_2"));
        f.prompter.passphrases.enqueue(kPass);
        Click(form, QStringLiteral("cmdChangeIdle"));
        Spin(form, QStringLiteral("UpDownIdle"), true, 3);
        f.prompter.passphrases.enqueue(kPass);
        Click(form, QStringLiteral("chkShowPrivate"));
        f.prompter.passphrases.enqueue(kPass);
        Click(form, QStringLiteral("CalendarDisplayPrivate_1"));
        Find<QLineEdit>(form, QStringLiteral("txtUserDefined_0"))->setText(QStringLiteral("Nickname"));
        Find<QLineEdit>(form, QStringLiteral("txtUserDefined_5"))->setText(QStringLiteral("Größe"));
        Find<QLineEdit>(form, QStringLiteral("txtUserDefined_8"))->clear();

        Click(form, QStringLiteral("cmdOK"));
        QCOMPARE(form.result(), int(QDialog::Accepted));
        QCOMPARE(f.frame.hideShows, 1);
        // What is shown now does not change with the option for the next start.
        QVERIFY(!f.session->ShowPrivate);
    }
    QVERIFY(f.reopen());
    const Preferences& p = f.store().preferences;
    QCOMPARE(p.StartMode, 1);
    QCOMPARE(p.StartSection, 13);
    QCOMPARE(p.DiaryShow, 0);
    QCOMPARE(p.CatShow, 1);
    QCOMPARE(p.TodoShowCompleted, 1);
    QCOMPARE(p.CalView, 0);
    QCOMPARE(p.AppDuration, 120);
    QCOMPARE(p.WorkdayStart, 9 * 60);
    QCOMPARE(p.WorkdayEnd, 16 * 60 + 30);
    QCOMPARE(p.DisplayFrom, 7 * 60 + 45);
    QCOMPARE(p.FirstDayOfWeek, before.FirstDayOfWeek == 4 ? 5 : 4);
    QVERIFY(!p.Birthday2Calendar);
    QVERIFY(p.Anniversary2Calendar);
    QCOMPARE(p.IdleAction, 2);
    QCOMPARE(p.IdleMinutes, 8);
    QVERIFY(p.ShowPrivateAtStart);
    QVERIFY(p.CalendarDisplayPrivate);
    QCOMPARE(p.reservedFlag24, before.reservedFlag24);

    // The labels come back in a new dialog; an emptied one shows its default.
    f.prompter.passphrases.enqueue(kPass); // the private option asks nothing on load
    frmOptions again(*f.session);
    QCOMPARE(Find<QLineEdit>(again, QStringLiteral("txtUserDefined_0"))->text(), QStringLiteral("Nickname"));
    QCOMPARE(Find<QLineEdit>(again, QStringLiteral("txtUserDefined_1"))->text(), QStringLiteral("User Def 2"));
    QCOMPARE(Find<QLineEdit>(again, QStringLiteral("txtUserDefined_5"))->text(), QStringLiteral("Größe"));
    QCOMPARE(Find<QLineEdit>(again, QStringLiteral("txtUserDefined_8"))->text(), QStringLiteral("User Def 9"));
    QVERIFY(Checked(again, QStringLiteral("chkShowPrivate")));
    QVERIFY(Checked(again, QStringLiteral("CalendarDisplayPrivate_1")));
    QCOMPARE(Text(again, QStringLiteral("labIdle")), QStringLiteral("8"));
    QCOMPARE(f.prompter.passphrases.size(), 1);
}

void TestFrmOptions::cancelWritesNothing() {
    Fixture f;
    QVERIFY(f.create());
    const QByteArray before = f.store().preferences.toBlob();
    const QByteArray labelsBefore = users::LoadListSettings(f.store());
    {
        frmOptions form(*f.session);
        Click(form, QStringLiteral("CalView_3"));
        Click(form, QStringLiteral("optIdle_1"));
        Spin(form, QStringLiteral("udHN_0"), true, 4);
        Find<QLineEdit>(form, QStringLiteral("txtUserDefined_2"))->setText(QStringLiteral("Changed"));
        Click(form, QStringLiteral("cmdCancel"));
        QCOMPARE(form.result(), int(QDialog::Rejected));
    }
    QCOMPARE(f.store().preferences.toBlob(), before);
    QCOMPARE(f.frame.hideShows, 0);
    QVERIFY(f.reopen());
    QCOMPARE(f.store().preferences.toBlob(), before);
    QCOMPARE(users::LoadListSettings(f.store()), labelsBefore);
}

void TestFrmOptions::setPinThenCancelKeepsThePin() {
    Fixture f;
    QVERIFY(f.create());
    const UserOptions before = f.store().user.options;
    {
        frmOptions form(*f.session);
        f.prompter.passphrases.enqueue(kPass);
        Click(form, QStringLiteral("cmdPIN"));
        QVERIFY(!Find<QWidget>(form, QStringLiteral("PinFrame"))->isHidden());
        Find<QLineEdit>(form, QStringLiteral("PIN"))->setText(QStringLiteral("4711"));
        Click(form, QStringLiteral("PinApp_0"));
        Click(form, QStringLiteral("PINeveryaccess_1"));
        Click(form, QStringLiteral("cmdPINhide"));
        QVERIFY(Find<QWidget>(form, QStringLiteral("PinFrame"))->isHidden());
        Click(form, QStringLiteral("cmdCancel"));
    }
    QCOMPARE(f.store().user.options.PinCode, before.PinCode);
    QVERIFY(f.reopen());
    QCOMPARE(f.store().user.options.PinCode, before.PinCode);
    QCOMPARE(f.store().user.options.PinMask, before.PinMask);
    QCOMPARE(f.store().user.options.PinEveryAccess, before.PinEveryAccess);
}

void TestFrmOptions::setPinThenOkStoresThePin() {
    Fixture f;
    QVERIFY(f.create());
    {
        frmOptions form(*f.session);
        f.prompter.passphrases.enqueue(kPass);
        Click(form, QStringLiteral("cmdPIN"));
        Find<QLineEdit>(form, QStringLiteral("PIN"))->setText(QStringLiteral("a PIN, any length"));
        Click(form, QStringLiteral("PinApp_0"));
        Click(form, QStringLiteral("PinApp_4"));
        Click(form, QStringLiteral("PINeveryaccess_1"));
        Click(form, QStringLiteral("cmdPINhide"));
        Click(form, QStringLiteral("cmdOK"));
    }
    QVERIFY(f.reopen());
    QCOMPARE(f.store().user.options.PinCode, QStringLiteral("a PIN, any length"));
    QCOMPARE(f.store().user.options.PinMask, 0b10001);
    QVERIFY(f.store().user.options.PinEveryAccess);
    // The user row was written keeping the verifier: the passphrase is still confirmed.
    f.prompter.passphrases.enqueue(kPass);
    QVERIFY(keys::ConfirmPassphrase(f.store(), false));
}

void TestFrmOptions::timeSpinsStopAtTheEdgesOfTheDay() {
    Fixture f;
    QVERIFY(f.create());
    frmOptions form(*f.session);
    // Start 08:00 by hours up to 23:45, taking the end along past 17:00.
    Spin(form, QStringLiteral("udHN_0"), true, 15);
    QCOMPARE(Text(form, QStringLiteral("WorkdayStart")), QStringLiteral("23:00"));
    QCOMPARE(Text(form, QStringLiteral("WorkdayEnd")), QStringLiteral("23:00"));
    Spin(form, QStringLiteral("udHN_0"), true);
    QCOMPARE(Text(form, QStringLiteral("WorkdayStart")), QStringLiteral("23:45"));
    Spin(form, QStringLiteral("udHN_0"), true);
    Spin(form, QStringLiteral("udHN_3"), true);
    QCOMPARE(Text(form, QStringLiteral("WorkdayStart")), QStringLiteral("23:45"));
    QCOMPARE(Text(form, QStringLiteral("WorkdayEnd")), QStringLiteral("23:45"));

    // The end down by hours to 00:00 takes the start along.
    Spin(form, QStringLiteral("udHN_1"), false, 23);
    QCOMPARE(Text(form, QStringLiteral("WorkdayEnd")), QStringLiteral("00:45"));
    QCOMPARE(Text(form, QStringLiteral("WorkdayStart")), QStringLiteral("00:45"));
    Spin(form, QStringLiteral("udHN_1"), false);
    QCOMPARE(Text(form, QStringLiteral("WorkdayEnd")), QStringLiteral("00:00"));
    Spin(form, QStringLiteral("udHN_4"), false);
    Spin(form, QStringLiteral("udHN_1"), false);
    QCOMPARE(Text(form, QStringLiteral("WorkdayEnd")), QStringLiteral("00:00"));
    QCOMPARE(Text(form, QStringLiteral("WorkdayStart")), QStringLiteral("00:00"));
    QCOMPARE(Text(form, QStringLiteral("DisplayFrom")), QStringLiteral("07:30"));

    Spin(form, QStringLiteral("udHN_5"), false, 40);
    QCOMPARE(Text(form, QStringLiteral("DisplayFrom")), QStringLiteral("00:00"));
    Click(form, QStringLiteral("cmdOK"));
    QCOMPARE(f.store().preferences.WorkdayStart, 0);
    QCOMPARE(f.store().preferences.WorkdayEnd, 0);
    QCOMPARE(f.store().preferences.DisplayFrom, 0);
}

void TestFrmOptions::idleUpDownStopsAtFifteenAndZero() {
    Fixture f;
    QVERIFY(f.create());
    frmOptions form(*f.session);
    f.prompter.passphrases.enqueue(kPass);
    Click(form, QStringLiteral("cmdChangeIdle"));
    Spin(form, QStringLiteral("UpDownIdle"), true, 9);
    QCOMPARE(Text(form, QStringLiteral("labIdle")), QStringLiteral("14"));
    Spin(form, QStringLiteral("UpDownIdle"), true, 3);
    QCOMPARE(Text(form, QStringLiteral("labIdle")), QStringLiteral("15"));
    Spin(form, QStringLiteral("UpDownIdle"), false, 20);
    QCOMPARE(Text(form, QStringLiteral("labIdle")), QStringLiteral("0"));
    Click(form, QStringLiteral("cmdOK"));
    QCOMPARE(f.store().preferences.IdleMinutes, 0);
}

void TestFrmOptions::passphraseChangeFromTheDialog() {
    Fixture f;
    QVERIFY(f.create());
    const QString newPass = QStringLiteral("Fresh passphrase 2");
    {
        frmOptions form(*f.session);
        f.prompter.shown.clear();
        f.prompter.passphrases.enqueue(kWrong);
        Click(form, QStringLiteral("cmdPWchange"));
        QCOMPARE(f.prompter.numbers(), QList<int>({85}));
        f.prompter.passphrases.enqueue(kPass);
        f.prompter.passphrases.enqueue(newPass);
        Click(form, QStringLiteral("cmdPWchange"));
        QCOMPARE(f.prompter.numbers(), QList<int>({85}));
        QVERIFY(f.prompter.passphrases.isEmpty());
        Click(form, QStringLiteral("cmdOK"));
    }
    QVERIFY(f.reopen(newPass));
}

QTEST_MAIN(TestFrmOptions)
#include "tst_frm_options.moc"

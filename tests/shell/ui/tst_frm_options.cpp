#include "shell/ui/frm_options.h"

#include "shell/open_sequence.h"
#include "store/keys.h"
#include "store/users.h"
#include "support/scripted_prompter.h"
#include "support/test_databases.h"

#include <QAbstractButton>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
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
    void RefreshPrivateViews() override {}
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
    bool reopen() {
        session->store().wipeSecrets();
        session->store().database.Close();
        session = std::make_unique<Session>(prompter, StrongRandom(), &frame);
        return OpenDatabase(*session, prompter, path, kPass) == 0;
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
    Find<QAbstractButton>(form, name)->click();
}

// Presses on an arrow of a spin control.
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

QLineEdit* Label(QWidget& form, int i) {
    return Find<QLineEdit>(form, QStringLiteral("txtUserDefined_%1").arg(i));
}

} // namespace

class TestFrmOptions : public QObject {
    Q_OBJECT

    QTemporaryDir m_settings;

private Q_SLOTS:
    void initTestCase() {
        QVERIFY(m_settings.isValid());
        RedirectSettings(m_settings.path());
    }

    void securityTabAsksThePassphrase() {
        Fixture f;
        QVERIFY(f.create());
        frmOptions form(*f.session);
        auto* tabs = Find<QTabWidget>(form, QStringLiteral("tbsOptions"));

        f.prompter.passphrases.enqueue(kWrong);
        tabs->setCurrentIndex(frmOptions::kSecurity);
        QCOMPARE(tabs->currentIndex(), int(frmOptions::kStartup));
        QCOMPARE(f.prompter.numbers(), QList<int>({85}));

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
    }

    void okWritesIntoTheFileAndLabelsComeBack() {
        Fixture f;
        QVERIFY(f.create());
        {
            frmOptions form(*f.session);
            Click(form, QStringLiteral("StartScreen_1"));
            auto* start = Find<QComboBox>(form, QStringLiteral("cboStartApp"));
            start->setCurrentIndex(start->findData(13));
            Click(form, QStringLiteral("CalView_0"));
            Spin(form, QStringLiteral("udHN_0"), true);     // start 09:00
            Spin(form, QStringLiteral("udHN_4"), false, 2); // end 16:30
            Click(form, QStringLiteral("optIdle_2"));
            f.prompter.passphrases.enqueue(kPass);
            Click(form, QStringLiteral("chkShowPrivate"));
            Label(form, 0)->setText(QStringLiteral("Nickname"));
            Label(form, 5)->setText(QStringLiteral("Größe"));
            Label(form, 8)->clear();

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
        QCOMPARE(p.CalView, 0);
        QCOMPARE(p.WorkdayStart, 9 * 60);
        QCOMPARE(p.WorkdayEnd, 16 * 60 + 30);
        QCOMPARE(p.IdleAction, 2);
        QVERIFY(p.ShowPrivateAtStart);

        // The labels come back in a new dialog; an emptied one shows its default.
        frmOptions again(*f.session);
        QCOMPARE(Label(again, 0)->text(), QStringLiteral("Nickname"));
        QCOMPARE(Label(again, 1)->text(), QStringLiteral("User Def 2"));
        QCOMPARE(Label(again, 5)->text(), QStringLiteral("Größe"));
        QCOMPARE(Label(again, 8)->text(), QStringLiteral("User Def 9"));
        QVERIFY(Checked(again, QStringLiteral("chkShowPrivate")));
    }

    void cancelWritesNothing() {
        Fixture f;
        QVERIFY(f.create());
        const QByteArray before = f.store().preferences.toBlob();
        const QByteArray labelsBefore = users::LoadListSettings(f.store());
        {
            frmOptions form(*f.session);
            Click(form, QStringLiteral("CalView_3"));
            Click(form, QStringLiteral("optIdle_1"));
            Spin(form, QStringLiteral("udHN_0"), true, 4);
            Label(form, 2)->setText(QStringLiteral("Changed"));
            Click(form, QStringLiteral("cmdCancel"));
            QCOMPARE(form.result(), int(QDialog::Rejected));
        }
        QCOMPARE(f.store().preferences.toBlob(), before);
        QCOMPARE(f.frame.hideShows, 0);
        QVERIFY(f.reopen());
        QCOMPARE(f.store().preferences.toBlob(), before);
        QCOMPARE(users::LoadListSettings(f.store()), labelsBefore);
    }

    void setPinThenCancelKeepsThePin() {
        Fixture f;
        QVERIFY(f.create());
        const UserOptions before = f.store().user.options;
        {
            frmOptions form(*f.session);
            f.prompter.passphrases.enqueue(kPass);
            Click(form, QStringLiteral("cmdPIN"));
            Find<QLineEdit>(form, QStringLiteral("PIN"))->setText(QStringLiteral("4711"));
            Click(form, QStringLiteral("PinApp_0"));
            Click(form, QStringLiteral("PINeveryaccess_1"));
            Click(form, QStringLiteral("cmdPINhide"));
            Click(form, QStringLiteral("cmdCancel"));
        }
        QCOMPARE(f.store().user.options.PinCode, before.PinCode);
        QVERIFY(f.reopen());
        QCOMPARE(f.store().user.options.PinCode, before.PinCode);
        QCOMPARE(f.store().user.options.PinMask, before.PinMask);
        QCOMPARE(f.store().user.options.PinEveryAccess, before.PinEveryAccess);
    }

    void setPinThenOkStoresThePin() {
        Fixture f;
        QVERIFY(f.create());
        {
            frmOptions form(*f.session);
            f.prompter.passphrases.enqueue(kPass);
            Click(form, QStringLiteral("cmdPIN"));
            Find<QLineEdit>(form, QStringLiteral("PIN"))->setText(QStringLiteral("a PIN, any length"));
            Click(form, QStringLiteral("PinApp_0"));
            Click(form, QStringLiteral("PinApp_4"));
            Click(form, QStringLiteral("cmdOK"));
        }
        QVERIFY(f.reopen());
        QCOMPARE(f.store().user.options.PinCode, QStringLiteral("a PIN, any length"));
        QCOMPARE(f.store().user.options.PinMask, 0b10001);
        // The user row was written keeping the verifier: the passphrase is still confirmed.
        f.prompter.passphrases.enqueue(kPass);
        QVERIFY(keys::ConfirmPassphrase(f.store(), false));
    }

    void timeSpinsStopAtTheEdgesOfTheDay() {
        Fixture f;
        QVERIFY(f.create());
        frmOptions form(*f.session);
        // The start up by hours and quarters past 23:45 stops there, taking the end along.
        Spin(form, QStringLiteral("udHN_0"), true, 17);
        Spin(form, QStringLiteral("udHN_3"), true);
        QCOMPARE(Text(form, QStringLiteral("WorkdayStart")), QStringLiteral("23:45"));
        QCOMPARE(Text(form, QStringLiteral("WorkdayEnd")), QStringLiteral("23:45"));
        // The end down past 00:00 stops there, taking the start along.
        Spin(form, QStringLiteral("udHN_1"), false, 25);
        Spin(form, QStringLiteral("udHN_4"), false);
        QCOMPARE(Text(form, QStringLiteral("WorkdayEnd")), QStringLiteral("00:00"));
        QCOMPARE(Text(form, QStringLiteral("WorkdayStart")), QStringLiteral("00:00"));
        Spin(form, QStringLiteral("udHN_5"), false, 40);
        QCOMPARE(Text(form, QStringLiteral("DisplayFrom")), QStringLiteral("00:00"));
        Click(form, QStringLiteral("cmdOK"));
        QCOMPARE(f.store().preferences.WorkdayStart, 0);
        QCOMPARE(f.store().preferences.DisplayFrom, 0);
    }

    void idleUpDownStopsAtFifteenAndZero() {
        Fixture f;
        QVERIFY(f.create());
        frmOptions form(*f.session);
        // The arrows stay hidden until the passphrase is given.
        f.prompter.passphrases.enqueue(kWrong);
        Click(form, QStringLiteral("cmdChangeIdle"));
        QVERIFY(Find<QWidget>(form, QStringLiteral("UpDownIdle"))->isHidden());
        f.prompter.passphrases.enqueue(kPass);
        Click(form, QStringLiteral("cmdChangeIdle"));
        Spin(form, QStringLiteral("UpDownIdle"), true, 20);
        QCOMPARE(Text(form, QStringLiteral("labIdle")), QStringLiteral("15"));
        Spin(form, QStringLiteral("UpDownIdle"), false, 20);
        QCOMPARE(Text(form, QStringLiteral("labIdle")), QStringLiteral("0"));
        Click(form, QStringLiteral("cmdOK"));
        QCOMPARE(f.store().preferences.IdleMinutes, 0);
    }
};

QTEST_MAIN(TestFrmOptions)
#include "tst_frm_options.moc"

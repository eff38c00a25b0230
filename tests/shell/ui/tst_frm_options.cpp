#include "shell/ui/frm_options.h"

#include "shell/options.h"

#include "store/keys.h"
#include "store/users.h"
#include "support/gui.h"

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

// Presses on an arrow of a spin control.
void Spin(QWidget& form, const QString& control, bool up, int times = 1) {
    auto* arrow = Find(form, control)->findChild<QToolButton*>(up ? QStringLiteral("up") : QStringLiteral("down"));
    for (int i = 0; i < times; ++i) {
        arrow->click();
    }
}

QString Text(QWidget& form, const QString& name) {
    return Find<QLabel>(form, name)->text();
}

QLineEdit* Label(QWidget& form, int i) {
    return Find<QLineEdit>(form, QStringLiteral("txtUserDefined_%1").arg(i));
}

} // namespace

class TestFrmOptions : public FileTest {
    Q_OBJECT

    CountingFrame m_frame;

private Q_SLOTS:
    void init() {
        m_frame.hideShows = 0;
        QVERIFY(newFile(kPass, &m_frame));
        // Only what the dialog asks counts from here on.
        prompter().forget();
    }

    void securityTabAsksThePassphrase() {
        frmOptions form(m_run->session);
        auto* tabs = Find<QTabWidget>(form, QStringLiteral("tbsOptions"));
        prompter().passphrases << kWrong;
        tabs->setCurrentIndex(frmOptions::kSecurity);
        QCOMPARE(tabs->currentIndex(), int(frmOptions::kStartup));
        QCOMPARE(prompter().numbers(), QList<int>({85}));

        // From another tab a refusal also leads to Startup; a cancelled dialog says nothing.
        tabs->setCurrentIndex(frmOptions::kContacts);
        prompter().passphrases << QString();
        tabs->setCurrentIndex(frmOptions::kSecurity);
        QCOMPARE(tabs->currentIndex(), int(frmOptions::kStartup));
        QCOMPARE(prompter().numbers(), QList<int>({85}));

        prompter().passphrases << kPass;
        tabs->setCurrentIndex(frmOptions::kSecurity);
        QCOMPARE(tabs->currentIndex(), int(frmOptions::kSecurity));
        QCOMPARE(prompter().passphraseRequests.size(), 3);
    }

    void okWritesIntoTheFileAndLabelsComeBack() {
        {
            frmOptions form(m_run->session);
            Click(form, QStringLiteral("StartScreen_1"));
            auto* start = Find<QComboBox>(form, QStringLiteral("cboStartApp"));
            start->setCurrentIndex(start->findData(13));
            Click(form, QStringLiteral("CalView_0"));
            Spin(form, QStringLiteral("udHN_0"), true);     // start 09:00
            Spin(form, QStringLiteral("udHN_4"), false, 2); // end 16:30
            Click(form, QStringLiteral("optIdle_2"));
            prompter().passphrases << kPass;
            Click(form, QStringLiteral("chkShowPrivate"));
            Label(form, 0)->setText(QStringLiteral("Nickname"));
            // Beyond the code page; a separator typed into a label would shift every label behind it.
            Label(form, 4)->setText(QStringLiteral("Кот ✓"));
            Label(form, 2)->setText(QStringLiteral("Second\x11write"));
            Label(form, 8)->clear();
            Click(form, QStringLiteral("cmdOK"));
            QCOMPARE(form.result(), int(QDialog::Accepted));
            QCOMPARE(m_frame.hideShows, 1);
            // What is shown now does not change with the option for the next start.
            QVERIFY(!m_run->session.ShowPrivate);
        }
        {
            // A second save rewrites the user's one row of labels rather than adding to it.
            frmOptions form(m_run->session);
            Label(form, 0)->setText(QStringLiteral("Nick"));
            Click(form, QStringLiteral("cmdOK"));
        }
        QVERIFY(reopen(kPass, &m_frame));
        const Preferences& p = store().preferences;
        QCOMPARE(QList<int>({p.StartMode, p.StartSection, p.CalView, p.WorkdayStart, p.WorkdayEnd, p.IdleAction}),
                 QList<int>({1, 13, 0, 9 * 60, 16 * 60 + 30, 2}));
        QVERIFY(p.ShowPrivateAtStart);
        QVERIFY(m_run->session.ShowPrivate);
        // The labels come back, an emptied one as its default.
        QCOMPARE(options::LoadUserFieldLabels(store()),
                 QStringList({"Nick", "User Def 2", "Secondwrite", "User Def 4", "Кот ✓", "User Def 6", "User Def 7",
                              "User Def 8", "User Def 9"}));
        QCOMPARE(Scalar(store().connection(), QStringLiteral("SELECT count(*) FROM tt WHERE fSec=9 AND fSub=11")), 1);
        frmOptions again(m_run->session);
        QCOMPARE(Label(again, 4)->text(), QStringLiteral("Кот ✓"));
        QCOMPARE(Label(again, 8)->text(), QStringLiteral("User Def 9"));
        QVERIFY(Find<QAbstractButton>(again, QStringLiteral("chkShowPrivate"))->isChecked());
    }

    void pinValuesMarkOnlyRealChanges() {
        UserOptions pin{0, QStringLiteral("1234"), 3, false};
        QVERIFY(!options::TakePinValues(pin, QStringLiteral("1234"), 3, false));
        QVERIFY(options::TakePinValues(pin, QStringLiteral("12345"), 3, false));
        QCOMPARE(pin.PinCode, QStringLiteral("12345"));
        QVERIFY(options::TakePinValues(pin, QStringLiteral("12345"), 1, true));
        QCOMPARE(pin.PinMask, 1);
        QVERIFY(pin.PinEveryAccess);
    }

    void savingOnAVanishedRowIsFatal() {
        store().connection().exec("DELETE FROM tt WHERE fSec=2");
        QCOMPARE(options::SaveOptions(store()), StoreError::Fatal);
        QCOMPARE(prompter().numbers(), QList<int>({83}));
    }

    void cancelWritesNothing() {
        const QByteArray before = store().preferences.toBlob();
        const QByteArray labelsBefore = users::LoadListSettings(store());
        {
            frmOptions form(m_run->session);
            Click(form, QStringLiteral("CalView_3"));
            Click(form, QStringLiteral("optIdle_1"));
            Spin(form, QStringLiteral("udHN_0"), true, 4);
            Label(form, 2)->setText(QStringLiteral("Changed"));
            Click(form, QStringLiteral("cmdCancel"));
            QCOMPARE(form.result(), int(QDialog::Rejected));
        }
        QCOMPARE(store().preferences.toBlob(), before);
        QCOMPARE(m_frame.hideShows, 0);
        QVERIFY(reopen(kPass, &m_frame));
        QCOMPARE(store().preferences.toBlob(), before);
        QCOMPARE(users::LoadListSettings(store()), labelsBefore);
    }

    void pinIsStoredOnlyByOk_data() {
        QTest::addColumn<bool>("ok");
        QTest::newRow("OK") << true;
        QTest::newRow("Cancel") << false;
    }

    void pinIsStoredOnlyByOk() {
        QFETCH(bool, ok);
        const UserOptions before = store().user.options;
        {
            frmOptions form(m_run->session);
            prompter().passphrases << kPass;
            Click(form, QStringLiteral("cmdPIN"));
            Find<QLineEdit>(form, QStringLiteral("PIN"))->setText(QStringLiteral("a PIN, any length"));
            Click(form, QStringLiteral("PinApp_0"));
            Click(form, QStringLiteral("PinApp_4"));
            Click(form, QStringLiteral("PINeveryaccess_1"));
            Click(form, QStringLiteral("cmdPINhide"));
            Click(form, ok ? QStringLiteral("cmdOK") : QStringLiteral("cmdCancel"));
        }
        QCOMPARE(store().user.options.PinCode, ok ? QStringLiteral("a PIN, any length") : before.PinCode);
        QVERIFY(reopen(kPass, &m_frame));
        const UserOptions& after = store().user.options;
        QCOMPARE(after.PinCode, ok ? QStringLiteral("a PIN, any length") : before.PinCode);
        QCOMPARE(after.PinMask, ok ? 0b10001 : before.PinMask);
        QCOMPARE(after.PinEveryAccess, ok ? true : before.PinEveryAccess);
        // The user row was written keeping the verifier: the passphrase is still confirmed.
        prompter().passphrases << kPass;
        QVERIFY(keys::ConfirmPassphrase(store(), false));
    }

    void timeSpinsStopAtTheEdgesOfTheDay() {
        frmOptions form(m_run->session);
        // The start up by hours and quarters stops at 23:45, taking the end along; the end's own steps stop there too.
        Spin(form, QStringLiteral("udHN_0"), true, 17);
        Spin(form, QStringLiteral("udHN_3"), true);
        QCOMPARE(Text(form, QStringLiteral("WorkdayStart")), QStringLiteral("23:45"));
        QCOMPARE(Text(form, QStringLiteral("WorkdayEnd")), QStringLiteral("23:45"));
        Spin(form, QStringLiteral("udHN_1"), true);
        Spin(form, QStringLiteral("udHN_4"), true);
        QCOMPARE(Text(form, QStringLiteral("WorkdayEnd")), QStringLiteral("23:45"));
        // The end down past 00:00 stops there, taking the start along.
        Spin(form, QStringLiteral("udHN_1"), false, 25);
        Spin(form, QStringLiteral("udHN_4"), false);
        QCOMPARE(Text(form, QStringLiteral("WorkdayEnd")), QStringLiteral("00:00"));
        QCOMPARE(Text(form, QStringLiteral("WorkdayStart")), QStringLiteral("00:00"));
        Spin(form, QStringLiteral("udHN_2"), false, 40);
        Spin(form, QStringLiteral("udHN_5"), false);
        QCOMPARE(Text(form, QStringLiteral("DisplayFrom")), QStringLiteral("00:00"));
        Click(form, QStringLiteral("cmdOK"));
        QCOMPARE(store().preferences.WorkdayStart, 0);
        QCOMPARE(store().preferences.DisplayFrom, 0);
    }

    void idleUpDownStopsAtFifteenAndZero() {
        frmOptions form(m_run->session);
        // The arrows stay hidden until the passphrase is given.
        prompter().passphrases << kWrong;
        Click(form, QStringLiteral("cmdChangeIdle"));
        QVERIFY(Find(form, QStringLiteral("UpDownIdle"))->isHidden());
        prompter().passphrases << kPass;
        Click(form, QStringLiteral("cmdChangeIdle"));
        Spin(form, QStringLiteral("UpDownIdle"), true, 20);
        QCOMPARE(Text(form, QStringLiteral("labIdle")), QStringLiteral("15"));
        Spin(form, QStringLiteral("UpDownIdle"), false, 20);
        QCOMPARE(Text(form, QStringLiteral("labIdle")), QStringLiteral("0"));
        Click(form, QStringLiteral("cmdOK"));
        QCOMPARE(store().preferences.IdleMinutes, 0);
    }
};

NCT_GUI_TEST_MAIN(TestFrmOptions)
#include "tst_frm_options.moc"

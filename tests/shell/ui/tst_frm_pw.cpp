#include "shell/ui/frm_pw.h"

#include "shell/catalogue/messages.h"
#include "support/scripted_prompter.h"

#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QtTest>

#include <memory>

namespace {

const QString kStrong = QStringLiteral("Blue moon 1984!");

Prompter::PassphraseRequest NewPassphrase() {
    return {.confirmWanted = true,
            .prompt = MsgText(99),
            .fileName = QStringLiteral("mydata.nct"),
            .folder = QStringLiteral("/home/someone/Documents/Noctaria")};
}

Prompter::PassphraseRequest OpenPassphrase() {
    return {.prompt = MsgText(159), .fileName = QStringLiteral("Budget.nct"), .folder = QStringLiteral("/data")};
}

// One dialog on screen with a scripted prompter behind its message boxes.
struct Dialog {
    ScriptedPrompter prompter;
    std::unique_ptr<frmPW> form;

    explicit Dialog(const Prompter::PassphraseRequest& request)
        : form(std::make_unique<frmPW>(prompter, request)) {
        form->show();
    }
    template <typename T> T* find(const char* name) const { return form->findChild<T*>(QLatin1String(name)); }
    QLineEdit* input() const { return find<QLineEdit>("txtInput"); }
    QPushButton* ok() const { return find<QPushButton>("cmdOK"); }
    QString prompt() const { return find<QLabel>("lblPrompt")->text(); }
    void type(const QString& text) const {
        input()->clear();
        for (const QChar c : text) {
            // Key clicks know ASCII only; other characters arrive as the text of a key event.
            if (c.unicode() < 0x80) {
                QTest::keyClick(input(), c.toLatin1());
            } else {
                QTest::sendKeyEvent(QTest::Click, input(), Qt::Key_unknown, QString(c), Qt::NoModifier);
            }
        }
    }
    void enter(const QString& text) const {
        type(text);
        QTest::mouseClick(ok(), Qt::LeftButton);
    }
    bool accepted() const { return !form->isVisible() && form->result() == QDialog::Accepted; }
    bool rejected() const { return !form->isVisible() && form->result() == QDialog::Rejected; }
};

} // namespace

class TestFrmPw : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void headerAndOptionsFollowTheRequest();
    void okWaitsForEightCharacters();
    void showClearSwitchesTheEcho();
    void confirmationRound();
    void mismatchRetryOrEnd();
    void strengthTest_data();
    void strengthTest();
    void cancelRejects();
};

void TestFrmPw::headerAndOptionsFollowTheRequest() {
    {
        Dialog d(NewPassphrase());
        QCOMPARE(d.find<QLabel>("lblTitle")->text(), QStringLiteral("Database: MYDATA.NCT"));
        QCOMPARE(d.find<QLabel>("lblPath")->text(), QStringLiteral("Folder: /home/someone/Documents/Noctaria"));
        QCOMPARE(d.prompt(), MsgText(99));
        QVERIFY(d.find<QCheckBox>("chkPwLength")->isChecked());
        QVERIFY(d.find<QCheckBox>("chkConfirm")->isChecked());
        QVERIFY(d.find<QCheckBox>("chkCheckPWquality")->isChecked());
        QVERIFY(!d.find<QCheckBox>("chkShowClear")->isChecked());
        QCOMPARE(d.input()->echoMode(), QLineEdit::Password);
        QVERIFY(d.input()->text().isEmpty());
    }
    {
        Dialog d(OpenPassphrase());
        QCOMPARE(d.find<QLabel>("lblTitle")->text(), QStringLiteral("Database: BUDGET.NCT"));
        QCOMPARE(d.find<QLabel>("lblPath")->text(), QStringLiteral("Folder: /data"));
        QCOMPARE(d.prompt(), MsgText(159));
        QVERIFY(d.find<QCheckBox>("chkPwLength")->isChecked());
        QVERIFY(!d.find<QCheckBox>("chkConfirm")->isChecked());
        QVERIFY(!d.find<QCheckBox>("chkCheckPWquality")->isChecked());
    }
    {
        // The PIN: no file, no length rule.
        Dialog d({.prompt = MsgText(126), .checkLength = false});
        QVERIFY(!d.find<QLabel>("lblTitle")->isVisible());
        QVERIFY(!d.find<QLabel>("lblPath")->isVisible());
        QCOMPARE(d.prompt(), QStringLiteral("Enter PIN:"));
        d.enter(QStringLiteral("42"));
        QVERIFY(d.accepted());
        QCOMPARE(d.form->takePassphrase(), QStringLiteral("42"));
    }
}

void TestFrmPw::okWaitsForEightCharacters() {
    Dialog d(OpenPassphrase());
    // An empty entry is a way to cancel, so OK stays usable for it.
    QVERIFY(d.ok()->isEnabled());
    d.type(QStringLiteral("1234567"));
    QVERIFY(!d.ok()->isEnabled());
    QTest::keyClick(d.input(), Qt::Key_8);
    QVERIFY(d.ok()->isEnabled());
    QTest::keyClick(d.input(), Qt::Key_Backspace);
    QVERIFY(!d.ok()->isEnabled());
    d.type(QStringLiteral("12345678"));
    QTest::mouseClick(d.ok(), Qt::LeftButton);
    QVERIFY(d.accepted());
    QCOMPARE(d.form->takePassphrase(), QStringLiteral("12345678"));
    // The text is handed over once and then wiped.
    QVERIFY(d.form->takePassphrase().isEmpty());
    QVERIFY(d.input()->text().isEmpty());
    QVERIFY(d.prompter.shown.isEmpty());

    Dialog pin({.prompt = MsgText(126), .checkLength = false});
    pin.type(QStringLiteral("7"));
    QVERIFY(pin.ok()->isEnabled());
}

void TestFrmPw::showClearSwitchesTheEcho() {
    Dialog d(OpenPassphrase());
    auto* clear = d.find<QCheckBox>("chkShowClear");
    QTest::mouseClick(clear, Qt::LeftButton, {}, QPoint(5, clear->height() / 2));
    QVERIFY(clear->isChecked());
    QCOMPARE(d.input()->echoMode(), QLineEdit::Normal);
    clear->setChecked(false);
    QCOMPARE(d.input()->echoMode(), QLineEdit::Password);
}

void TestFrmPw::confirmationRound() {
    Dialog d(NewPassphrase());
    d.find<QCheckBox>("chkShowClear")->setChecked(true);
    d.enter(kStrong);
    // The second round: the entry is cleared and no longer shown in clear.
    QVERIFY(d.form->isVisible());
    QCOMPARE(d.prompt(), MsgText(42));
    QCOMPARE(d.prompt(), QStringLiteral("Confirm passphrase:"));
    QVERIFY(d.input()->text().isEmpty());
    QVERIFY(!d.find<QCheckBox>("chkShowClear")->isChecked());
    QCOMPARE(d.input()->echoMode(), QLineEdit::Password);
    // An empty second entry is not a cancel.
    QVERIFY(!d.ok()->isEnabled());

    d.enter(kStrong);
    QVERIFY(d.accepted());
    QCOMPARE(d.form->takePassphrase(), kStrong);
    QVERIFY(!d.form->shutDownAsked());
    QVERIFY(d.prompter.shown.isEmpty());
}

void TestFrmPw::mismatchRetryOrEnd() {
    {
        Dialog d(NewPassphrase());
        d.prompter.replies.enqueue(Prompter::Reply::Retry);
        d.enter(kStrong);
        d.enter(kStrong + u'?');
        QCOMPARE(d.prompter.numbers(), QList<int>{84});
        QCOMPARE(d.prompter.shown.first().buttons, Prompter::Buttons::RetryCancel);
        // Retry starts over from the first entry.
        QVERIFY(d.form->isVisible());
        QCOMPARE(d.prompt(), MsgText(99));
        QVERIFY(d.input()->text().isEmpty());
        const QString other = QStringLiteral("Other pass 2");
        d.enter(other);
        QCOMPARE(d.prompt(), MsgText(42));
        d.enter(other);
        QVERIFY(d.accepted());
        QCOMPARE(d.form->takePassphrase(), other);
    }
    {
        Dialog d(NewPassphrase());
        d.enter(kStrong);
        d.enter(QStringLiteral("Something else 3"));
        QCOMPARE(d.prompter.numbers(), QList<int>{84});
        // Cancel at the mismatch ends the program.
        QVERIFY(d.rejected());
        QVERIFY(d.form->shutDownAsked());
        QVERIFY(d.form->takePassphrase().isEmpty());
    }
}

void TestFrmPw::strengthTest_data() {
    QTest::addColumn<QString>("passphrase");
    QTest::addColumn<bool>("weak");
    QTest::newRow("small letters and blanks") << "correct horse battery" << true;
    QTest::newRow("mixed case letters") << "Correct Horse Battery" << true;
    QTest::newRow("capitals only") << "CORRECTHORSE" << true;
    QTest::newRow("with a digit") << "correct horse 7battery" << false;
    QTest::newRow("with punctuation") << "correct, horse battery" << false;
    QTest::newRow("digits only") << "1234567890" << false;
    QTest::newRow("letters beyond ASCII") << "grüne straße" << false;
}

void TestFrmPw::strengthTest() {
    QFETCH(QString, passphrase);
    QFETCH(bool, weak);

    // Declined: the entry is cleared and the first round goes on.
    Dialog d(NewPassphrase());
    d.prompter.replies.enqueue(Prompter::Reply::No);
    d.enter(passphrase);
    QCOMPARE(d.prompter.numbers(), weak ? QList<int>{158} : QList<int>{});
    if (weak) {
        QCOMPARE(d.prompter.shown.first().buttons, Prompter::Buttons::YesNo);
        QCOMPARE(d.prompter.shown.first().text, MsgText(158));
        QCOMPARE(d.prompt(), MsgText(99));
    } else {
        QCOMPARE(d.prompt(), MsgText(42));
    }
    QVERIFY(d.input()->text().isEmpty());
    QVERIFY(d.form->isVisible());

    // Accepted anyway: on to the confirmation, which asks nothing more.
    if (weak) {
        d.prompter.replies.enqueue(Prompter::Reply::Yes);
        d.enter(passphrase);
        QCOMPARE(d.prompt(), MsgText(42));
        d.enter(passphrase);
        QVERIFY(d.accepted());
        QCOMPARE(d.form->takePassphrase(), passphrase);
        QCOMPARE(d.prompter.numbers(), (QList<int>{158, 158}));
    }

    // Opening a file asks no strength of anyone.
    Dialog open(OpenPassphrase());
    open.enter(passphrase);
    QVERIFY(open.accepted());
    QVERIFY(open.prompter.shown.isEmpty());
}

void TestFrmPw::cancelRejects() {
    {
        Dialog d(OpenPassphrase());
        d.type(kStrong);
        QTest::mouseClick(d.find<QPushButton>("cmdCancel"), Qt::LeftButton);
        QVERIFY(d.rejected());
        QVERIFY(!d.form->shutDownAsked());
        QVERIFY(d.form->takePassphrase().isEmpty());
        QVERIFY(d.input()->text().isEmpty());
    }
    {
        // OK on an empty entry is a cancel.
        Dialog d(OpenPassphrase());
        QTest::mouseClick(d.ok(), Qt::LeftButton);
        QVERIFY(d.rejected());
        QVERIFY(!d.form->shutDownAsked());
    }
    {
        // Cancel in the confirmation round drops the first entry too.
        Dialog d(NewPassphrase());
        d.enter(kStrong);
        QTest::mouseClick(d.find<QPushButton>("cmdCancel"), Qt::LeftButton);
        QVERIFY(d.rejected());
        QVERIFY(!d.form->shutDownAsked());
        QVERIFY(d.form->takePassphrase().isEmpty());
    }
}

QTEST_MAIN(TestFrmPw)
#include "tst_frm_pw.moc"

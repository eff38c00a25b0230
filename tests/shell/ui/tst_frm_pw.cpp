#include "shell/ui/frm_pw.h"

#include "base/messages.h"
#include "base/password_strength.h"
#include "support/gui.h"

#include <memory>

namespace {

const QString kStrong = QStringLiteral("Blue moon 1984!");
const Prompter::PassphraseRequest kNew{
    .confirmWanted = true, .prompt = MsgText(99), .fileName = QStringLiteral("a.nct")};
const Prompter::PassphraseRequest kOpen{.prompt = MsgText(159), .fileName = QStringLiteral("a.nct")};

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
            // Key clicks know ASCII only; the text of a key event carries any character.
            QTest::sendKeyEvent(QTest::Click, input(), Qt::Key_unknown, QString(c), Qt::NoModifier);
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
    void okWaitsForEightCharacters() {
        Dialog d(kOpen);
        d.type(QStringLiteral("1234567"));
        QVERIFY(!d.ok()->isEnabled());
        QTest::keyClick(d.input(), Qt::Key_8);
        QVERIFY(d.ok()->isEnabled());
        QTest::mouseClick(d.ok(), Qt::LeftButton);
        QVERIFY(d.accepted());
        // The text is handed over once and then wiped.
        QCOMPARE(d.form->takePassphrase(), QStringLiteral("12345678"));
        QVERIFY(d.form->takePassphrase().isEmpty());
        QVERIFY(d.input()->text().isEmpty());

        // A PIN has no length rule.
        Dialog pin({.prompt = MsgText(126), .checkLength = false});
        pin.type(QStringLiteral("7"));
        QVERIFY(pin.ok()->isEnabled());
    }

    void confirmationRound() {
        Dialog d(kNew);
        // A new passphrase is never empty: Cancel is there for leaving.
        QVERIFY(!d.ok()->isEnabled());
        d.find<QCheckBox>("chkShowClear")->setChecked(true);
        d.enter(kStrong);
        // The second round: the entry is cleared and no longer shown in clear.
        QVERIFY(d.form->isVisible());
        QCOMPARE(d.prompt(), MsgText(42));
        QVERIFY(d.input()->text().isEmpty());
        QCOMPARE(d.input()->echoMode(), QLineEdit::Password);
        d.enter(kStrong);
        QVERIFY(d.accepted());
        QCOMPARE(d.form->takePassphrase(), kStrong);
        QVERIFY(d.prompter.shown.isEmpty());
    }

    void mismatchRetryOrEnd() {
        Dialog retry(kNew);
        retry.prompter.replies.enqueue(Prompter::Reply::Retry);
        retry.enter(kStrong);
        retry.enter(kStrong + u'?');
        QCOMPARE(retry.prompter.numbers(), QList<int>{84});
        QCOMPARE(retry.prompter.shown.first().buttons, Prompter::Buttons::RetryCancel);
        // Retry starts over from the first entry.
        QCOMPARE(retry.prompt(), MsgText(99));
        const QString other = QStringLiteral("Other passphrase 2");
        retry.enter(other);
        retry.enter(other);
        QVERIFY(retry.accepted());
        QCOMPARE(retry.form->takePassphrase(), other);

        // Cancel at the mismatch ends the program.
        Dialog cancel(kNew);
        cancel.enter(kStrong);
        cancel.enter(QStringLiteral("Something else 3"));
        QVERIFY(cancel.rejected());
        QVERIFY(cancel.form->shutDownAsked());
        QVERIFY(cancel.form->takePassphrase().isEmpty());
    }

    void strengthTest_data() {
        QTest::addColumn<QString>("passphrase");
        QTest::addColumn<bool>("weak");
        QTest::newRow("letters and blanks") << "Correct Horse Battery" << true;
        QTest::newRow("with a digit") << "correct horse 7battery" << false;
        QTest::newRow("letters beyond ASCII") << "grüne straße" << false;
    }

    void strengthTest() {
        QFETCH(QString, passphrase);
        QFETCH(bool, weak);
        // Declined: the entry is cleared and the first round goes on.
        Dialog d(kNew);
        d.prompter.replies.enqueue(Prompter::Reply::No);
        d.enter(passphrase);
        QCOMPARE(d.prompter.numbers(), weak ? QList<int>{158} : QList<int>{});
        QCOMPARE(d.prompt(), MsgText(weak ? 99 : 42));
        if (weak) {
            // Accepted anyway: on to the confirmation.
            d.prompter.replies.enqueue(Prompter::Reply::Yes);
            d.enter(passphrase);
            QCOMPARE(d.prompt(), MsgText(42));
        }
        // Opening a file asks no strength of anyone.
        Dialog open(kOpen);
        open.enter(passphrase);
        QVERIFY(open.accepted());
        QVERIFY(open.prompter.shown.isEmpty());
    }

    void guessableNewPassphrase_data() {
        QTest::addColumn<QString>("passphrase");
        QTest::addColumn<QList<int>>("asked");
        QTest::newRow("a word and a digit") << "password1" << QList<int>{0};
        QTest::newRow("digits in a row") << "12345678" << QList<int>{0};
        QTest::newRow("letters only") << "abcdefgh" << QList<int>{158, 0};
        QTest::newRow("hard to guess") << "Other passphrase 2" << QList<int>{};
    }

    void guessableNewPassphrase() {
        QFETCH(QString, passphrase);
        QFETCH(QList<int>, asked);
        // Every question but the last is let pass; the last chooses another: the entry is cleared and the first
        // round goes on.
        Dialog d(kNew);
        for (qsizetype i = 0; i < asked.size(); ++i) {
            d.prompter.replies.enqueue(i + 1 < asked.size() ? Prompter::Reply::Yes : Prompter::Reply::No);
        }
        d.enter(passphrase);
        QCOMPARE(d.prompter.numbers(), asked);
        if (asked.isEmpty()) {
            QCOMPARE(d.prompt(), MsgText(42));
            return;
        }
        QCOMPARE(d.prompt(), MsgText(99));
        QVERIFY(d.input()->text().isEmpty());
        const ScriptedPrompter::Shown warning = d.prompter.shown.last();
        QCOMPARE(warning.buttons, Prompter::Buttons::YesNo);
        QVERIFY2(warning.text.contains(password_strength::Describe(password_strength::Rate(passphrase))),
                 qPrintable(warning.text));
        QVERIFY(!warning.text.contains(passphrase));

        // Kept anyway: the confirmation round, and the passphrase as typed.
        d.prompter.forget();
        for (qsizetype i = 0; i < asked.size(); ++i) {
            d.prompter.replies.enqueue(Prompter::Reply::Yes);
        }
        d.enter(passphrase);
        QCOMPARE(d.prompter.numbers(), asked);
        d.enter(passphrase);
        QVERIFY(d.accepted());
        QCOMPARE(d.form->takePassphrase(), passphrase);
    }

    void meterWhileANewPassphraseIsTyped() {
        Dialog d(kNew);
        auto* meter = d.find<QWidget>("lblStrength");
        QVERIFY(meter != nullptr && meter->isVisible());
        auto* line = meter->findChild<QLabel*>(QStringLiteral("lblDescription"));
        auto* bar = meter->findChild<QProgressBar*>(QStringLiteral("pbrStrength"));
        QVERIFY(!line->isVisible() && !bar->isVisible());
        for (const QString& typed : {QStringLiteral("password1"), kStrong}) {
            d.type(typed);
            const password_strength::Estimate e = password_strength::Rate(typed);
            QVERIFY(line->isVisible() && bar->isVisible());
            QCOMPARE(line->text(), password_strength::Describe(e));
            QCOMPARE(bar->value(), e.score + 1);
        }
        d.input()->clear();
        QVERIFY(!line->isVisible() && !bar->isVisible());
        // The confirmation is compared, not judged.
        d.enter(kStrong);
        QCOMPARE(d.prompt(), MsgText(42));
        QVERIFY(!meter->isVisible());

        Dialog open(kOpen);
        QVERIFY(open.find<QWidget>("lblStrength") == nullptr);
    }

    void cancelRejects() {
        Dialog d(kOpen);
        d.type(kStrong);
        QTest::mouseClick(d.find<QPushButton>("cmdCancel"), Qt::LeftButton);
        QVERIFY(d.rejected());
        QVERIFY(!d.form->shutDownAsked());
        QVERIFY(d.form->takePassphrase().isEmpty());

        // OK on an empty entry is a cancel too.
        Dialog empty(kOpen);
        QTest::mouseClick(empty.ok(), Qt::LeftButton);
        QVERIFY(empty.rejected());

        // Cancel in the confirmation round drops the first entry.
        Dialog second(kNew);
        second.enter(kStrong);
        QTest::mouseClick(second.find<QPushButton>("cmdCancel"), Qt::LeftButton);
        QVERIFY(second.rejected());
        QVERIFY(second.form->takePassphrase().isEmpty());
    }
};

NCT_GUI_TEST_MAIN(TestFrmPw)
#include "tst_frm_pw.moc"

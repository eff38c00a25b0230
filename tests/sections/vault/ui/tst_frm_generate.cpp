#include "sections/vault/ui/frm_generate.h"

#include "base/password_strength.h"
#include "support/gui.h"

#include <memory>

namespace {

// The dialog on screen, its controls by name.
struct Dialog {
    std::unique_ptr<frmGenerate> form = std::make_unique<frmGenerate>();

    Dialog() { form->show(); }
    template <typename T = QWidget> T* find(const char* name) const { return Find<T>(*form, QLatin1String(name)); }
    QCheckBox* box(const char* name) const { return find<QCheckBox>(name); }
    QString preview() const { return find<QLineEdit>("txtPreview")->text(); }
    QString entropy() const { return find<QLabel>("lblEntropy")->text(); }
    template <typename Test> bool everyCharacter(Test test) const {
        const QString value = preview();
        return !value.isEmpty() && std::all_of(value.begin(), value.end(), test);
    }
};

} // namespace

class TestFrmGenerate : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void previewFollowsTheSettings() {
        Dialog d;
        QCOMPARE(d.preview().size(), 20);
        QCOMPARE(d.find<QLineEdit>("txtPreview")->echoMode(), QLineEdit::Normal);
        QVERIFY(d.find<QLineEdit>("txtPreview")->isReadOnly());
        const QString before = d.entropy();
        d.find<QSpinBox>("txtLength")->setValue(128);
        QCOMPARE(d.preview().size(), 128);
        QVERIFY(d.entropy() != before);
        d.box("chkLookAlike")->click();
        QVERIFY(d.everyCharacter(
            [](QChar c) { return password_generator::kLookAlike.find(c.unicode()) == std::u16string_view::npos; }));
        d.box("chkDigits")->click();
        QVERIFY(d.everyCharacter([](QChar c) { return !c.isDigit(); }));
    }

    void lastClassStaysTicked() {
        Dialog d;
        for (const char* name : {"chkLower", "chkUpper", "chkDigits"}) {
            d.box(name)->click();
            QVERIFY(!d.box(name)->isChecked());
        }
        QCheckBox* last = d.box("chkSymbols");
        QVERIFY(!last->isEnabled());
        last->click();
        QVERIFY(last->isChecked());
        QVERIFY(d.everyCharacter([](QChar c) { return !c.isLetterOrNumber(); }));
        // With a second class back, either may go.
        d.box("chkDigits")->click();
        QVERIFY(last->isEnabled());
        last->click();
        QVERIFY(!last->isChecked());
        QVERIFY(!d.box("chkDigits")->isEnabled());
        QVERIFY(d.everyCharacter([](QChar c) { return c.isDigit(); }));
    }

    void wordsMode() {
        Dialog d;
        QVERIFY(!d.find("txtWords")->isEnabled());
        d.find<QRadioButton>("optWords")->click();
        d.find<QSpinBox>("txtWords")->setValue(4);
        QCOMPARE(d.preview().split(u'-').size(), 4);
        QCOMPARE(d.entropy(), password_strength::Describe(
                                  password_strength::FromBits(password_generator::EntropyBits({.words = 4}))));
        for (const char* name : {"txtLength", "chkLower", "chkUpper", "chkDigits", "chkSymbols", "chkLookAlike"}) {
            QVERIFY2(!d.find(name)->isEnabled(), name);
        }
        d.find<QRadioButton>("optCharacters")->click();
        QCOMPARE(d.preview().size(), 20);
    }

    void okGivesThePreview() {
        Dialog d;
        const QString first = d.preview();
        Click(*d.form, QStringLiteral("cmdRegenerate"));
        const QString shown = d.preview();
        QVERIFY(shown != first);
        Click(*d.form, QStringLiteral("cmdOK"));
        QCOMPARE(d.form->result(), int(QDialog::Accepted));
        QCOMPARE(d.form->takeValue(), shown);
        // Handed over once; the preview holds it no longer.
        QVERIFY(d.form->takeValue().isEmpty());
        QVERIFY(d.preview().isEmpty());

        Dialog cancelled;
        Click(*cancelled.form, QStringLiteral("cmdEsc"));
        QCOMPARE(cancelled.form->result(), int(QDialog::Rejected));
        QVERIFY(cancelled.form->takeValue().isEmpty());
    }
};

NCT_GUI_TEST_MAIN(TestFrmGenerate)
#include "tst_frm_generate.moc"

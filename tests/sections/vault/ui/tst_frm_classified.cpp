#include "base/messages.h"
#include "sections/vault/ui/frm_classified.h"
#include "sections/vault/ui/frm_edit_confidential.h"
#include "sections/vault/ui/frm_generate.h"
#include "sections/vault/ui/frm_weak_passwords.h"
#include "sections/vault/vault.h"
#include "shell/ui/clipboard_guard.h"
#include "support/gui.h"
#include "support/section_fixture.h"

#include <memory>

using Reply = Prompter::Reply;
using namespace vault;

class TestFrmClassified : public SectionFixture {
    Q_OBJECT

    std::unique_ptr<frmClassified> m_form;

    std::int32_t seed(int subCategory, const QStringList& values, bool isPrivate = false) {
        Entry entry = NewEntry(store().user.level, subCategory);
        entry.isPrivate = isPrivate;
        for (int i = 0; i < values.size(); ++i) {
            entry.values[static_cast<std::size_t>(i)] = values[i];
        }
        return StoreEntry(store(), entry, QDateTime::currentDateTime()).ok() ? entry.key : 0;
    }
    QStringList titles() const {
        QStringList texts;
        for (int i = 0; i < m_form->ListSelect->count(); ++i) {
            texts << m_form->ListSelect->item(i)->text();
        }
        return texts;
    }
    // Which fields show, and how: '*' masked, '.' plain, '-' hidden.
    QString fieldStates() const {
        QString states;
        for (QLineEdit* field : m_form->txtCtl) {
            states += field->isHidden() ? u'-' : field->echoMode() == QLineEdit::Password ? u'*' : u'.';
        }
        return states;
    }
    void select(std::int32_t key) {
        m_form->listSelect_Initialize(key);
        QCOMPARE(m_form->shownKey(), key);
    }

private Q_SLOTS:
    void init() {
        QVERIFY(freshFile());
        showPrivate(true);
        m_form = std::make_unique<frmClassified>(m_run->session);
        m_form->resize(1100, 700);
        m_form->show();
    }
    void cleanup() {
        ForgetModalWaits();
        m_form.reset();
        open_sequence::CloseDatabase(m_run->session);
        m_run.reset();
    }

    // Before a choice nothing can be added and no list shows; each choice shows its fields, masks and notes label.
    void choosingASubCategory_data() {
        QTest::addColumn<int>("number");
        QTest::addColumn<QString>("states");
        QTest::addColumn<bool>("plainBox");
        QTest::addColumn<QString>("notes");
        QTest::addColumn<QString>("heading");
        QTest::newRow("web login") << 1 << "...*-" << true << "Note"
                                   << "Category:  WEB LOGIN";
        QTest::newRow("bank") << 5 << "....." << false << "Other Info"
                              << "Category:  BANK ACCOUNTS";
        QTest::newRow("credit card") << 7 << "....*" << true << "Note"
                                     << "Category:  CREDIT CARDS";
        QTest::newRow("serial numbers") << 9 << "....-" << false << "Note"
                                        << "Category:  SERIAL NUMBERS";
        QTest::newRow("sim") << 11 << "..*.-" << true << "Note"
                             << "Category:  MOBILE PHONE SIM";
        QTest::newRow("other") << 15 << "...*-" << true << "Note"
                               << "Category:  OTHER";
    }
    void choosingASubCategory() {
        QFETCH(int, number);
        QVERIFY(!m_form->cmdAdd->isEnabled() && m_form->ListSelect->isHidden() && m_form->padFrame->isHidden());
        m_form->cat[static_cast<std::size_t>(number)]->click();
        QCOMPARE(m_form->subCategory(), number);
        QFETCH(QString, states);
        QFETCH(bool, plainBox);
        QFETCH(QString, notes);
        QFETCH(QString, heading);
        QCOMPARE(fieldStates(), states);
        QCOMPARE(!m_form->chkPlainPW->isHidden(), plainBox);
        QCOMPARE(m_form->lblNotes->text(), notes);
        QCOMPARE(m_form->lblCategory->text(), heading);
        QVERIFY(m_form->cmdAdd->isEnabled() && !m_form->ListSelect->isHidden());
    }

    // Plain passwords take the passphrase: a wrong one leaves them masked; hiding private records masks them again.
    void plainPasswordsAskThePassphrase() {
        const std::int32_t key = seed(1, {"Mail", "https://mail.example", "anouk", "Vq7#rT-92kLp"});
        m_form->cat_Click(1);
        select(key);
        prompter().passphrases.enqueue(QStringLiteral("not the passphrase"));
        m_form->chkPlainPW->click();
        QVERIFY(!m_form->chkPlainPW->isChecked());
        QCOMPARE(m_form->txtCtl[3]->echoMode(), QLineEdit::Password);
        prompter().passphrases.enqueue(kFirstUser);
        m_form->chkPlainPW->click();
        QVERIFY(m_form->chkPlainPW->isChecked());
        QCOMPARE(fieldStates(), QStringLiteral("....-"));
        const qsizetype asked = prompter().passphraseRequests.size();
        m_form->chkPlainPW->click();
        QCOMPARE(fieldStates(), QStringLiteral("...*-"));
        QCOMPARE(prompter().passphraseRequests.size(), asked);

        prompter().passphrases.enqueue(kFirstUser);
        m_form->chkPlainPW->click();
        showPrivate(false);
        m_form->privateSwitched();
        QCOMPARE(fieldStates(), QStringLiteral("...*-"));
    }

    // A new record starts private; a changed record needs its first field ("Missing" names it); the list shows it.
    void addThroughTheEditor() {
        m_form->cat_Click(2);
        AnswerDialog<frmEditConfidential>([this](frmEditConfidential& editor) {
            QVERIFY(editor.ctlPrivate->isChecked());
            QCOMPARE(editor.lblTxt[4]->text(), QStringLiteral("POP/SMTP Server"));
            QVERIFY(editor.cmdGenerate[3] != nullptr && editor.cmdGenerate[2] == nullptr);
            QCOMPARE(editor.txtCtl[3]->echoMode(), QLineEdit::Password);
            QTest::keyClicks(editor.txtCtl[1], QStringLiteral("anouk@example.org"));
            editor.cmdOK->click();
            QVERIFY(editor.isVisible());
            QCOMPARE(prompter().shown.last().text, QStringLiteral("Missing: Name"));
            QTest::keyClicks(editor.txtCtl[0], QStringLiteral("Home mail"));
            QTest::keyClicks(editor.txtCtl[3], QStringLiteral("Vq7#rT-92kLp"));
        });
        Click(*m_form, QStringLiteral("cmdAdd"));
        QCOMPARE(titles(), QStringList{QStringLiteral("Home mail")});
        const std::optional<Entry> stored = LoadEntry(store(), m_form->shownKey());
        QVERIFY(stored && stored->isPrivate && stored->subCategory == 2);
        QCOMPARE(stored->values[3], QStringLiteral("Vq7#rT-92kLp"));
        QCOMPARE(m_form->txtCtl[1]->text(), QStringLiteral("anouk@example.org"));
    }

    // OK on a record left as it came passes even with an empty first field, and stores nothing.
    void untouchedRecordPasses() {
        m_form->cat_Click(9);
        const qsizetype asked = prompter().shown.size();
        AnswerDialog<frmEditConfidential>([](frmEditConfidential&) {});
        m_form->cmdAdd_Click();
        QCOMPARE(prompter().shown.size(), asked);
        QCOMPARE(rowsOf(kVaultSection), 0);
    }

    // A new private record stored while private records are hidden is not listed, and the person is told why.
    void privateRecordStoredWhileHidden() {
        showPrivate(false);
        m_form->cat_Click(10);
        AnswerDialog<frmEditConfidential>(
            [](frmEditConfidential& editor) { QTest::keyClicks(editor.txtCtl[0], QStringLiteral("Office suite")); });
        m_form->cmdAdd_Click();
        QVERIFY(titles().isEmpty());
        QCOMPARE(rowsOf(kVaultSection), 1);
        QVERIFY(prompter().shown.last().text.contains(QLatin1String("private records are hidden")));
    }

    // The editor's generator fills the field it stands beside.
    void generatorFillsTheField() {
        const std::int32_t key = seed(1, {"Forum", "", "anouk", "sunshine"});
        m_form->cat_Click(1);
        select(key);
        AnswerDialog<frmEditConfidential>([](frmEditConfidential& editor) {
            WhenModal<frmGenerate>([](frmGenerate* generator) { generator->cmdOK->click(); });
            editor.cmdGenerate[3]->click();
        });
        m_form->cmdEdit_Click();
        const QString now = LoadEntry(store(), key)->values[3];
        QVERIFY(now != QStringLiteral("sunshine"));
        QVERIFY(now.size() >= 12);
    }

    // A value leaves only through the guarded copy: on the clipboard, marked secret, with the wipe armed.
    void copyIsGuarded() {
        ClipboardGuard guard;
        guard.timerClipboard.stop();
        const std::int32_t key = seed(7, {"Visa", "4111 1111 1111 1111", "12/29", "123", "4711"});
        m_form->cat_Click(7);
        select(key);
        Q_EMIT m_form->txtCtl[4]->customContextMenuRequested(QPoint(2, 2));
        auto* copy = m_form->findChild<QAction*>(QStringLiteral("mnuCopyValue"));
        QVERIFY(copy != nullptr);
        copy->trigger();
        QCOMPARE(QGuiApplication::clipboard()->text(), QStringLiteral("4711"));
        QTRY_VERIFY(QGuiApplication::clipboard()->mimeData()->hasFormat(QStringLiteral("x-kde-passwordManagerHint")));
        QVERIFY(guard.timerClipboard.isActive());
        guard.WipeClipboard();
    }

    // Delete asks with the record's title; keys on a list without a selection pick the first entry.
    void deleteAndKeys() {
        const std::int32_t first = seed(13, {"Alpine club", "A. Keller"});
        seed(13, {"Library", "A. Keller"});
        m_form->cat_Click(13);
        QVERIFY(!m_form->cmdDelete->isEnabled());
        QTest::keyClick(m_form->ListSelect, Qt::Key_Down);
        QCOMPARE(m_form->shownKey(), first);
        QVERIFY(m_form->cmdDelete->isEnabled());
        prompter().replies.enqueue(Reply::Ok);
        m_form->cmdDelete_Click();
        QCOMPARE(prompter().shown.last().text, MsgText(79) + QStringLiteral("\n\n   Alpine club"));
        QCOMPARE(titles(), QStringList{QStringLiteral("Library")});
        QVERIFY(m_form->padFrame->isVisible());
    }

    // Hiding private records empties the pane and drops the private titles; the others stay listed.
    void hidingEmptiesThePane() {
        const std::int32_t key = seed(4, {"Build server", "ftp://build", "ci", "Vq7#rT-92kLp"}, true);
        const std::int32_t open = seed(4, {"Mirror", "ftp://mirror", "anonymous"});
        m_form->cat_Click(4);
        select(open);
        showPrivate(false);
        m_form->privateSwitched();
        QCOMPARE(titles(), QStringList{QStringLiteral("Mirror")});
        QVERIFY(m_form->padFrame->isHidden() && m_form->txtCtl[1]->text().isEmpty());
        showPrivate(true);
        m_form->privateSwitched();
        select(key);
    }

    // The weak-or-reused view lists without passwords and leads to the record.
    void weakPasswordsLead() {
        const std::int32_t weak = seed(6, {"Town bank", "", "anouk", "sunshine"});
        WhenModal<frmWeakPasswords>([](frmWeakPasswords* view) {
            const QTreeWidgetItem* row = view->LV->topLevelItem(0);
            QCOMPARE(view->LV->topLevelItemCount(), 1);
            for (int c = 0; c < row->columnCount(); ++c) {
                QVERIFY(!row->text(c).contains(QStringLiteral("sunshine")));
            }
            view->cmdGoto->click();
        });
        m_form->tbrWeakPasswords->trigger();
        QCOMPARE(m_form->subCategory(), 6);
        QCOMPARE(m_form->shownKey(), weak);
    }
};

NCT_GUI_TEST_MAIN(TestFrmClassified)
#include "tst_frm_classified.moc"

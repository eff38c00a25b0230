#include "sections/categories/categories.h"
#include "sections/categories/ui/frm_edit_categories.h"
#include "sections/memos/memo.h"
#include "sections/memos/ui/frm_edit_notepad.h"
#include "sections/memos/ui/frm_notepad.h"
#include "shell/ui/modal.h"
#include "support/gui.h"
#include "support/section_fixture.h"

#include <memory>

using Reply = Prompter::Reply;
using memos::kMemoSection;

namespace {

constexpr int kFood = 1;
constexpr int kRent = 2;
const QString kCategories = QStringLiteral("Food;1;Rent;2");

} // namespace

class TestFrmNotepad : public SectionFixture {
    Q_OBJECT

    std::unique_ptr<frmNotepad> m_form;

    // The form as the frame builds it on entry; the one before goes first, as a section switch takes it.
    void build() {
        m_form.reset();
        m_form = std::make_unique<frmNotepad>(m_run->session);
        m_form->resize(900, 600);
        m_form->show();
    }
    // Memos stored as the editor stores them, each text its subject and " text", then listed.
    std::int32_t seed(const QStringList& subjects, int category = categories::kUnfiled) {
        memos::Memo memo;
        for (const QString& subject : subjects) {
            memo = memos::NewMemo(store().user.level, category, subject, QDateTime::currentDateTime());
            memo.text = subject + QStringLiteral(" text");
            memos::StoreMemo(store(), memo, memo.created);
        }
        m_form->ReloadList();
        return memo.key;
    }
    // The subjects a person sees, in order.
    QStringList listed() const {
        QStringList subjects;
        for (int i = 0; i < m_form->ListSelect->count(); ++i) {
            if (!m_form->ListSelect->item(i)->isHidden()) {
                subjects << m_form->ListSelect->item(i)->text();
            }
        }
        return subjects;
    }
    void select(const QString& subject) {
        const QList<QListWidgetItem*> found = m_form->ListSelect->findItems(subject, Qt::MatchExactly);
        QCOMPARE(found.size(), 1);
        m_form->ListSelect->setCurrentItem(found[0]);
    }
    void showCategory(int id) {
        auto* filter = Find<QComboBox>(*m_form, QStringLiteral("cboCategories"));
        filter->setCurrentIndex(filter->findData(id));
        Q_EMIT filter->activated(filter->currentIndex());
    }
    QString shown(const char* name) const { return Find<QLineEdit>(*m_form, QLatin1String(name))->text(); }
    QString memoText() const { return Find<QPlainTextEdit>(*m_form, QStringLiteral("txtInput"))->toPlainText(); }

private Q_SLOTS:
    void init() {
        QVERIFY(freshFile());
        QCOMPARE(categories::SaveCategoryText(store(), kCategories, kMemoSection), 0);
        showPrivate(true);
        build();
    }
    void cleanup() {
        ForgetModalWaits();
        m_form.reset();
        open_sequence::CloseDatabase(m_run->session);
        m_run.reset();
    }

    void addAsksTheSubjectThenStoresTheEditorsText() {
        // An empty answer and a cancel create nothing; the editor would store a memo without a subject.
        prompter().inputs << QStringLiteral("") << QString() << QStringLiteral("Groceries");
        AnswerDialog<frmEditNotepad>([](frmEditNotepad& editor) {
            QCOMPARE(editor.ctlSubject->text(), QStringLiteral("Groceries"));
            QTest::keyClicks(editor.ctlNote, QStringLiteral("milk and eggs"));
        });
        for (int i = 0; i < 3; ++i) {
            Click(*m_form, QStringLiteral("cmdAdd"));
        }
        QCOMPARE(prompter().inputPrompts, QStringList(3, QStringLiteral("Enter subject:")));
        QCOMPARE(prompter().inputTitles, QStringList(3, QStringLiteral("Memo")));
        QCOMPARE(rowsOf(kMemoSection), 1);
        QCOMPARE(listed(), QStringList{QStringLiteral("Groceries")});
        QCOMPARE(shown("txtSubject"), QStringLiteral("Groceries"));
        QCOMPARE(memoText(), QStringLiteral("milk and eggs"));
        const QString created = Find<QLabel>(*m_form, QStringLiteral("ctlDateCreated"))->text();
        QVERIFY2(created.startsWith(QStringLiteral("Date created: ")) && created.size() > 20, qPrintable(created));
        QVERIFY(m_form->cmdEdit->isEnabled() && m_form->cmdDelete->isEnabled());
        // Stored as shown, and the subject is nowhere in the row as typed.
        QCOMPARE(memos::LoadMemo(store(), m_form->selectedKey())->text, QStringLiteral("milk and eggs"));
        QVERIFY(!plainInRow(m_form->selectedKey(), QStringLiteral("Groceries")));
    }

    void leavingTheEditor_data() {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<bool>("ctrlEnter");
        QTest::newRow("Esc untouched") << "" << false;
        QTest::newRow("Esc after a change") << ", more" << false;
        QTest::newRow("Ctrl+Enter") << ", more" << true;
    }
    void leavingTheEditor() {
        QFETCH(QString, typed);
        QFETCH(bool, ctrlEnter);
        const std::int32_t memo = seed({QStringLiteral("Alpha")});
        const bool asks = !typed.isEmpty() && !ctrlEnter;
        prompter().replies << Reply::No << Reply::Yes;
        // Esc twice at most: the first question is answered No, which keeps the dialog, the second Yes.
        AnswerDialog<frmEditNotepad>(
            [&](frmEditNotepad& editor) {
                QVERIFY(Activated(&editor));
                editor.ctlNote->moveCursor(QTextCursor::End);
                QTest::keyClicks(editor.ctlNote, typed);
                if (ctrlEnter) {
                    QTest::keyClick(editor.ctlNote, Qt::Key_Return, Qt::ControlModifier);
                }
                for (int i = 0; i < 2 && editor.isVisible(); ++i) {
                    QTest::keyClick(editor.ctlNote, Qt::Key_Escape);
                }
            },
            false);
        Click(*m_form, QStringLiteral("cmdEdit"));
        QCOMPARE(prompter().numbers(), (asks ? QList<int>{20, 20} : QList<int>()));
        const QString stored = QStringLiteral("Alpha text") + (ctrlEnter ? typed : QString());
        QCOMPARE(memoText(), stored);
        QCOMPARE(memos::LoadMemo(store(), memo)->text, stored);
    }

    void editAndDelete() {
        seed({"Alpha", "Beta", "Gamma"});
        select(QStringLiteral("Beta"));
        AnswerDialog<frmEditNotepad>(
            [](frmEditNotepad& editor) { editor.ctlSubject->setText(QStringLiteral("Zulu")); });
        Click(*m_form, QStringLiteral("cmdEdit"));
        // The list is sorted again and the selection stays on the memo.
        QCOMPARE(listed(), (QStringList{"Alpha", "Gamma", "Zulu"}));
        QCOMPARE(shown("txtSubject"), QStringLiteral("Zulu"));
        prompter().replies << Reply::Cancel << Reply::Ok;
        Click(*m_form, QStringLiteral("cmdDelete"));
        QCOMPARE(prompter().shown.last().number, 27);
        QCOMPARE(prompter().shown.last().text, QStringLiteral("Confirm deletion of memo:\n\n   Zulu"));
        QCOMPARE(listed().size(), 3);
        Click(*m_form, QStringLiteral("cmdDelete"));
        QCOMPARE(listed(), (QStringList{"Alpha", "Gamma"}));
        QCOMPARE(shown("txtSubject"), QStringLiteral("Gamma"));
        QCOMPARE(rowsOf(kMemoSection), 2);
    }

    void storedMemoTakesTheFilterAlong_data() {
        QTest::addColumn<int>("inView");
        QTest::addColumn<QString>("filedIn");
        QTest::addColumn<bool>("follows");
        QTest::newRow("Food in view, filed in Rent") << kFood << "Rent" << true;
        QTest::newRow("All in view, filed in Rent") << categories::kAll << "Rent" << false;
        QTest::newRow("Food in view, filed in a new category") << kFood << "Travel" << true;
    }
    void storedMemoTakesTheFilterAlong() {
        QFETCH(int, inView);
        QFETCH(QString, filedIn);
        QFETCH(bool, follows);
        showCategory(inView);
        prompter().inputs << QStringLiteral("Lease") << filedIn;
        AnswerDialog<frmEditNotepad>([&](frmEditNotepad& editor) {
            QCOMPARE(editor.ctlCategory->currentData().toInt(), inView == kFood ? kFood : categories::kUnfiled);
            if (editor.ctlCategory->findText(filedIn) < 0) {
                AnswerDialog<frmEditCategories>([](frmEditCategories& list) { list.cmdNew->click(); });
                editor.cmdEditCat->click();
            }
            editor.ctlCategory->setCurrentIndex(editor.ctlCategory->findText(filedIn));
        });
        Click(*m_form, QStringLiteral("cmdAdd"));
        QCOMPARE(m_form->cboCategories->currentText(), follows ? filedIn : m_form->cboCategories->itemText(0));
        QCOMPARE(shown("txtSubject"), QStringLiteral("Lease"));
    }

    void deletingACategoryWithAllInViewDeletesAll() {
        seed({QStringLiteral("Bread")}, kFood);
        seed({QStringLiteral("Loose note")});
        QAction* command = Find<QAction>(*m_form, QStringLiteral("mnuMemoDeleteCategory"));
        prompter().replies << Reply::Ok << Reply::Cancel << Reply::Ok << Reply::Ok;
        command->trigger();
        QCOMPARE(rowsOf(kMemoSection), 2);
        command->trigger();
        QCOMPARE(prompter().numbers(), (QList<int>{80, 81, 80, 81}));
        QCOMPARE(rowsOf(kMemoSection), 0);
        // The category row goes too: the filter offers only All and Unfiled.
        QCOMPARE(rowsOf(records::kCategoryRowSection, kMemoSection), 0);
        QCOMPARE(m_form->cboCategories->count(), 2);
        QVERIFY(listed().isEmpty());
    }

    void shortcuts() {
        seed({QStringLiteral("Alpha")});
        bool edited = false;
        AnswerDialog<frmEditNotepad>([&edited](frmEditNotepad&) { edited = true; }, false);
        for (const Qt::Key key : {Qt::Key_N, Qt::Key_E, Qt::Key_D}) {
            QVERIFY(Activated(m_form.get()));
            m_form->ListSelect->setFocus();
            QTest::keyClick(m_form->ListSelect, key, Qt::ControlModifier);
        }
        QVERIFY(edited);
        QCOMPARE(prompter().inputTitles.size(), 1);
        QCOMPARE(prompter().numbers(), QList<int>{27});
        // With nothing listed, Ctrl+E and Ctrl+D do nothing.
        prompter().replies << Reply::Ok;
        Click(*m_form, QStringLiteral("cmdDelete"));
        prompter().forget();
        edited = false;
        QTest::keyClick(m_form->ListSelect, Qt::Key_E, Qt::ControlModifier);
        QTest::keyClick(m_form->ListSelect, Qt::Key_D, Qt::ControlModifier);
        QVERIFY(!edited && prompter().shown.isEmpty());
    }

    void searchFiltersAsOneTypes() {
        seed({"Ant", "Bee", "Cat"});
        auto* search = Find<QLineEdit>(*m_form, QStringLiteral("txtSearch"));
        QTest::keyClicks(search, QStringLiteral("a"));
        QCOMPARE(listed(), (QStringList{"Ant", "Cat"}));
        QTest::keyClicks(search, QStringLiteral("t"));
        QCOMPARE(listed(), QStringList{QStringLiteral("Cat")});
        QCOMPARE(shown("txtSubject"), QStringLiteral("Cat"));
        QTest::keyClick(search, Qt::Key_Backspace);
        QCOMPARE(listed(), (QStringList{"Ant", "Cat"}));
        // After a deletion the memo shown is one of those listed.
        select(QStringLiteral("Cat"));
        prompter().replies << Reply::Ok;
        Click(*m_form, QStringLiteral("cmdDelete"));
        QCOMPARE(listed(), QStringList{QStringLiteral("Ant")});
        QCOMPARE(shown("txtSubject"), QStringLiteral("Ant"));
        QVERIFY(m_form->cmdEdit->isEnabled());
        QTest::keyClicks(search, QStringLiteral("zz"));
        QVERIFY(listed().isEmpty() && shown("txtSubject").isEmpty() && !m_form->cmdEdit->isEnabled());
        search->clear();
        QCOMPARE(listed(), (QStringList{"Ant", "Bee"}));
    }

    void privateMemoFollowsTheSwitch() {
        seed({QStringLiteral("Shopping")});
        prompter().inputs << QStringLiteral("Plans");
        AnswerDialog<frmEditNotepad>([](frmEditNotepad& editor) {
            editor.ctlNote->setPlainText(QStringLiteral("under the floor"));
            editor.ctlPrivate->setChecked(true);
        });
        Click(*m_form, QStringLiteral("cmdAdd"));
        const std::int32_t key = m_form->selectedKey();
        QCOMPARE(memoText(), QStringLiteral("under the floor"));
        showPrivate(false);
        m_form->privateSwitched();
        QCOMPARE(listed(), QStringList{QStringLiteral("Shopping")});
        QCOMPARE(memoText(), QStringLiteral("Shopping text"));
        QVERIFY(!plainInRow(key, QStringLiteral("Plans")));
        showPrivate(true);
        m_form->privateSwitched();
        QCOMPARE(listed(), (QStringList{"Plans", "Shopping"}));
    }

    void categoryIsRememberedForTheOpenFile() {
        seed({QStringLiteral("Lease")}, kRent);
        showCategory(kRent);
        build();
        QCOMPARE(m_form->selectedCategory(), kRent);
        QCOMPARE(listed(), QStringList{QStringLiteral("Lease")});
        // Another file opens before the form goes, as the frame does it; that file has a Rent of its own.
        const QString other = MadeDatabase(m_dir->filePath(QStringLiteral("other.nct")), kFirstUser, [](Store& s) {
            categories::SaveCategoryText(s, kCategories, kMemoSection);
        });
        QCOMPARE(OpenDatabase(m_run->session, prompter(), other, kFirstUser), 0);
        build();
        QCOMPARE(m_form->selectedCategory(), categories::kAll);
    }

    void idleWatchClosesTheEditor() {
        const std::int32_t key = seed({QStringLiteral("Alpha")});
        AnswerDialog<frmEditNotepad>(
            [this](frmEditNotepad& editor) {
                QTest::keyClicks(editor.ctlNote, QStringLiteral("typed before the watch"));
                // As a block does, the form goes once the dialog's loop has ended.
                modal::CloseAll([this] { m_form.reset(); });
            },
            false);
        Click(*m_form, QStringLiteral("cmdEdit"));
        QTRY_VERIFY(!m_form);
        QVERIFY(prompter().shown.isEmpty());
        QCOMPARE(memos::LoadMemo(store(), key)->text, QStringLiteral("Alpha text"));
        build();
        QCOMPARE(listed(), QStringList{QStringLiteral("Alpha")});
    }
};

NCT_GUI_TEST_MAIN(TestFrmNotepad)
#include "tst_frm_notepad.moc"

#include "base/messages.h"
#include "sections/categories/categories.h"
#include "sections/tasks/task.h"
#include "sections/tasks/ui/frm_edit_todo.h"
#include "sections/tasks/ui/frm_todo.h"
#include "shell/dates.h"
#include "shell/ui/optional_date_edit.h"
#include "support/gui.h"
#include "support/section_fixture.h"

#include <memory>

using Reply = Prompter::Reply;
using namespace tasks;

class TestFrmTodo : public SectionFixture {
    Q_OBJECT

    std::unique_ptr<frmTodo> m_form;
    const QDate m_today = QDate::currentDate();

    std::int32_t seed(const QString& subject, int priority, const QDate& due, bool completed = false) {
        Task task{.owner = store().user.level,
                  .subject = subject,
                  .priority = priority,
                  .due = due,
                  .completed = completed,
                  .done = completed ? m_today : QDate()};
        StoreTask(store(), task);
        return task.key;
    }
    // The tasks in the order a person sees them, each as its subject and one column's text.
    QStringList rows(int column = kTask) const {
        QStringList texts;
        for (int i = 0; i < m_form->TodoList->topLevelItemCount(); ++i) {
            texts << m_form->TodoList->topLevelItem(i)->text(column);
        }
        return texts;
    }
    QTreeWidgetItem* row(const QString& subject) const {
        const QList<QTreeWidgetItem*> found = m_form->TodoList->findItems(subject, Qt::MatchExactly, kTask);
        return found.size() == 1 ? found[0] : nullptr;
    }

private Q_SLOTS:
    void init() {
        QVERIFY(freshFile());
        QCOMPARE(categories::SaveCategoryText(store(), QStringLiteral("Home;1;Work;2"), kTaskSection), 0);
        showPrivate(true);
        store().preferences.TodoShowCompleted = 1;
        m_form = std::make_unique<frmTodo>(m_run->session);
        m_form->resize(1000, 600);
        m_form->show();
    }
    void cleanup() {
        ForgetModalWaits();
        m_form.reset();
        open_sequence::CloseDatabase(m_run->session);
        m_run.reset();
    }

    // The editor refuses an empty task, and a due date in the past becomes today; OK stores and the list shows the
    // row with its marks.
    void addThroughTheEditor() {
        const qsizetype before = prompter().numbers().size();
        AnswerDialog<frmEditTodo>([this](frmEditTodo& editor) {
            editor.cmdOK->click();
            QVERIFY(editor.isVisible());
            QTest::keyClicks(editor.ctlTask, QStringLiteral("Renew the passport"));
            editor.ctlPri[0]->setChecked(true);
            editor.ctlDateDue->hasDate->setChecked(true);
            QCOMPARE(editor.ctlDateDue->date(), m_today);
            editor.ctlDateDue->edit->setDate(m_today.addDays(-3));
            QCOMPARE(editor.ctlDateDue->date(), m_today);
            QTest::keyClicks(editor.ctlNote, QStringLiteral("photos first"));
        });
        Click(*m_form, QStringLiteral("cmdAdd"));
        QCOMPARE(prompter().numbers().mid(before), (QList<int>{297, 24}));
        QCOMPARE(rows(), QStringList{QStringLiteral("Renew the passport")});
        QCOMPARE(rows(kPriority), QStringList{QStringLiteral("X X X")});
        QCOMPARE(rows(kNote), QStringList{QStringLiteral("  N")});
        QCOMPARE(rows(kCat), QStringList{QStringLiteral("Unfiled")});
        const std::optional<Task> stored = LoadTask(store(), m_form->selectedKey());
        QVERIFY(stored && stored->due == m_today && stored->priority == High && stored->memo == "photos first");
    }

    // Ticking a task completes it with today's date; unticking clears the date. Without completed tasks in view a
    // completed task leaves the list.
    void theCheckBoxCompletes() {
        const std::int32_t key = seed(QStringLiteral("Water the plants"), Normal, m_today.addDays(-1));
        m_form->ShowListItems(key);
        QVERIFY(!row(QStringLiteral("Water the plants"))->icon(kTask).isNull());
        row(QStringLiteral("Water the plants"))->setCheckState(kTask, Qt::Checked);
        QTRY_COMPARE(rows(kExec).value(0), dates::ShortDate(m_today));
        QVERIFY(row(QStringLiteral("Water the plants"))->icon(kTask).isNull());
        QCOMPARE(ReadRow(store().connection(), key)->integer(Col::fF3), 1);
        row(QStringLiteral("Water the plants"))->setCheckState(kTask, Qt::Unchecked);
        QTRY_VERIFY(!LoadTask(store(), key)->done.isValid());
        m_form->ShowCompleted->setChecked(false);
        row(QStringLiteral("Water the plants"))->setCheckState(kTask, Qt::Checked);
        QTRY_VERIFY(rows().isEmpty());
        QVERIFY(LoadTask(store(), key)->completed);
    }

    // The rows stand in the composite order first; the Task header steps through its three orders, and the Exec
    // Date header sorts by due date.
    void headersSort() {
        seed(QStringLiteral("b later"), Low, m_today.addDays(5));
        seed(QStringLiteral("a undated"), High, {});
        seed(QStringLiteral("c done"), High, m_today.addDays(1), true);
        seed(QStringLiteral("d overdue"), Low, m_today.addDays(-2));
        m_form->ShowListItems();
        const QStringList composite{"d overdue", "b later", "a undated", "c done"};
        QCOMPARE(rows(), composite);
        m_form->TodoList_ColumnClick(kTask);
        QCOMPARE(rows(), (QStringList{"a undated", "b later", "c done", "d overdue"}));
        m_form->TodoList_ColumnClick(kTask);
        QCOMPARE(rows(), (QStringList{"d overdue", "c done", "b later", "a undated"}));
        m_form->TodoList_ColumnClick(kTask);
        QCOMPARE(rows(), composite);
        m_form->TodoList_ColumnClick(kExec);
        QCOMPARE(m_form->sort().column, int(kDateDue));
        QCOMPARE(rows(), (QStringList{"d overdue", "c done", "b later", "a undated"}));
    }

    // The priority menu is a menu of its own beside its three levels, each with its caption.
    void priorityMenuAndLevels() {
        QCOMPARE(m_form->mnuTodoPriorityMenu->title(), QStringLiteral("&Priority"));
        QStringList levels;
        for (QAction* a : m_form->mnuTodoPriority) {
            levels << a->text();
        }
        QCOMPARE(levels, (QStringList{"&High", "&Normal", "&Low"}));
        const std::int32_t key = seed(QStringLiteral("Sort the photos"), Normal, {});
        m_form->ShowListItems(key);
        m_form->mnuTodoPriority[0]->trigger();
        QCOMPARE(rows(kPriority), QStringList{QStringLiteral("X X X")});
        QCOMPARE(m_form->selectedKey(), key);
    }

    // The deletions ask first; deleting all removes the section's categories too.
    void deletions() {
        seed(QStringLiteral("Open"), Normal, {});
        seed(QStringLiteral("Done"), Normal, {}, true);
        m_form->ShowListItems();
        m_form->TodoList->setCurrentItem(row(QStringLiteral("Open")));
        prompter().replies << Reply::Cancel << Reply::Ok;
        m_form->cmdDelete_Click();
        QCOMPARE(rows().size(), 2);
        QCOMPARE(prompter().shown.last().text, MsgText(29) + QStringLiteral("\n   Open"));
        m_form->DeleteCompleted();
        QCOMPARE(rows(), QStringList{QStringLiteral("Open")});
        prompter().replies << Reply::Ok << Reply::Ok;
        m_form->DeleteAll();
        QVERIFY(rows().isEmpty());
        QCOMPARE(rowsOf(categories::kCategoryRowSection, kTaskSection), 0);
        QCOMPARE(prompter().numbers().mid(prompter().numbers().size() - 3), (QList<int>{82, 80, 81}));
    }

    // A completed task's due date stays; Esc on a changed task asks whether to store it, then whether to drop it.
    void editorGuardsItsChanges() {
        seed(QStringLiteral("Filed"), Normal, m_today.addDays(4), true);
        m_form->ShowListItems();
        prompter().replies << Reply::Ok << Reply::No << Reply::Yes;
        AnswerDialog<frmEditTodo>(
            [this](frmEditTodo& editor) {
                editor.ctlDateDue->edit->setDate(m_today.addDays(9));
                QCOMPARE(editor.ctlDateDue->date(), m_today.addDays(4));
                QTest::keyClicks(editor.ctlTask, QStringLiteral(" away"));
                editor.cmdEsc->click();
                QVERIFY(!editor.isVisible());
            },
            false);
        m_form->cmdEdit_Click();
        QCOMPARE(prompter().numbers(), (QList<int>{23, 26, 20}));
        QCOMPARE(rows(), QStringList{QStringLiteral("Filed")});
    }
};

NCT_GUI_TEST_MAIN(TestFrmTodo)
#include "tst_frm_todo.moc"

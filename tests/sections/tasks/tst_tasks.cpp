#include "sections/record_store.h"
#include "sections/tasks/task.h"
#include "support/section_fixture.h"

namespace {

using namespace tasks;

const QDate kToday(2026, 11, 25);

Task Make(const QString& subject, int priority, const QDate& due, bool completed = false) {
    return Task{.subject = subject,
                .priority = priority,
                .due = due,
                .completed = completed,
                .done = completed ? kToday : QDate()};
}

QStringList Subjects(const QVector<Task>& tasks) {
    QStringList subjects;
    for (const Task& t : tasks) {
        subjects << t.subject;
    }
    return subjects;
}

} // namespace

class TestTasks : public SectionFixture {
    Q_OBJECT

    std::int32_t stored(Task task) {
        task.owner = store().user.level;
        return StoreTask(store(), task).ok() ? task.key : -1;
    }

private Q_SLOTS:
    void init() { QVERIFY(freshFile()); }

    // The list sorts by these texts as plain text, so their order is the order a person sees.
    void sortTexts_data() {
        QTest::addColumn<Task>("task");
        QTest::addColumn<QString>("due");
        QTest::addColumn<QString>("done");
        QTest::addColumn<QString>("composite");
        QTest::addColumn<bool>("overdue");
        // 2026-11-25 is OLE day 46351.
        QTest::newRow("no due date sorts after every date") << Make("a", Low, {}) << "1999999"
                                                            << "1999999"
                                                            << "011999999" + QString("2") << false;
        QTest::newRow("due tomorrow") << Make("b", High, kToday.addDays(1)) << "0046352"
                                      << "1999999"
                                      << "0100463520" << false;
        QTest::newRow("due today is not overdue") << Make("c", Normal, kToday) << "0046351"
                                                  << "1999999"
                                                  << "0100463511" << false;
        QTest::newRow("overdue") << Make("d", Normal, kToday.addDays(-1)) << "0046350"
                                 << "1999999"
                                 << "0000463501" << true;
        QTest::newRow("completed overdue: completed first, no overdue mark")
            << Make("e", High, kToday.addDays(-1), true) << "0046350"
            << "0046351"
            << "1000463500" << false;
    }
    void sortTexts() {
        QFETCH(Task, task);
        QFETCH(QString, due);
        QFETCH(QString, done);
        QFETCH(QString, composite);
        QFETCH(bool, overdue);
        QCOMPARE(DueSort(task), due);
        QCOMPARE(DoneSort(task), done);
        QCOMPARE(CompositeSort(task, kToday), composite);
        QCOMPARE(IsOverdue(task, kToday), overdue);
    }

    // Each row is a click on a header after the order in the first two columns.
    void columnClicks_data() {
        QTest::addColumn<int>("lastColumn");
        QTest::addColumn<bool>("lastDescending");
        QTest::addColumn<int>("clicked");
        QTest::addColumn<int>("column");
        QTest::addColumn<bool>("descending");
        QTest::newRow("Task from the composite order") << int(kSort) << false << int(kTask) << int(kTask) << false;
        QTest::newRow("Task again") << int(kTask) << false << int(kTask) << int(kTask) << true;
        QTest::newRow("Task a third time") << int(kTask) << true << int(kTask) << int(kSort) << false;
        QTest::newRow("Task from another column") << int(kPriority) << true << int(kTask) << int(kSort) << false;
        QTest::newRow("Due Date sorts by due date") << int(kSort) << false << int(kDue) << int(kDateDue) << false;
        QTest::newRow("Exec Date sorts by due date too") << int(kSort) << false << int(kExec) << int(kDateDue) << false;
        QTest::newRow("Exec Date after Due Date flips")
            << int(kDateDue) << false << int(kExec) << int(kDateDue) << true;
        QTest::newRow("priority starts descending") << int(kSort) << false << int(kPriority) << int(kPriority) << true;
        QTest::newRow("category starts ascending") << int(kSort) << false << int(kCat) << int(kCat) << false;
        QTest::newRow("the same column flips") << int(kCat) << false << int(kCat) << int(kCat) << true;
    }
    void columnClicks() {
        QFETCH(int, lastColumn);
        QFETCH(bool, lastDescending);
        QFETCH(int, clicked);
        QFETCH(int, column);
        QFETCH(bool, descending);
        const TodoSort after = SortAfterClick({lastColumn, lastDescending}, clicked);
        QCOMPARE(after.column, column);
        QCOMPARE(after.descending, descending);
    }

    void dueDateRules_data() {
        QTest::addColumn<bool>("completed");
        QTest::addColumn<QDate>("wanted");
        QTest::addColumn<QDate>("date");
        QTest::addColumn<int>("message");
        QTest::addColumn<bool>("refused");
        QTest::newRow("completed") << true << kToday.addDays(2) << QDate() << 23 << true;
        QTest::newRow("past becomes today") << false << kToday.addDays(-1) << kToday << 24 << false;
        QTest::newRow("today") << false << kToday << kToday << 0 << false;
        QTest::newRow("later") << false << kToday.addDays(9) << kToday.addDays(9) << 0 << false;
        QTest::newRow("no date") << false << QDate() << QDate() << 0 << false;
        QTest::newRow("the last day kept") << false << QDate(2079, 1, 13) << QDate(2079, 1, 13) << 0 << false;
        QTest::newRow("a day too late") << false << QDate(2079, 1, 14) << QDate() << 0 << true;
    }
    void dueDateRules() {
        QFETCH(bool, completed);
        QFETCH(QDate, wanted);
        QFETCH(QDate, date);
        QFETCH(int, message);
        QFETCH(bool, refused);
        const DueDateCheck check = CheckDueDate(completed, wanted, kToday);
        QCOMPARE(check.date, date);
        QCOMPARE(check.message, message);
        QCOMPARE(check.refused, refused);
    }

    // Completing writes the completion day and the flag; opening again clears both. Priority and a missing category
    // number keep the rest of the task as it was.
    void completionPriorityAndCategory() {
        Task task = Make(QStringLiteral("Call the bank"), Normal, kToday.addDays(3));
        task.category = 4;
        task.memo = QStringLiteral("about the card");
        store().NeedRequery = false;
        const std::int32_t key = stored(task);
        QVERIFY(key > 0);
        QVERIFY(store().NeedRequery);
        QVERIFY(SetCompleted(store(), key, true, kToday).ok());
        std::optional<Row> row = ReadRow(store().connection(), key);
        QCOMPARE(row->integer(Col::fF3), 1);
        QCOMPARE(row->integer(Col::fR2), records::DayNumber(kToday, kDoneDayBase));
        QCOMPARE(row->integer(Col::fF2), 1);
        QCOMPARE(LoadTask(store(), key)->done, kToday);

        QVERIFY(SetCompleted(store(), key, false, kToday).ok());
        QVERIFY(SetPriority(store(), key, Low).ok());
        std::optional<Task> back = LoadTask(store(), key);
        QVERIFY(back && !back->completed && !back->done.isValid());
        QCOMPARE(back->priority, int(Low));
        QCOMPARE(ReadRow(store().connection(), key)->integer(Col::fSub), int(Low));

        back->category = -1;
        back->due = QDate();
        QVERIFY(StoreTask(store(), *back).ok());
        back = LoadTask(store(), key);
        QCOMPARE(back->category, 4);
        QVERIFY(!back->due.isValid());
        QCOMPARE(ReadRow(store().connection(), key)->integer(Col::fF1), 0);
        QCOMPARE(SetCompleted(store(), 999999, true, kToday), Result::Message(18));
    }

    // The list's filters, and what it leaves out: completed tasks when asked, private ones while hidden, rows that
    // do not decode. Deleting the completed tasks touches nothing else, not even rows of other sections.
    void listFiltersAndDeletions() {
        const std::int32_t open = stored(Make(QStringLiteral("Open"), Normal, {}));
        stored(Make(QStringLiteral("Done"), Normal, {}, true));
        Task secret = Make(QStringLiteral("Secret"), High, kToday);
        secret.isPrivate = true;
        secret.category = 2;
        stored(secret);
        const std::int32_t broken = stored(Make(QStringLiteral("Broken"), Low, {}));
        sqlite::Statement spoil = store().connection().prepare("UPDATE tt SET fEtx=x'00' WHERE fPK=?");
        spoil.bind(1, static_cast<std::int64_t>(broken));
        spoil.step();
        sqlite::Statement other = store().connection().prepare("INSERT INTO tt(fSec, fF3) VALUES(14, 1)");
        other.step();

        showPrivate(true);
        QCOMPARE(Subjects(ListTasks(store(), {})), (QStringList{"Open", "Done", "Secret"}));
        QCOMPARE(Subjects(ListTasks(store(), {.showCompleted = false})), (QStringList{"Open", "Secret"}));
        QCOMPARE(Subjects(ListTasks(store(), {.category = 2})), QStringList{"Secret"});
        showPrivate(false);
        QCOMPARE(Subjects(ListTasks(store(), {})), (QStringList{"Open", "Done"}));

        QVERIFY(DeleteCompletedTasks(store()).ok());
        showPrivate(true);
        QCOMPARE(Subjects(ListTasks(store(), {})), (QStringList{"Open", "Secret"}));
        QCOMPARE(rowsOf(14), 1);
        QVERIFY(LoadTask(store(), open));
    }
};

NCT_TEST_MAIN(TestTasks)
#include "tst_tasks.moc"

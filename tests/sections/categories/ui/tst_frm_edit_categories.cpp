#include "sections/categories/ui/frm_edit_categories.h"

#include "sections/categories/categories.h"
#include "shell/ui/list_controls.h"
#include "support/gui.h"

#include <memory>

using categories::LoadCategoryText;
using categories::SaveCategoryText;

namespace {

QStringList shownEntries(const QListWidget* list) {
    QStringList result;
    for (const ListEntry& entry : list_controls::Entries(list)) {
        result << QStringLiteral("%1=%2").arg(entry.text).arg(entry.itemData);
    }
    return result;
}

void select(QListWidget* list, const QString& text) {
    const QList<QListWidgetItem*> found = list->findItems(text, Qt::MatchExactly);
    QCOMPARE(found.size(), 1);
    list->setCurrentItem(found[0]);
}

} // namespace

class TestFrmEditCategories : public FileTest {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() { QVERIFY(newFile(QStringLiteral("four pale owls"))); }

    void init() {
        prompter().forget();
        prompter().replies.clear();
        prompter().inputs.clear();
        QCOMPARE(SaveCategoryText(store(), QStringLiteral("Rent;2;Food;1;Kept;255;Odd;0"), 14), 0);
    }

    void newRenameDeleteAndCtrlEnterSaves() {
        frmEditCategories form(store(), 14, 0);
        form.show();
        QVERIFY(QTest::qWaitForWindowExposed(&form));
        QCOMPARE(form.focusWidget(), form.cmdNew);
        QCOMPARE(shownEntries(form.CatList), (QStringList{"Food=1", "Kept=255", "Odd=0", "Rent=2"}));

        prompter().inputs << QString() << QStringLiteral("car");
        form.cmdNew->click();
        form.cmdNew->click();
        QCOMPARE(prompter().inputTitles, (QStringList{"New category", "New category"}));
        QCOMPARE(form.lastNewId(), 3);
        // A name with the list's separator would shift every later pair of the stored list: it is refused.
        prompter().inputs << QStringLiteral("Food; drinks") << QStringLiteral("y\u00FF");
        form.cmdNew->click();
        select(form.CatList, QStringLiteral("car"));
        form.cmdRename->click();
        QCOMPARE(prompter().shown.size(), 2);
        QVERIFY(prompter().shown.last().text.contains(QLatin1String("\";\"")));
        QCOMPARE(form.CatList->count(), 5);
        QVERIFY(form.CatList->findItems(QStringLiteral("car"), Qt::MatchExactly).size() == 1);
        prompter().forget();

        // The built-in and reserved entries are neither renamed nor deleted.
        select(form.CatList, QStringLiteral("Odd"));
        form.cmdRename->click();
        form.cmdDelete->click();
        select(form.CatList, QStringLiteral("Kept"));
        form.cmdDelete->click();
        QVERIFY(prompter().inputTitles.isEmpty() && prompter().shown.isEmpty());

        select(form.CatList, QStringLiteral("Rent"));
        prompter().inputs << QStringLiteral("Lease");
        form.cmdRename->click();
        QCOMPARE(prompter().inputTitles.last(), QStringLiteral("Rename category"));
        QCOMPARE(prompter().inputDefaults.last(), QStringLiteral("Rent"));

        select(form.CatList, QStringLiteral("Food"));
        prompter().replies << Prompter::Reply::Cancel << Prompter::Reply::Ok;
        form.cmdDelete->click();
        QVERIFY(!form.categoryDeleted());
        form.cmdDelete->click();
        QVERIFY(form.categoryDeleted());
        QCOMPARE(prompter().numbers(), (QList<int>{19, 19}));
        QCOMPARE(prompter().shown[0].buttons, Prompter::Buttons::OkCancel);
        QCOMPARE(shownEntries(form.CatList), (QStringList{"car=3", "Kept=255", "Odd=0", "Lease=2"}));
        QCOMPARE(LoadCategoryText(store(), 14), QStringLiteral("Rent;2;Food;1;Kept;255;Odd;0"));

        // Sent to the focused button, which must not take it as its own click.
        form.cmdNew->setFocus();
        QTest::keyClick(form.cmdNew, Qt::Key_Return, Qt::ControlModifier);
        QVERIFY(!form.isVisible() && !form.cancelled());
        QCOMPARE(prompter().inputTitles.size(), 1);
        QCOMPARE(LoadCategoryText(store(), 14), QStringLiteral("car;3;Kept;255;Odd;0;Lease;2"));
    }

    void escapeWritesNothing() {
        frmEditCategories form(store(), 14, 0);
        form.show();
        QVERIFY(QTest::qWaitForWindowExposed(&form));
        prompter().inputs << QStringLiteral("Extra");
        form.cmdNew->click();
        select(form.CatList, QStringLiteral("Food"));
        prompter().replies << Prompter::Reply::Ok;
        form.cmdDelete->click();
        QVERIFY(form.categoryDeleted());
        QTest::keyClick(form.CatList, Qt::Key_Escape);
        QVERIFY(!form.isVisible() && form.cancelled() && !form.categoryDeleted());
        QCOMPARE(LoadCategoryText(store(), 14), QStringLiteral("Rent;2;Food;1;Kept;255;Odd;0"));

        // With nothing chosen, rename and delete say so once and ask nothing; closing the window is leaving by Esc.
        frmEditCategories closed(store(), 14, 0);
        closed.show();
        prompter().forget();
        closed.CatList->clearSelection();
        closed.cmdRename->click();
        closed.cmdDelete->click();
        QCOMPARE(prompter().numbers(), QList<int>{18});
        QVERIFY(prompter().inputTitles.isEmpty());
        select(closed.CatList, QStringLiteral("Food"));
        prompter().replies << Prompter::Reply::Ok;
        closed.cmdDelete->click();
        QVERIFY(closed.categoryDeleted());
        closed.close();
        QVERIFY(closed.cancelled() && !closed.categoryDeleted());
    }

    void budgetListsStaySeparate() {
        QCOMPARE(SaveCategoryText(store(), QStringLiteral("One;1"), categories::kBudgetSection, 1), 0);
        QCOMPARE(SaveCategoryText(store(), QStringLiteral("Two;1"), categories::kBudgetSection, 2), 0);
        frmEditCategories form(store(), categories::kBudgetSection, 2);
        QCOMPARE(shownEntries(form.CatList), QStringList{"Two=1"});
        prompter().inputs << QStringLiteral("More");
        form.cmdNew->click();
        form.cmdOK->click();
        QCOMPARE(LoadCategoryText(store(), categories::kBudgetSection, 2), QStringLiteral("More;2;Two;1"));
        QCOMPARE(LoadCategoryText(store(), categories::kBudgetSection, 1), QStringLiteral("One;1"));
    }
};

NCT_GUI_TEST_MAIN(TestFrmEditCategories)
#include "tst_frm_edit_categories.moc"

#include "sections/diary/diary.h"
#include "sections/diary/ui/frm_diary.h"
#include "sections/diary/ui/frm_edit_text.h"
#include "support/gui.h"
#include "support/section_fixture.h"

#include <memory>

using diary::kDiarySection;

namespace {

// A Wednesday; its week runs from Sunday the 10th, the pinned locale's first day.
const QDate kWednesday{2024, 3, 13};
const QDate kSunday{2024, 3, 10};

} // namespace

class TestFrmDiary : public SectionFixture {
    Q_OBJECT

    std::unique_ptr<frmDiary> m_form;

    void write(const QDate& day, const QString& text, int owner) {
        diary::DiaryEntry entry{-1, owner, day, text};
        QVERIFY(diary::StoreDiaryDay(store(), entry).ok());
    }
    QPlainTextEdit* box(int i) const { return Find<QPlainTextEdit>(*m_form, QStringLiteral("txtInput_%1").arg(i)); }
    QList<int> visibleBoxes() const {
        QList<int> shown;
        for (int i = 0; i < 7; ++i) {
            if (box(i)->isVisibleTo(m_form.get()) &&
                Find(*m_form, QStringLiteral("txtMargin_%1").arg(i))->isVisibleTo(m_form.get())) {
                shown << i;
            }
        }
        return shown;
    }
    bool marked(const QDate& day) const { return m_form->calDate->dateTextFormat(day).fontWeight() == QFont::Bold; }

private Q_SLOTS:
    // Entries of the present user around the week of kWednesday, and one of another user inside it.
    void init() {
        QVERIFY(freshFile());
        const int me = store().user.level;
        write(kSunday, QStringLiteral("Sunday mine"), me);
        write(kWednesday, QStringLiteral("Wednesday mine"), me);
        write(QDate(2024, 3, 12), QStringLiteral("someone else's"), me + 1);
        write(QDate(2024, 3, 9), QStringLiteral("Saturday before"), me);
        write(QDate(2024, 3, 20), QStringLiteral("next week"), me);
        m_form = std::make_unique<frmDiary>(m_run->session);
        m_form->resize(1000, 700);
        m_form->show();
        m_form->calDate_Click(kWednesday);
    }
    void cleanup() {
        ForgetModalWaits();
        m_form.reset();
        open_sequence::CloseDatabase(m_run->session);
        m_run.reset();
    }

    void weekShowsThePresentUsersEntries() {
        const QStringList texts{"Sunday mine", "", "", "Wednesday mine", "", "", ""};
        for (int i = 0; i < 7; ++i) {
            QCOMPARE(box(i)->toPlainText(), texts[i]);
        }
        QCOMPARE(Find<QPushButton>(*m_form, QStringLiteral("txtMargin_0"))->text(),
                 QStringLiteral("Sunday, March 10, 2024"));
        QCOMPARE(Find<QPushButton>(*m_form, QStringLiteral("txtMargin_6"))->text(),
                 QStringLiteral("Saturday, March 16, 2024"));
        QCOMPARE(visibleBoxes(), (QList<int>{0, 1, 2, 3, 4, 5, 6}));
        QCOMPARE(rowsOf(kDiarySection), 5);
        // The calendar marks the present user's days only, the months around included.
        for (const QDate& day : {kSunday, QDate(2024, 3, 9), kWednesday, QDate(2024, 3, 20)}) {
            QVERIFY2(marked(day), qPrintable(day.toString()));
        }
        QVERIFY(!marked(QDate(2024, 3, 12)) && !marked(QDate(2024, 3, 11)));
    }

    // The step buttons move a week or a day as the period shows; a header goes to its day.
    void moving_data() {
        QTest::addColumn<int>("period");
        QTest::addColumn<QDate>("from");
        QTest::addColumn<QString>("control");
        QTest::addColumn<QDate>("to");
        QTest::addColumn<QString>("entry");
        QTest::newRow("7 days, on") << 1 << kWednesday << "diaMoveUp" << QDate(2024, 3, 20) << "next week";
        QTest::newRow("7 days, back") << 1 << kWednesday << "diaMoveDown" << QDate(2024, 3, 6) << "";
        QTest::newRow("7 days, header") << 1 << kWednesday << "txtMargin_0" << kSunday << "Sunday mine";
        QTest::newRow("1 day, on") << 0 << kWednesday << "diaMoveUp" << QDate(2024, 3, 14) << "";
        QTest::newRow("1 day, back a week") << 0 << kSunday << "diaMoveDown" << QDate(2024, 3, 9) << "Saturday before";
    }
    void moving() {
        QFETCH(int, period);
        QFETCH(QDate, from);
        QFETCH(QString, control);
        QFETCH(QDate, to);
        QFETCH(QString, entry);
        Click(*m_form, QStringLiteral("diaPeriod_%1").arg(period));
        m_form->calDate_Click(from);
        Click(*m_form, control);
        QCOMPARE(m_form->calDate->selectedDate(), to);
        const int day = static_cast<int>(m_form->weekStart().daysTo(to));
        QCOMPARE(visibleBoxes(), (period == 0 ? QList<int>{day} : QList<int>{0, 1, 2, 3, 4, 5, 6}));
        QCOMPARE(box(day)->toPlainText(), entry);
    }

    void editingADay_data() {
        QTest::addColumn<int>("day");
        QTest::addColumn<QString>("typed");
        QTest::addColumn<bool>("ok");
        QTest::addColumn<QList<int>>("asked");
        QTest::addColumn<QString>("stored");
        QTest::addColumn<int>("rows");
        QTest::newRow("typed, OK") << 3 << ", later more" << true << QList<int>() << "Wednesday mine, later more" << 5;
        QTest::newRow("empty day, OK") << 4 << "" << true << QList<int>() << "" << 6;
        QTest::newRow("Esc after a change") << 3 << "x" << false << QList<int>{20, 20} << "Wednesday mine" << 5;
        QTest::newRow("Esc untouched") << 3 << "" << false << QList<int>() << "Wednesday mine" << 5;
    }
    void editingADay() {
        QFETCH(int, day);
        QFETCH(QString, typed);
        QFETCH(bool, ok);
        QFETCH(QList<int>, asked);
        QFETCH(QString, stored);
        QFETCH(int, rows);
        const QDate date = kSunday.addDays(day);
        const QString header = Find<QPushButton>(*m_form, QStringLiteral("txtMargin_%1").arg(day))->text();
        prompter().replies << Prompter::Reply::No << Prompter::Reply::Yes;
        // Esc twice at most: the first question is answered No, which keeps the dialog, the second Yes.
        AnswerDialog<frmEditText>(
            [&](frmEditText& editor) {
                QCOMPARE(Find<QLabel>(editor, QStringLiteral("lblTitle"))->text(), header);
                auto* text = Find<QPlainTextEdit>(editor, QStringLiteral("txtText"));
                QTest::keyClicks(text, typed);
                for (int i = 0; !ok && i < 2 && editor.isVisible(); ++i) {
                    QTest::keyClick(text, Qt::Key_Escape);
                }
            },
            ok);
        QTest::keyClick(box(day), Qt::Key_Return);
        QCOMPARE(prompter().numbers(), asked);
        QCOMPARE(box(day)->toPlainText(), stored);
        const QVector<diary::DiaryEntry> entries = diary::LoadEntries(store(), date, date);
        QCOMPARE(entries.size(), 1);
        QCOMPARE(entries[0].text, stored);
        QCOMPARE(rowsOf(kDiarySection), rows);
        QVERIFY(marked(date));
    }

    void arrowsStepBetweenBoxes() {
        QVERIFY(Activated(m_form.get()));
        // From box to box by Right, Down, Left, Up; none past the first or the last.
        const QList<std::pair<int, Qt::Key>> steps{{3, Qt::Key_Right}, {4, Qt::Key_Down}, {5, Qt::Key_Left},
                                                   {4, Qt::Key_Up},    {0, Qt::Key_Left}, {6, Qt::Key_Down}};
        const QList<int> reached{4, 5, 4, 3, 0, 6};
        for (qsizetype i = 0; i < steps.size(); ++i) {
            box(steps[i].first)->setFocus();
            QTest::keyClick(box(steps[i].first), steps[i].second);
            QCOMPARE(QApplication::focusWidget(), box(reached[i]));
            QCOMPARE(m_form->shownDate(), kSunday.addDays(reached[i]));
        }
        // One day alone has nowhere to step to.
        Click(*m_form, QStringLiteral("diaPeriod_0"));
        box(6)->setFocus();
        QTest::keyClick(box(6), Qt::Key_Left);
        QCOMPARE(QApplication::focusWidget(), box(6));
        QCOMPARE(visibleBoxes(), QList<int>{6});
    }
};

NCT_GUI_TEST_MAIN(TestFrmDiary)
#include "tst_frm_diary.moc"

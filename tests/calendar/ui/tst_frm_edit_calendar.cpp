#include "calendar/ui/frm_edit_calendar.h"

#include "sections/all_sections.h"
#include "shell/ui/frm_mdi.h"
#include "support/gui.h"
#include "support/section_fixture.h"

#include <memory>

using namespace CALENDAR;
using Reply = Prompter::Reply;

namespace {

const QDate kMonday(2025, 3, 3);

QList<QDate> Days(const QVector<std::int64_t>& minutes) {
    QList<QDate> days;
    for (const std::int64_t m : minutes) {
        days << DayOfMinute(m);
    }
    return days;
}

} // namespace

class TestFrmEditCalendar : public SectionFixture {
    Q_OBJECT

    std::unique_ptr<frmEditCalendar> m_editor;

    // The editor as a command opens it, weeks beginning on Sunday: RedoWD_1 is Monday.
    frmEditCalendar& open(const Appointment& appointment) {
        m_editor = std::make_unique<frmEditCalendar>(store(), appointment, 1);
        m_editor->show();
        return *m_editor;
    }
    frmEditCalendar& openNew(bool allDay = false) {
        return open(NewAppointment(store().user.level, QDateTime(kMonday, QTime(10, 0)), true, allDay));
    }
    template <typename T = QWidget> T* find(const QString& name) const { return Find<T>(*m_editor, name); }
    void typeInto(const QString& name, const QString& text) {
        auto* field = find<QLineEdit>(name);
        field->clear();
        QTest::keyClicks(field, text);
    }
    // A weekly series on Mondays at 10:00 with exception days, stored as the views' deletions leave it.
    Appointment seriesWithExceptions() {
        const Recurrence rule{.kind = RedoWeekdays,
                              .endMode = EndAfterCount,
                              .a = 4,
                              .b = 1,
                              .startDay = RedoDay(kMonday),
                              .endDay = RedoDay(kMonday.addDays(28)),
                              .exceptions = {RedoDay(kMonday.addDays(7)), RedoDay(kMonday.addDays(14))}};
        Appointment a = NewAppointment(store().user.level, QDateTime(kMonday, QTime(10, 0)), true, false);
        a.subject = QStringLiteral("Team meeting");
        a.redo = RecurrenceString(rule);
        StoreAppointment(store(), a, kMonday);
        return a;
    }

private Q_SLOTS:
    void init() {
        QVERIFY(freshFile());
        showPrivate(true);
    }
    void cleanup() {
        ForgetModalWaits();
        m_editor.reset();
        open_sequence::CloseDatabase(m_run->session);
        m_run.reset();
    }

    // A weekly series set up through the controls is stored so that the views show exactly its occurrences, and
    // opens again with the same count.
    void weeklySeriesThroughTheControls_data() {
        QTest::addColumn<QString>("interval");
        QTest::addColumn<QList<int>>("alsoTicked");
        QTest::addColumn<int>("n");
        QTest::addColumn<QList<QDate>>("days");
        QTest::newRow("Mondays") << "1" << QList<int>{} << 3
                                 << QList<QDate>{kMonday, kMonday.addDays(7), kMonday.addDays(14)};
        QTest::newRow("Mon Wed every 2nd week")
            << "2" << QList<int>{3} << 4
            << QList<QDate>{kMonday, kMonday.addDays(2), kMonday.addDays(14), kMonday.addDays(16)};
        QTest::newRow("Sun Mon Sat every 3rd week")
            << "3" << QList<int>{0, 6} << 5
            << QList<QDate>{kMonday, kMonday.addDays(5), kMonday.addDays(20), kMonday.addDays(21), kMonday.addDays(26)};
    }
    void weeklySeriesThroughTheControls() {
        QFETCH(QString, interval);
        QFETCH(QList<int>, alsoTicked);
        QFETCH(int, n);
        frmEditCalendar& editor = openNew();
        QTest::keyClicks(editor.ctlSubject, QStringLiteral("Choir"));
        Click(editor, QStringLiteral("Redo_1"));
        QVERIFY(editor.RedoWD[1]->isChecked());
        for (int day : alsoTicked) {
            editor.RedoWD[static_cast<std::size_t>(day)]->click();
        }
        typeInto(QStringLiteral("ctlIntervalA"), interval);
        Click(editor, QStringLiteral("RedoEnd_1"));
        editor.occ->setValue(n);
        editor.cmdOK->click();
        QVERIFY(!editor.isVisible() && editor.stored());

        const std::optional<Appointment> stored = LoadAppointment(store(), editor.appointment().key);
        QVERIFY(stored);
        QCOMPARE(stored->start, MinuteOf(kMonday, 600));
        const QVector<std::int64_t> shown =
            ExpandSeries(QDate(2025, 1, 1), QDate(2025, 12, 31), MinuteOfDay(stored->start), stored->redo, 1);
        QTEST(Days(shown), "days");
        QCOMPARE(MinuteOfDay(shown.first()), 600);

        frmEditCalendar& again = open(*stored);
        QVERIFY(again.Redo[1]->isChecked() && again.RedoEnd[1]->isChecked());
        QCOMPARE(again.occ->value(), n);
        QCOMPARE(again.ctlIntervalA->text(), interval);
        QVERIFY(!again.changed());
    }

    // All day hides the times and offers the all-day reminders; unticked, the times come back.
    void allDayToggle() {
        frmEditCalendar& editor = openNew();
        QCOMPARE(editor.ctlAlarmDelay->count(), 11);
        editor.ctlHH[1]->clear();
        QTest::keyClicks(editor.ctlHH[1], QStringLiteral("12"));
        editor.ctlAllday->click();
        QVERIFY(editor.TimeFrame->isHidden());
        QCOMPARE(editor.ctlAlarmDelay->count(), 5);
        QCOMPARE(editor.ctlAlarmDelay->currentData().toInt(), 1);
        editor.ctlAllday->click();
        QVERIFY(!editor.TimeFrame->isHidden());
        QCOMPARE(editor.ctlAlarmDelay->count(), 11);
        QCOMPARE(editor.ctlHH[1]->text(), QStringLiteral("12"));
        QCOMPARE(editor.SliderHH->value(), 2);

        editor.ctlAllday->click();
        editor.ctlAlarmYN->click();
        editor.ctlAlarmDelay->setCurrentIndex(editor.ctlAlarmDelay->findData(2880));
        QTest::keyClicks(editor.ctlSubject, QStringLiteral("Holiday"));
        editor.cmdOK->click();
        const std::optional<Appointment> stored = LoadAppointment(store(), editor.appointment().key);
        QVERIFY(stored && stored->allDay && stored->alarmOn);
        QCOMPARE(stored->start, MinuteOf(kMonday));
        QCOMPARE(stored->end, MinuteOf(kMonday.addDays(1)));
        QCOMPARE(stored->alarmDelay, 2880);
    }

    // The last weekday cannot be unticked; the interval fields take digits only and 1 to 255.
    void guards() {
        frmEditCalendar& editor = openNew();
        Click(editor, QStringLiteral("Redo_1"));
        editor.RedoWD[1]->click();
        QVERIFY(editor.RedoWD[1]->isChecked());
        editor.RedoWD[2]->click();
        editor.RedoWD[1]->click();
        QVERIFY(!editor.RedoWD[1]->isChecked());
        QCOMPARE(editor.ctlDate->date(), kMonday.addDays(1));
        QTest::keyClicks(editor.ctlIntervalA, QStringLiteral("x"));
        QCOMPARE(editor.ctlIntervalA->text(), QStringLiteral("1"));
        typeInto(QStringLiteral("ctlIntervalA"), QStringLiteral("0"));
        QCOMPARE(editor.ctlIntervalA->text(), QStringLiteral("1"));
        QCOMPARE(prompter().numbers(), (QList<int>{10, 12, 13}));
        typeInto(QStringLiteral("ctlIntervalA"), QStringLiteral("3"));
        QVERIFY(editor.lblSumup->text().startsWith(QStringLiteral("every 3 week(s) on Tuesday")));
    }

    // Without a subject OK asks, and No stays with what was typed; so does a store that fails after a Yes.
    void refusedOkStays() {
        frmEditCalendar& editor = openNew();
        QTest::keyClicks(editor.ctlLocation, QStringLiteral("Hall"));
        editor.cmdOK->click();
        QVERIFY(editor.isVisible());
        QCOMPARE(prompter().numbers(), QList<int>{369});
        QCOMPARE(rowsOf(kAppointmentSection), 0);
        prompter().replies << Reply::Yes;
        store().database.Close();
        editor.cmdOK->click();
        QVERIFY(editor.isVisible() && !editor.stored());
        QCOMPARE(prompter().shown.size(), 3);
        QCOMPARE(editor.ctlLocation->text(), QStringLiteral("Hall"));
    }

    // Editing a series without touching its rule keeps its exception days; any change of the rule drops them.
    void exceptionDaysFollowTheRule_data() {
        QTest::addColumn<bool>("touchRule");
        QTest::newRow("subject only") << false;
        QTest::newRow("interval") << true;
    }
    void exceptionDaysFollowTheRule() {
        QFETCH(bool, touchRule);
        const Appointment series = seriesWithExceptions();
        frmEditCalendar& editor = open(series);
        QCOMPARE(editor.occ->value(), 5);
        editor.ctlSubject->setText(QStringLiteral("Team meeting, room 4"));
        if (touchRule) {
            typeInto(QStringLiteral("ctlIntervalA"), QStringLiteral("2"));
        }
        editor.cmdOK->click();
        const std::optional<Appointment> stored = LoadAppointment(store(), series.key);
        QVERIFY(stored && stored->subject == QStringLiteral("Team meeting, room 4"));
        QCOMPARE(stored->redo.size(), touchRule ? 7 : 11);
        QCOMPARE(ExpandSeries(kMonday, kMonday.addDays(60), 600, stored->redo, 1).size(), touchRule ? 5 : 3);
    }

    // A record that went meanwhile: No opens nothing, Yes goes on with a new appointment.
    void vanishedRecord() {
        prompter().replies << Reply::No;
        QVERIFY(!frmEditCalendar::Edit(m_run->session, 4711, QDateTime(kMonday, QTime(8, 0)), true, false, nullptr));
        QCOMPARE(prompter().numbers(), QList<int>{11});
        prompter().replies << Reply::Yes;
        AnswerDialog<frmEditCalendar>([](frmEditCalendar& editor) {
            QVERIFY(!editor.ctlAllday->isChecked());
            editor.ctlSubject->setText(QStringLiteral("Fresh start"));
        });
        const std::optional<Appointment> stored =
            frmEditCalendar::Edit(m_run->session, 4711, QDateTime(kMonday, QTime(8, 0)), true, false, nullptr);
        QVERIFY(stored && stored->key != 4711 && stored->subject == QStringLiteral("Fresh start"));
        QCOMPARE(stored->start, MinuteOf(kMonday, 480));
    }

    // The command bar's buttons of a full build open the editor inside the Calendar; the status line tells of
    // the stored appointment.
    void commandBarOpensTheEditor_data() {
        QTest::addColumn<QString>("button");
        QTest::addColumn<bool>("allDay");
        QTest::newRow("appointment") << "itCalNewApp" << false;
        QTest::newRow("all-day event") << "itCalNewAllday" << true;
    }
    void commandBarOpensTheEditor() {
        QFETCH(QString, button);
        QFETCH(bool, allDay);
        open_sequence::CloseDatabase(m_run->session);
        test_env::ForgetSettings();
        QSettings settings(QStringLiteral("Marrowline"), QStringLiteral("Noctaria"));
        settings.setValue(QStringLiteral("Startup/ShowTipsAtStartup"), QStringLiteral("0"));
        settings.setValue(QStringLiteral("MostRecentFiles/1"), m_path);
        ScriptedPrompter prompter;
        Session session(prompter);
        frmMDI::Options options;
        options.sectionList = QStringLiteral("0");
        options.sectionForms = AllSectionForms();
        options.instanceLockPath = m_dir->filePath(QStringLiteral("instance.lock"));
        auto frame = std::make_unique<frmMDI>(session, prompter, options);
        session.setFrame(frame.get());
        prompter.passphrases << kFirstUser;
        QVERIFY(frame->Load() && session.DbIsOpen);

        bool shownAllDay = !allDay;
        AnswerDialog<frmEditCalendar>([&shownAllDay](frmEditCalendar& editor) {
            shownAllDay = editor.ctlAllday->isChecked();
            editor.ctlSubject->setText(QStringLiteral("From the bar"));
        });
        frame->findChild<QAction*>(button)->trigger();
        QCOMPARE(shownAllDay, allDay);
        QCOMPARE(frame->shell().CurrentSection, kAppointmentSection);
        QVERIFY(frame->findChild<QLabel*>(QStringLiteral("kComment"))
                    ->text()
                    .startsWith(QStringLiteral("Appointment stored")));
        QCOMPARE(QueryAppointments(session.store(), QDate::currentDate(), QDate::currentDate(), 1).size(), 1);
        session.setFrame(nullptr);
        frame.reset();
    }
};

NCT_GUI_TEST_MAIN(TestFrmEditCalendar)
#include "tst_frm_edit_calendar.moc"

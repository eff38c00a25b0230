#include "sections/find/ui/frm_find.h"

#include "base/messages.h"
#include "budget/transaction.h"
#include "calendar/ui/frm_edit_calendar.h"
#include "sections/all_sections.h"
#include "sections/contacts/contact.h"
#include "sections/diary/diary.h"
#include "sections/memos/memo.h"
#include "sections/tasks/task.h"
#include "sections/vault/vault.h"
#include "shell/ui/frm_mdi.h"
#include "shell/ui/modal.h"
#include "support/gui.h"
#include "support/section_fixture.h"

#include <memory>

namespace {

const QDate kDay(2023, 5, 20);

QString Word(int section) {
    return QStringLiteral("Quokka%1").arg(section);
}

// The key of the row selected in a section's list, whichever list the section has.
std::int32_t SelectedKey(const QWidget* form) {
    for (const char* name : {"ListSelect", "TodoList", "LV1"}) {
        if (const auto* view = form->findChild<QAbstractItemView*>(QLatin1String(name))) {
            return view->currentIndex().siblingAtColumn(0).data(Qt::UserRole).toInt();
        }
    }
    return 0;
}

} // namespace

class TestFrmFind : public SectionFixture {
    Q_OBJECT

    std::unique_ptr<frmFind> m_find;
    std::unique_ptr<frmMDI> m_frame;
    QMap<int, std::int32_t> m_keys;

    std::int32_t storeMemo(const QString& subject, bool isPrivate = false) {
        memos::Memo memo = memos::NewMemo(store().user.level, 0, subject, QDateTime(kDay, QTime(9, 0)));
        memo.isPrivate = isPrivate;
        return memos::StoreMemo(store(), memo, memo.created).ok() ? memo.key : 0;
    }
    // One record of every section, each holding its section's word; the transaction in a budget and a month not
    // in view, the task completed, so that the section has to bring them into view.
    bool storeOneOfEach() {
        const int owner = store().user.level;
        contacts::Contact contact;
        contact.owner = owner;
        contact.fileAs = contact.texts[contacts::LastName] = Word(11);
        CALENDAR::Appointment appointment;
        appointment.owner = owner;
        appointment.start = CALENDAR::MinuteOf(kDay, 9 * 60);
        appointment.end = appointment.start + 60;
        appointment.subject = Word(12);
        diary::DiaryEntry day{-1, owner, kDay, Word(13)};
        tasks::Task task;
        task.owner = owner;
        task.subject = Word(15);
        task.completed = true;
        vault::Entry entry = vault::NewEntry(owner, 1);
        entry.values[0] = Word(16);
        budget::Transaction transaction = budget::ClearTransaction(owner, 0, kDay);
        transaction.description = Word(17);
        const bool stored = contacts::StoreContact(store(), contact).ok() &&
                            CALENDAR::StoreAppointment(store(), appointment, kDay).ok() &&
                            diary::StoreDiaryDay(store(), day).ok() && tasks::StoreTask(store(), task).ok() &&
                            vault::StoreEntry(store(), entry, QDateTime::currentDateTime()).ok() &&
                            budget::StoreTransaction(store(), 1, transaction).ok() && storeMemo(Word(99), true) != 0;
        m_keys = {{11, contact.key}, {12, appointment.key}, {13, day.key},        {14, storeMemo(Word(14))},
                  {15, task.key},    {16, entry.key},       {17, transaction.key}};
        return stored;
    }

private Q_SLOTS:
    void init() {
        QVERIFY(freshFile());
        showPrivate(true);
    }
    void cleanup() {
        ForgetModalWaits();
        m_find.reset();
        m_run->session.setFrame(nullptr);
        m_frame.reset();
        open_sequence::CloseDatabase(m_run->session);
        m_run.reset();
    }

    void aSearchTextNeedsTwoCharacters() {
        m_find = std::make_unique<frmFind>(m_run->session, SectionList(QStringLiteral("0")));
        m_find->show();
        QTest::keyClicks(m_find->txtFind, QStringLiteral("x"));
        QVERIFY(!m_find->cmdFind->isEnabled());
        QTest::keyClick(m_find->txtFind, Qt::Key_Return);
        QCOMPARE(prompter().numbers(), QList<int>{213});
        QVERIFY(!m_find->searching() && m_find->LV->topLevelItemCount() == 0);
        // Without a section there is nothing to search, however long the text.
        QTest::keyClicks(m_find->txtFind, QStringLiteral("y"));
        Click(*m_find, QStringLiteral("cmdDeselect"));
        QVERIFY(!m_find->cmdFind->isEnabled());
        m_find->PinApp[3]->click();
        QVERIFY(m_find->cmdFind->isEnabled());
    }

    void boxesFollowTheSectionList_data() {
        QTest::addColumn<QString>("list");
        QTest::addColumn<QList<int>>("offered");
        QTest::newRow("product") << "17" << QList<int>{6};
        QTest::newRow("several") << "12 15" << QList<int>{1, 4};
        QTest::newRow("full") << "0" << QList<int>{0, 1, 2, 3, 4, 5, 6};
    }
    void boxesFollowTheSectionList() {
        QFETCH(QString, list);
        QFETCH(QList<int>, offered);
        m_find = std::make_unique<frmFind>(m_run->session, SectionList(list));
        Click(*m_find, QStringLiteral("cmdSelectAll"));
        for (int i = 0; i < 7; ++i) {
            const auto* box = Find<QCheckBox>(*m_find, QStringLiteral("PinApp%1").arg(i));
            QCOMPARE((QList<bool>{box->isEnabled(), box->isChecked()}), QList<bool>(2, offered.contains(i)));
        }
    }

    // Cancel stops a search, keeps what it found and closes the form only when nothing runs; any other way out
    // during a search waits for it, so that the store is free again once the form is gone.
    void leavingDuringASearch_data() {
        QTest::addColumn<QString>("how");
        QTest::newRow("Cancel") << "Cancel";
        QTest::newRow("Esc") << "Esc";
        QTest::newRow("idle watch") << "watch";
    }
    void leavingDuringASearch() {
        QFETCH(QString, how);
        QVERIFY(!store().connection().exec("BEGIN"));
        for (int i = 0; i < 1500; ++i) {
            storeMemo(QStringLiteral("needle %1").arg(i));
        }
        QVERIFY(!store().connection().exec("COMMIT"));
        m_find = std::make_unique<frmFind>(m_run->session, SectionList(QStringLiteral("0")));
        const auto watchDone = std::make_shared<bool>(false);
        bool stopped = false;
        bool runsOn = false;
        bool ended = false;
        int listed = -1;
        QString summary;
        connect(m_find->LV->model(), &QAbstractItemModel::rowsInserted, m_find.get(), [&] {
            if (stopped || !m_find->searching()) {
                return;
            }
            stopped = true;
            if (how == QLatin1String("Cancel")) {
                m_find->cmdCancel->click();
            } else if (how == QLatin1String("Esc")) {
                QTest::keyClick(m_find.get(), Qt::Key_Escape);
            } else {
                modal::CloseAll([watchDone] { *watchDone = true; });
            }
            runsOn = m_find->searching();
        });
        WhenModal<frmFind>([&](frmFind* find) {
            find->txtFind->setText(QStringLiteral("needle"));
            find->cmdFind->click();
            ended = QTest::qWaitFor([find] { return !find->searching(); }, 60000);
            listed = find->LV->topLevelItemCount();
            summary = find->lblSummary->text();
            if (find->isVisible()) {
                find->cmdCancel->click();
            }
        });
        QCOMPARE(modal::Exec(m_find.get()), int(QDialog::Rejected));
        // Closing waits for the search to end; Cancel only asks it to.
        QVERIFY(stopped && ended);
        QCOMPARE(runsOn, how == QLatin1String("Cancel"));
        if (how == QLatin1String("Cancel")) {
            QVERIFY(listed > 0);
            QCOMPARE(summary, QString::number(listed) + MsgText(111));
        } else if (how == QLatin1String("watch")) {
            QTRY_VERIFY(*watchDone);
        }
        QVERIFY(storeMemo(QStringLiteral("after")) != 0);
    }

    // From the frame's Find to the record in its section, for every section; while private records are hidden
    // a private record is not listed, nor is anything of the Diary.
    void goToTheRecordFound_data() {
        QTest::addColumn<QString>("word");
        QTest::addColumn<bool>("privateShown");
        QTest::addColumn<int>("section");
        for (int section = 11; section <= 17; ++section) {
            QTest::newRow(qPrintable(sections::Name(section))) << Word(section) << true << section;
        }
        QTest::newRow("private memo while hidden") << Word(99) << false << 0;
        QTest::newRow("diary while hidden") << Word(13) << false << 0;
    }
    void goToTheRecordFound() {
        QFETCH(QString, word);
        QFETCH(bool, privateShown);
        QFETCH(int, section);
        QVERIFY(storeOneOfEach());
        showPrivate(privateShown);
        frmMDI::Options options;
        options.sectionList = QStringLiteral("0");
        options.sectionForms = AllSectionForms();
        m_frame = std::make_unique<frmMDI>(m_run->session, prompter(), options);
        m_run->session.setFrame(m_frame.get());
        m_frame->EnableDbCommands(true);

        QStringList listed;
        bool ended = false;
        WhenModal<frmFind>([&](frmFind* find) {
            find->txtFind->setText(word);
            find->cmdFind->click();
            ended = QTest::qWaitFor([find] { return !find->searching(); }, 60000);
            for (int i = 0; i < find->LV->topLevelItemCount(); ++i) {
                listed << find->LV->topLevelItem(i)->text(0);
            }
            (listed.size() == 1 ? find->cmdGoto : find->cmdCancel)->click();
        });
        QString editorSubject;
        WhenModal<frmEditCalendar>([&](frmEditCalendar* editor) {
            editorSubject = editor->ctlSubject->text();
            editor->done(QDialog::Rejected);
        });
        m_frame->findChild<QAction*>(QStringLiteral("mnuEditFind"))->trigger();
        QVERIFY(ended);
        const QString name = section == 17 ? QStringLiteral("$ Budget 2") : MsgText(101 + section);
        QCOMPARE(listed, section != 0 ? QStringList{name} : QStringList());
        QCOMPARE(m_frame->shell().CurrentSection, section);
        if (section == 0) {
            return;
        }
        const QWidget* form = m_frame->activeSectionForm();
        if (section == 12) {
            QCOMPARE(editorSubject, word);
        } else if (section == 13) {
            QCOMPARE(Find<QCalendarWidget>(*form, QStringLiteral("calDate"))->selectedDate(), kDay);
        } else {
            QCOMPARE(SelectedKey(form), m_keys.value(section));
        }
    }
};

NCT_GUI_TEST_MAIN(TestFrmFind)
#include "tst_frm_find.moc"

#include "sections/contacts/ui/frm_edit_address.h"

#include "calendar/appointment.h"
#include "sections/categories/categories.h"
#include "sections/categories/ui/frm_edit_categories.h"
#include "sections/contacts/contact_list.h"
#include "shell/options.h"
#include "shell/ui/date_prompt.h"
#include "shell/ui/list_controls.h"
#include "shell/ui/modal.h"
#include "support/gui.h"
#include "support/section_fixture.h"

#include <memory>

using namespace contacts;
using Reply = Prompter::Reply;

class TestFrmEditAddress : public SectionFixture {
    Q_OBJECT

    static constexpr int kFamily = 1;
    static constexpr int kWork = 2;
    static constexpr int kGolf = 3;

    std::unique_ptr<frmEditAddress> m_editor;

    frmEditAddress& open(const Contact& contact) {
        m_editor = std::make_unique<frmEditAddress>(store(), contact);
        m_editor->show();
        return *m_editor;
    }
    Contact fresh() {
        Contact contact;
        contact.owner = store().user.level;
        return contact;
    }
    // "Doe, Ann" as stored and read back.
    Contact seed(const QVector<int>& categories = {}) {
        Contact contact = fresh();
        contact.texts[LastName] = QStringLiteral("Doe");
        contact.texts[FirstName] = QStringLiteral("Ann");
        contact.fileAs = QStringLiteral("Doe, Ann");
        contact.categories = categories;
        return StoreContact(store(), contact).ok() ? *LoadContact(store(), contact.key) : Contact();
    }
    template <typename T = QWidget> T* find(const QString& name) const { return Find<T>(*m_editor, name); }
    void type(const QString& name, const QString& text) {
        auto* field = find<QLineEdit>(name);
        field->selectAll();
        QTest::keyClicks(field, text);
    }
    QListWidgetItem* categoryItem(int category) const {
        auto* list = find<QListWidget>(QStringLiteral("lstCategories"));
        for (int i = 0; i < list->count(); ++i) {
            if (list_controls::ItemData(list, i) == category) {
                return list->item(i);
            }
        }
        return nullptr;
    }
    QString shownCategories() const { return find<QLabel>(QStringLiteral("txtCategories"))->text(); }

private Q_SLOTS:
    void init() {
        QVERIFY(freshFile());
        showPrivate(true);
        QCOMPARE(categories::SaveCategoryText(store(), QStringLiteral("Family;1;Work;2;Golf;3"), kContactSection), 0);
    }
    void cleanup() {
        ForgetModalWaits();
        m_editor.reset();
        open_sequence::CloseDatabase(m_run->session);
        m_run.reset();
    }

    // A company alone files the contact under its name; every page's values come back in the editor.
    void newCompanyStoresAndReopens() {
        QCOMPARE(options::SaveUserFieldLabels(store(), {QStringLiteral("Customer no")}), 0);
        frmEditAddress& editor = open(fresh());
        QCOMPARE(find<QLabel>(QStringLiteral("lblUserDef1"))->text(), QStringLiteral("Customer no"));
        type(QStringLiteral("ctlCompanyName"), QStringLiteral("Acme Tools"));
        Click(editor, QStringLiteral("ctlAddress1"));
        type(QStringLiteral("ctlBusinessAddressCity"), QStringLiteral("Springfield"));
        type(QStringLiteral("ctlUser1"), QStringLiteral("C-1042"));
        QTest::keyClicks(find<QPlainTextEdit>(QStringLiteral("ctlNotes")), QStringLiteral("Delivers on Tuesdays"));
        Click(editor, QStringLiteral("ctlGenderF"));
        Click(editor, QStringLiteral("ctlPrivate"));
        QVERIFY(list_controls::SelectByItemData(find<QComboBox>(QStringLiteral("cboCategory")), kWork));
        QVERIFY(categoryItem(kWork)->isHidden());
        categoryItem(kGolf)->setCheckState(Qt::Checked);
        QCOMPARE(shownCategories(), QStringLiteral("Work, Golf"));
        editor.cmdOK->click();
        QVERIFY(!editor.isVisible() && !editor.cancelled());
        QVERIFY(prompter().shown.isEmpty());

        const std::optional<Contact> stored = LoadContact(store(), editor.contact().key);
        QVERIFY(stored);
        QCOMPARE(stored->fileAs, QStringLiteral("Acme Tools"));
        QCOMPARE(stored->texts[BusinessAddressCity], QStringLiteral("Springfield"));
        QCOMPARE(stored->texts[HomeAddressCity], QString());
        QCOMPARE(stored->texts[User1], QStringLiteral("C-1042"));
        QCOMPARE(stored->texts[Notes], QStringLiteral("Delivers on Tuesdays"));
        QCOMPARE(stored->texts[Gender], QStringLiteral("F"));
        QCOMPARE(stored->categories, (QVector<int>{kWork, kGolf}));
        QVERIFY(stored->isPrivate);
        QCOMPARE(ListContacts(store(), categories::kAll).value(0).name, QStringLiteral("Acme Tools"));

        frmEditAddress& again = open(*stored);
        QVERIFY(find<QRadioButton>(QStringLiteral("ctlAddress1"))->isChecked());
        QCOMPARE(find<QLineEdit>(QStringLiteral("ctlBusinessAddressCity"))->text(), QStringLiteral("Springfield"));
        QCOMPARE(find<QComboBox>(QStringLiteral("ctlFileAs"))->currentText(), QStringLiteral("Acme Tools"));
        QVERIFY(find<QRadioButton>(QStringLiteral("ctlGenderF"))->isChecked());
        QCOMPARE(categoryItem(kGolf)->checkState(), Qt::Checked);
        QCOMPARE(shownCategories(), QStringLiteral("Work, Golf"));
        QVERIFY(!again.changed());
    }

    // OK refuses a contact with nothing to file it under, and a birthday that is no date; the FileAs chosen stays
    // while the names still offer it.
    void okRefusesUntilFiled() {
        frmEditAddress& editor = open(fresh());
        type(QStringLiteral("ctlTitle"), QStringLiteral("Dr."));
        type(QStringLiteral("ctlCom0"), QStringLiteral("555-0100"));
        editor.cmdOK->click();
        QVERIFY(editor.isVisible());
        QCOMPARE(prompter().numbers(), QList<int>{15});
        QCOMPARE(find<QTabWidget>(QStringLiteral("tabContact"))->currentWidget()->objectName(),
                 QStringLiteral("fraName"));

        type(QStringLiteral("ctlFirstName"), QStringLiteral("Ann"));
        type(QStringLiteral("ctlLastName"), QStringLiteral("Doe"));
        QTest::keyClick(find<QLineEdit>(QStringLiteral("ctlLastName")), Qt::Key_Return);
        auto* fileAs = find<QComboBox>(QStringLiteral("ctlFileAs"));
        QCOMPARE(fileAs->currentText(), QStringLiteral("Doe, Ann"));
        fileAs->setCurrentIndex(fileAs->findText(QStringLiteral("Ann Doe")));
        type(QStringLiteral("ctlCompanyName"), QStringLiteral("Acme"));
        QTest::keyClick(find<QLineEdit>(QStringLiteral("ctlCompanyName")), Qt::Key_Return);
        QCOMPARE(fileAs->count(), 5);
        QCOMPARE(fileAs->currentText(), QStringLiteral("Ann Doe"));

        type(QStringLiteral("ctlBirthday"), QStringLiteral("next spring"));
        editor.cmdOK->click();
        QVERIFY(editor.isVisible());
        QCOMPARE(prompter().shown.size(), 2);
        QVERIFY(prompter().shown.last().text.contains(QLatin1String("birthday \"next spring\"")));
        QCOMPARE(rowsOf(kContactSection), 0);

        type(QStringLiteral("ctlBirthday"), QStringLiteral("2/29/1952"));
        editor.cmdOK->click();
        QVERIFY(!editor.isVisible());
        const std::optional<Contact> stored = LoadContact(store(), editor.contact().key);
        QVERIFY(stored);
        QCOMPARE(stored->fileAs, QStringLiteral("Ann Doe"));
        QCOMPARE(stored->birthday, QDate(1952, 2, 29));
        QCOMPARE(stored->texts[Title], QStringLiteral("Dr."));
        QCOMPARE(stored->slot(0), QStringLiteral("555-0100"));
        QCOMPARE(stored->owner, store().user.level);
    }

    // A value typed stays with its slot when the row's chooser moves on, rows on one slot show one value, and
    // every slot no row shows, the reserved ones and the fields without a control come back as they were.
    void comRowsKeepEverySlot() {
        Contact contact = fresh();
        contact.texts[LastName] = QStringLiteral("Doe");
        contact.fileAs = QStringLiteral("Doe");
        for (int slot = 0; slot < kSlotCount; ++slot) {
            contact.texts[kFirstSlot + slot] = QStringLiteral("value %1").arg(slot);
        }
        contact.texts[Account] = QStringLiteral("A-77");
        contact.texts[BillingInformation] = QStringLiteral("monthly");
        contact.texts[OrganizationalIDNumber] = QStringLiteral("ORG-5");
        contact.texts[CustomerID] = QStringLiteral("C-9");
        contact.texts[OutlookItemID] = QStringLiteral("00000000AB12");
        contact.priority = 2;
        QVERIFY(StoreContact(store(), contact).ok());
        const Contact loaded = *LoadContact(store(), contact.key);

        frmEditAddress& editor = open(loaded);
        QVERIFY(find<QRadioButton>(QStringLiteral("ctlComDisplay0"))->isChecked());
        QCOMPARE(find<QLineEdit>(QStringLiteral("ctlCom1"))->text(), QStringLiteral("value 2"));
        type(QStringLiteral("ctlCom1"), QStringLiteral("new home"));
        find<QComboBox>(QStringLiteral("ctlComLabel1"))->setCurrentIndex(3);
        QCOMPARE(find<QLineEdit>(QStringLiteral("ctlCom1"))->text(), QStringLiteral("value 3"));
        find<QComboBox>(QStringLiteral("ctlComLabel2"))->setCurrentIndex(3);
        QTest::keyClicks(find<QLineEdit>(QStringLiteral("ctlCom2")), QStringLiteral(" b"));
        QCOMPARE(find<QLineEdit>(QStringLiteral("ctlCom1"))->text(), QStringLiteral("value 3 b"));
        Click(editor, QStringLiteral("ctlComDisplay1"));
        editor.cmdOK->click();
        QVERIFY(!editor.isVisible());

        const Contact stored = *LoadContact(store(), loaded.key);
        Contact expected = loaded;
        expected.texts[kFirstSlot + 2] = QStringLiteral("new home");
        expected.texts[kFirstSlot + 3] = QStringLiteral("value 3 b");
        for (int field = 0; field < kFieldCount; ++field) {
            if (field != ComSort) {
                QCOMPARE(stored.texts[field], expected.texts[field]);
            }
        }
        QCOMPARE(stored.priority, 2);
        QCOMPARE(stored.comDisplay, 3);
        QCOMPARE(ListContacts(store(), categories::kAll).value(0).contactInfo, QStringLiteral("value 3 b  [Home 2]"));

        // The save lays the rows out anew; the primary option follows its slot.
        open(stored);
        QCOMPARE(find<QLineEdit>(QStringLiteral("ctlCom3"))->text(), QStringLiteral("value 3 b"));
        QVERIFY(find<QRadioButton>(QStringLiteral("ctlComDisplay3"))->isChecked());
    }

    // The birthday asked for goes into the calendar once; the anniversary stays out while the settings say so.
    void birthdayGoesToTheCalendarOnce() {
        store().preferences.Anniversary2Calendar = false;
        frmEditAddress& editor = open(fresh());
        type(QStringLiteral("ctlLastName"), QStringLiteral("Doe"));
        type(QStringLiteral("ctlFirstName"), QStringLiteral("Ann"));
        auto* toCalendar = find<QCheckBox>(QStringLiteral("chkAdd2CalendarB"));
        QVERIFY(!toCalendar->isEnabled());
        AnswerDialog<DatePrompt>([](DatePrompt& prompt) { prompt.ctlDate->setSelectedDate(QDate(2001, 5, 4)); });
        Click(editor, QStringLiteral("cmdBirthday"));
        QCOMPARE(find<QLineEdit>(QStringLiteral("ctlBirthday"))->text(), QStringLiteral("5/4/2001"));
        QVERIFY(toCalendar->isEnabled());
        toCalendar->click();
        type(QStringLiteral("ctlAnniversary"), QStringLiteral("6/19/2010"));
        QVERIFY(!find<QCheckBox>(QStringLiteral("chkAdd2CalendarA"))->isEnabled());
        editor.cmdOK->click();
        QVERIFY(!editor.isVisible());
        QCOMPARE(rowsOf(CALENDAR::kAppointmentSection), 1);
        QVERIFY(FindYearlyEvent(store(), QDate(2001, 5, 4), QStringLiteral("Doe, Ann (Birthday)")) > 0);

        const Contact stored = *LoadContact(store(), editor.contact().key);
        QCOMPARE(stored.anniversary, QDate(2010, 6, 19));
        frmEditAddress& again = open(stored);
        QVERIFY(find<QCheckBox>(QStringLiteral("chkAdd2CalendarB"))->isChecked());
        type(QStringLiteral("ctlCom0"), QStringLiteral("555-0100"));
        again.cmdOK->click();
        QVERIFY(!again.isVisible());
        QCOMPARE(rowsOf(CALENDAR::kAppointmentSection), 1);
    }

    // Esc asks only when a value differs; moving a row to another slot changes no value.
    void escAsksOnlyAfterAChange() {
        const Contact loaded = seed();
        frmEditAddress& unchanged = open(loaded);
        find<QComboBox>(QStringLiteral("ctlComLabel4"))->setCurrentIndex(12);
        unchanged.cmdEsc->click();
        QVERIFY(!unchanged.isVisible() && unchanged.cancelled());
        QVERIFY(prompter().shown.isEmpty());

        frmEditAddress& editor = open(loaded);
        type(QStringLiteral("ctlUser9"), QStringLiteral("x"));
        editor.cmdEsc->click();
        QVERIFY(editor.isVisible());
        QCOMPARE(prompter().numbers(), QList<int>{20});
        prompter().replies << Reply::Yes;
        editor.cmdEsc->click();
        QVERIFY(!editor.isVisible() && editor.cancelled());
        QCOMPARE(LoadContact(store(), loaded.key)->texts[User9], QString());
    }

    // A category made in the category editor becomes the primary one and joins the list of further ones.
    void categoryEditorRefreshesTheLists() {
        open(seed({kFamily, kGolf}));
        QCOMPARE(shownCategories(), QStringLiteral("Family, Golf"));
        prompter().inputs << QStringLiteral("Pets");
        AnswerDialog<frmEditCategories>([](frmEditCategories& categories) { categories.cmdNew->click(); });
        Click(*m_editor, QStringLiteral("cmdEditCat"));
        QCOMPARE(find<QListWidget>(QStringLiteral("lstCategories"))->count(), 4);
        QCOMPARE(shownCategories(), QStringLiteral("Pets, Golf"));
        QCOMPARE(categoryItem(kFamily)->checkState(), Qt::Unchecked);
        QVERIFY(!categoryItem(kFamily)->isHidden());
    }

    // The idle watch closes the date prompt and the editor without a question; nothing typed reaches the file, and
    // the form that held them may go at once.
    void idleWatchDropsTheEdit() {
        const Contact loaded = seed();
        m_editor = std::make_unique<frmEditAddress>(store(), loaded);
        AnswerDialog<frmEditAddress>(
            [this](frmEditAddress& editor) {
                type(QStringLiteral("ctlLastName"), QStringLiteral("Roe"));
                WhenModal<DatePrompt>([this](DatePrompt*) { modal::CloseAll([this] { m_editor.reset(); }); });
                Click(editor, QStringLiteral("cmdBirthday"));
            },
            false);
        QCOMPARE(modal::Exec(m_editor.get()), int(QDialog::Rejected));
        QTRY_VERIFY(!m_editor);
        QVERIFY(prompter().shown.isEmpty());
        QCOMPARE(LoadContact(store(), loaded.key)->texts[LastName], QStringLiteral("Doe"));
        QCOMPARE(rowsOf(kContactSection), 1);
    }
};

NCT_GUI_TEST_MAIN(TestFrmEditAddress)
#include "tst_frm_edit_address.moc"

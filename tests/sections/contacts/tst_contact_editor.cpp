#include "calendar/appointment.h"
#include "sections/contacts/contact_editor.h"
#include "support/section_fixture.h"

namespace {

using namespace contacts;

const QDate kToday(2026, 11, 25);

Contact Named(const QString& last, const QString& first, const QString& company) {
    Contact c;
    c.texts[LastName] = last;
    c.texts[FirstName] = first;
    c.texts[CompanyName] = company;
    return c;
}

QVector<int> Slots(const QString& text) {
    QVector<int> slots;
    for (const QString& n : text.split(u' ', Qt::SkipEmptyParts)) {
        slots << n.toInt();
    }
    return slots;
}

} // namespace

class TestContactEditor : public SectionFixture {
    Q_OBJECT

    // A contact as the editor leaves it for a new one: a birthday and, if given, an anniversary.
    Contact person(const QString& last, const QDate& birthday, const QDate& anniversary = {}) {
        Contact c = Named(last, QStringLiteral("Ann"), {});
        c.owner = store().user.level;
        c.fileAs = RebuildFileAs(c, {}, NameOrder::LastFirst).chosen;
        c.birthday = birthday;
        c.anniversary = anniversary;
        return c;
    }
    int appointments() { return rowsOf(CALENDAR::kAppointmentSection); }
    std::optional<CALENDAR::Appointment> onlyAppointment(const QString& subject, const QDate& date) {
        const std::int32_t key = FindYearlyEvent(store(), date, subject);
        return key > 0 ? CALENDAR::LoadAppointment(store(), key) : std::nullopt;
    }

private Q_SLOTS:
    void init() { QVERIFY(freshFile()); }

    void readComSort_data() {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("slots");
        const QString standard = QStringLiteral("0 2 5 7 10 13 16 18 19 20");
        QTest::newRow("empty") << QString() << standard;
        QTest::newRow("ten slots") << "1 3 4 6 8 9 11 12 14 15"
                                   << "1 3 4 6 8 9 11 12 14 15";
        QTest::newRow("extra blanks") << " 20  19 18 17 16 15 14 13 12 11 "
                                      << "20 19 18 17 16 15 14 13 12 11";
        QTest::newRow("nine") << "0 1 2 3 4 5 6 7 8" << standard;
        QTest::newRow("eleven") << "0 1 2 3 4 5 6 7 8 9 10" << standard;
        QTest::newRow("a reserved slot") << "0 1 2 3 4 5 6 7 8 21" << standard;
        QTest::newRow("not a number") << "0 1 2 3 4 5 6 7 8 x" << standard;
    }
    void readComSort() {
        QFETCH(QString, text);
        QFETCH(QString, slots);
        QCOMPARE(ReadComSort(text), Slots(slots));
    }

    // The filled slots come first, at most nine, and the default fills the ten rows.
    void buildComSort_data() {
        QTest::addColumn<QString>("filled");
        QTest::addColumn<QString>("comSort");
        QTest::newRow("none") << QString() << "0 2 5 7 10 13 16 18 19 20";
        QTest::newRow("two outside the default") << "11 3"
                                                 << "3 11 0 2 5 7 10 13 16 18";
        QTest::newRow("one of the default") << "5"
                                            << "5 0 2 7 10 13 16 18 19 20";
        QTest::newRow("every slot") << "0 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 19 20"
                                    << "0 1 2 3 4 5 6 7 8 10";
        QTest::newRow("only reserved") << "21 22 23"
                                       << "0 2 5 7 10 13 16 18 19 20";
    }
    void buildComSort() {
        QFETCH(QString, filled);
        QFETCH(QString, comSort);
        Contact c;
        for (const int slot : Slots(filled)) {
            c.texts[kFirstSlot + slot] = QStringLiteral("value %1").arg(slot);
        }
        QCOMPARE(BuildComSort(c), comSort);
        QCOMPARE(ReadComSort(BuildComSort(c)), Slots(comSort));
    }

    // A row's chooser moves the row to another slot; what was typed stays with the slot it was typed into.
    void slotFollowing_data() {
        QTest::addColumn<int>("row");
        QTest::addColumn<QString>("typed");
        QTest::addColumn<int>("slot");
        QTest::addColumn<QString>("shown");
        QTest::addColumn<int>("primary");
        // Rows 0 to 2 show Work (slot 0), Home (2) and Mobile (5); Home is primary; Home 2 (3) has no row.
        QTest::newRow("to a slot no row showed") << 1 << "" << 3 << "home 2" << 3;
        QTest::newRow("typed, then away") << 0 << "new work" << 4 << "" << 2;
        QTest::newRow("onto another row's slot") << 2 << "" << 0 << "work" << 2;
        QTest::newRow("the primary row, typed") << 1 << "new home" << 8 << "" << 8;
        QTest::newRow("a reserved slot is refused") << 2 << "" << 21 << "mobile" << 2;
    }
    void slotFollowing() {
        QFETCH(int, row);
        QFETCH(QString, typed);
        QFETCH(int, slot);
        QFETCH(QString, shown);
        QFETCH(int, primary);
        Contact c;
        const std::pair<int, const char*> values[] = {
            {0, "work"}, {2, "home"}, {3, "home 2"}, {5, "mobile"}, {21, "reserved"}};
        for (const auto& [s, text] : values) {
            c.texts[kFirstSlot + s] = QString::fromLatin1(text);
        }
        c.comDisplay = 2;
        ComRows rows(c);
        QCOMPARE(ComRows::ChooserLabels().size(), kShownSlots);
        QCOMPARE(rows.primaryRow(), 1);
        const int before = rows.slotOf(row);
        if (!typed.isEmpty()) {
            rows.setValue(row, typed);
        }
        rows.chooseSlot(row, slot);
        QCOMPARE(rows.value(row), shown);
        QCOMPARE(rows.primaryRow(), 1);
        Contact saved = c;
        rows.applyTo(saved);
        QCOMPARE(saved.comDisplay, primary);
        QCOMPARE(saved.slot(before), typed.isEmpty() ? c.slot(before) : typed);
        for (const auto& [s, text] : values) {
            if (s != before || typed.isEmpty()) {
                QCOMPARE(saved.slot(s), QString::fromLatin1(text));
            }
        }
    }

    // A primary slot that no row shows stays primary.
    void primaryWithoutRow() {
        Contact c;
        c.comDisplay = 17;
        c.texts[kFirstSlot + 17] = QStringLiteral("chat");
        ComRows rows(c);
        QCOMPARE(rows.primaryRow(), -1);
        Contact saved = c;
        rows.applyTo(saved);
        QCOMPARE(saved.comDisplay, 17);
        QVERIFY(!ChangedSinceLoaded(c, saved));
    }

    void addressSets() {
        QCOMPARE(AddressFields(0), (std::array<int, 5>{HomeAddressStreet, HomeAddressCity, HomeAddressState,
                                                       HomeAddressPostalCode, HomeAddressCountry}));
        QCOMPARE(AddressFields(1)[0], int(BusinessAddressStreet));
        QCOMPARE(AddressFields(2)[4], int(OtherAddressCountry));
    }

    void fileAsCandidates_data() {
        QTest::addColumn<QString>("last");
        QTest::addColumn<QString>("first");
        QTest::addColumn<QString>("company");
        QTest::addColumn<bool>("lastFirst");
        QTest::addColumn<QStringList>("candidates");
        QTest::newRow("nothing") << ""
                                 << ""
                                 << "" << true << QStringList{};
        QTest::newRow("blanks") << "  "
                                << " "
                                << "" << true << QStringList{};
        QTest::newRow("only a company") << ""
                                        << ""
                                        << "Acme" << true << QStringList{"Acme"};
        QTest::newRow("only a last name") << "Doe"
                                          << ""
                                          << "" << false << QStringList{"Doe"};
        QTest::newRow("only a first name") << ""
                                           << "John"
                                           << "Acme" << true << QStringList{"John", "Acme", "John, Acme", "Acme, John"};
        QTest::newRow("last first") << "Doe"
                                    << "John"
                                    << "" << true << QStringList{"Doe, John", "John Doe"};
        QTest::newRow("first last") << "Doe"
                                    << "John"
                                    << "" << false << QStringList{"John Doe", "Doe, John"};
        QTest::newRow("all, last first") << "Doe"
                                         << " John "
                                         << "Acme" << true
                                         << QStringList{"Doe, John", "John Doe", "Acme", "Doe, John, Acme",
                                                        "Acme, Doe, John"};
        QTest::newRow("all, first last") << "Doe"
                                         << "John"
                                         << "Acme" << false
                                         << QStringList{"John Doe",       "Doe, John",      "Acme",
                                                        "John Doe, Acme", "Acme, John Doe", "Doe, John, Acme"};
    }
    void fileAsCandidates() {
        QFETCH(QString, last);
        QFETCH(QString, first);
        QFETCH(QString, company);
        QFETCH(bool, lastFirst);
        QFETCH(QStringList, candidates);
        const NameOrder order = lastFirst ? NameOrder::LastFirst : NameOrder::FirstLast;
        const Contact c = Named(last, first, company);
        QCOMPARE(FileAsCandidates(c, order), candidates);
        const FileAsChoice choice = RebuildFileAs(c, QStringLiteral("chosen before"), order);
        QCOMPARE(choice.chosen, candidates.value(0));
        QCOMPARE(CheckFileAs(choice.chosen), candidates.isEmpty() ? Result::Message(15) : Result());
    }

    // A choice stays while it is a candidate, and gives way when its parts are gone.
    void fileAsChoiceStays() {
        Contact c = Named(QStringLiteral("Doe"), QStringLiteral("John"), QStringLiteral("Acme"));
        QCOMPARE(RebuildFileAs(c, QStringLiteral("Acme"), NameOrder::LastFirst).chosen, QStringLiteral("Acme"));
        c.texts[CompanyName].clear();
        QCOMPARE(RebuildFileAs(c, QStringLiteral("Acme"), NameOrder::LastFirst).chosen, QStringLiteral("Doe, John"));
    }

    void changedSinceLoaded() {
        Contact loaded = Named(QStringLiteral("Doe"), QStringLiteral("John"), {});
        loaded.fileAs = QStringLiteral("Doe, John");
        loaded.categories = {3, 5};
        Contact typed = loaded;
        QVERIFY(!ChangedSinceLoaded(loaded, typed));
        typed.texts[ComSort] = QStringLiteral("1 2 3 4 5 6 7 8 9 10");
        QVERIFY(!ChangedSinceLoaded(loaded, typed));
        const std::function<void(Contact&)> changes[] = {
            [](Contact& c) { c.texts[User9] = QStringLiteral("x"); },
            [](Contact& c) { c.texts[kFirstSlot + 22] = QStringLiteral("x"); },
            [](Contact& c) { c.birthday = QDate(1990, 1, 1); },
            [](Contact& c) {
                c.categories = {5, 3};
            },
            [](Contact& c) { c.comDisplay = 5; },
            [](Contact& c) { c.isPrivate = true; },
            [](Contact& c) { c.fileAs = QStringLiteral("John Doe"); },
        };
        for (const auto& change : changes) {
            Contact changed = loaded;
            change(changed);
            QVERIFY(ChangedSinceLoaded(loaded, changed));
        }
    }

    void dates_data() {
        QTest::addColumn<QLocale>("locale");
        QTest::addColumn<QDate>("date");
        QTest::addColumn<QString>("text");
        QTest::newRow("no date") << QLocale(QLocale::German, QLocale::Germany) << QDate() << "";
        QTest::newRow("the sentinel") << QLocale(QLocale::German, QLocale::Germany) << NoDate() << "";
        QTest::newRow("German") << QLocale(QLocale::German, QLocale::Germany) << QDate(1952, 2, 29) << "29.02.1952";
        // The short format's two-digit year would come back as 2052.
        QTest::newRow("US") << QLocale(QLocale::English, QLocale::UnitedStates) << QDate(1952, 2, 29) << "2/29/1952";
    }
    void dates() {
        QFETCH(QLocale, locale);
        QFETCH(QDate, date);
        QFETCH(QString, text);
        QCOMPARE(DateText(date, locale), text);
        QCOMPARE(DateOfText(text, locale), std::optional<QDate>(date == NoDate() ? QDate() : date));
        QCOMPARE(DateOfText(QStringLiteral("soon"), locale), std::nullopt);
    }

    void categories_data() {
        QTest::addColumn<int>("primary");
        QTest::addColumn<QVector<int>>("chosen");
        QTest::addColumn<QVector<int>>("filed");
        QTest::newRow("unfiled") << 0 << QVector<int>{} << QVector<int>{};
        QTest::newRow("primary only") << 4 << QVector<int>{} << QVector<int>{4};
        QTest::newRow("primary moves first") << 7 << QVector<int>{2, 7, 3} << QVector<int>{7, 2, 3};
        QTest::newRow("no primary") << 0 << QVector<int>{5, 3} << QVector<int>{5, 3};
        QTest::newRow("commands dropped") << 9999 << QVector<int>{-1, 0, 6, 6} << QVector<int>{6};
    }
    void categories() {
        QFETCH(int, primary);
        QFETCH(QVector<int>, chosen);
        QFETCH(QVector<int>, filed);
        QCOMPARE(EditorCategories(primary, chosen), filed);
    }

    // The yearly appointment, its rule byte for byte: kind 6 with end mode 0, day, month, then the first and
    // the last day (in 2075) as 16-bit days from 20 March 1997.
    void birthdayAppointment_data() {
        QTest::addColumn<QDate>("birthday");
        QTest::addColumn<QByteArray>("redo");
        QTest::addColumn<QDate>("first");
        QTest::newRow("after 1997") << QDate(2001, 5, 4) << QByteArray::fromHex("060405e205766f") << QDate(2001, 5, 4);
        QTest::newRow("before 1997") << QDate(1980, 3, 14) << QByteArray::fromHex("060e03b9e7436f")
                                     << QDate(1980, 3, 14);
        QTest::newRow("before the calendar")
            << QDate(1850, 7, 15) << QByteArray::fromHex("060f077a81be6f") << QDate(1908, 7, 15);
    }
    void birthdayAppointment() {
        QFETCH(QDate, birthday);
        QFETCH(QByteArray, redo);
        QFETCH(QDate, first);
        Contact typed = person(QStringLiteral("Doe"), birthday);
        QCOMPARE(SaveContactFromEditor(store(), Contact(), typed, {.birthday = true}, kToday), Result());
        QVERIFY(typed.key > 0);
        QCOMPARE(appointments(), 1);
        const QString subject = QStringLiteral("Doe, Ann (Birthday)");
        const std::optional<CALENDAR::Appointment> a = onlyAppointment(subject, birthday);
        QVERIFY(a);
        QCOMPARE(a->redo, redo);
        QVERIFY(a->allDay);
        QCOMPARE(a->start, CALENDAR::MinuteOf(first));
        QCOMPARE(a->end, a->start + CALENDAR::kMinutesPerDay);
        // Saved again unchanged: still the one.
        Contact again = *LoadContact(store(), typed.key);
        QCOMPARE(SaveContactFromEditor(store(), *LoadContact(store(), typed.key), again, {.birthday = true}, kToday),
                 Result());
        QCOMPARE(appointments(), 1);
        QCOMPARE(LoadContact(store(), typed.key)->texts[ComSort], QStringLiteral("0 2 5 7 10 13 16 18 19 20"));
    }

    // A new date and a new name move the appointment written before, with what the person added to it.
    void birthdayEditedAgain() {
        Contact typed = person(QStringLiteral("Doe"), QDate(2001, 5, 4));
        QVERIFY(SaveContactFromEditor(store(), Contact(), typed, {.birthday = true}, kToday).ok());
        CALENDAR::Appointment a = *onlyAppointment(QStringLiteral("Doe, Ann (Birthday)"), QDate(2001, 5, 4));
        a.alarmOn = true;
        a.alarmDelay = 1440;
        QVERIFY(CALENDAR::StoreAppointment(store(), a, kToday).ok());

        const Contact loaded = *LoadContact(store(), typed.key);
        Contact edited = loaded;
        edited.birthday = QDate(2003, 5, 4);
        edited.texts[LastName] = QStringLiteral("Roe");
        edited.fileAs = QStringLiteral("Roe, Ann");
        QVERIFY(SaveContactFromEditor(store(), loaded, edited, {.birthday = true}, kToday).ok());
        QCOMPARE(appointments(), 1);
        const std::optional<CALENDAR::Appointment> moved = CALENDAR::LoadAppointment(store(), a.key);
        QVERIFY(moved);
        QCOMPARE(moved->subject, QStringLiteral("Roe, Ann (Birthday)"));
        QCOMPARE(moved->redo, QByteArray::fromHex("060405bc08766f"));
        QVERIFY(moved->alarmOn);
        QCOMPARE(FindYearlyEvent(store(), QDate(2001, 5, 4), QStringLiteral("Doe, Ann (Birthday)")), 0);
    }

    void calendarAllowed_data() {
        QTest::addColumn<bool>("boxB");
        QTest::addColumn<bool>("boxA");
        QTest::addColumn<bool>("settingB");
        QTest::addColumn<bool>("settingA");
        QTest::addColumn<QStringList>("subjects");
        const QString b = QStringLiteral("Doe, Ann (Birthday)");
        const QString a = QStringLiteral("Doe, Ann (Anniversary)");
        QTest::newRow("both") << true << true << true << true << QStringList{b, a};
        QTest::newRow("boxes off") << false << false << true << true << QStringList{};
        QTest::newRow("birthday setting off") << true << true << false << true << QStringList{a};
        QTest::newRow("anniversary setting off") << true << true << true << false << QStringList{b};
        QTest::newRow("anniversary box only") << false << true << true << true << QStringList{a};
    }
    void calendarAllowed() {
        QFETCH(bool, boxB);
        QFETCH(bool, boxA);
        QFETCH(bool, settingB);
        QFETCH(bool, settingA);
        QFETCH(QStringList, subjects);
        store().preferences.Birthday2Calendar = settingB;
        store().preferences.Anniversary2Calendar = settingA;
        const QDate birthday(1980, 3, 14);
        const QDate wedding(2010, 6, 19);
        Contact typed = person(QStringLiteral("Doe"), birthday, wedding);
        QVERIFY(SaveContactFromEditor(store(), Contact(), typed, {.birthday = boxB, .anniversary = boxA}, kToday).ok());
        QCOMPARE(appointments(), subjects.size());
        QCOMPARE(FindYearlyEvent(store(), birthday, QStringLiteral("Doe, Ann (Birthday)")) > 0,
                 subjects.contains(QStringLiteral("Doe, Ann (Birthday)")));
        QCOMPARE(FindYearlyEvent(store(), wedding, QStringLiteral("Doe, Ann (Anniversary)")) > 0,
                 subjects.contains(QStringLiteral("Doe, Ann (Anniversary)")));
    }

    // A contact refused leaves no appointment behind, and no key.
    void refusedWritesNothing() {
        Contact typed = person(QString(), QDate(2001, 5, 4));
        typed.fileAs.clear();
        QCOMPARE(SaveContactFromEditor(store(), Contact(), typed, {.birthday = true}, kToday), Result::Message(15));
        QCOMPARE(typed.key, -1);
        QCOMPARE(appointments(), 0);
        QCOMPARE(rowsOf(kContactSection), 0);
    }
};

NCT_TEST_MAIN(TestContactEditor)
#include "tst_contact_editor.moc"

#include "sections/diary/diary.h"
#include "support/section_fixture.h"

using namespace diary;

// What the diary adds to the record contract: entries belong to their writer, a day holds one text, a week is
// read from its first day.
class TestDiary : public SectionFixture {
    Q_OBJECT

    const QDate kDay{2024, 3, 12};

    std::int32_t write(const QDate& day, const QString& text, std::int32_t key = -1) {
        DiaryEntry entry{key, store().user.level, day, text};
        return StoreDiaryDay(store(), entry).ok() ? entry.key : 0;
    }

    QStringList texts(const QDate& from, const QDate& to) {
        QStringList result;
        for (const DiaryEntry& e : LoadEntries(store(), from, to)) {
            result << e.date.toString(Qt::ISODate) + u' ' + e.text;
        }
        return result;
    }

private Q_SLOTS:
    void init() { QVERIFY(freshFile()); }

    void eachUserSeesOnlyTheirOwn() {
        QVERIFY(addSecondUser(1));
        QVERIFY(write(kDay, QStringLiteral("mine")) > 0);
        QVERIFY(reopen(kSecondUser));
        QCOMPARE(store().user.level, 1);
        QCOMPARE(texts(kDay, kDay), QStringList());
        QVERIFY(write(kDay, QStringLiteral("theirs")) > 0);
        QCOMPARE(texts(kDay, kDay), QStringList{"2024-03-12 theirs"});
        QVERIFY(reopen(kFirstUser));
        QCOMPARE(texts(kDay, kDay), QStringList{"2024-03-12 mine"});
        QCOMPARE(rowsOf(kDiarySection), 2);
    }

    void emptyTextIsStoredNotDeleted() {
        const std::int32_t key = write(kDay, QStringLiteral("words"));
        QCOMPARE(write(kDay, QString(), key), key);
        QVERIFY(write(kDay.addDays(1), QString()) > 0);
        QVERIFY(reopen(kFirstUser));
        const QVector<DiaryEntry> entries = LoadEntries(store(), kDay, kDay.addDays(1));
        QCOMPARE(entries.size(), 2);
        QCOMPARE(entries[0].key, key);
        QVERIFY(entries[0].text.isEmpty() && entries[1].text.isEmpty());
        QCOMPARE(rowsOf(kDiarySection), 2);
    }

    void weekFromItsFirstDay_data() {
        QTest::addColumn<int>("firstDay");
        QTest::addColumn<QDate>("start");
        QTest::addColumn<QStringList>("days");
        // Wednesday 13 March 2024; entries on the Sundays around it and on the Monday between.
        QTest::newRow("Monday first") << int(Qt::Monday) << QDate(2024, 3, 11)
                                      << QStringList{"Monday", "", "", "", "", "", "second Sunday"};
        QTest::newRow("Sunday first") << int(Qt::Sunday) << QDate(2024, 3, 10)
                                      << QStringList{"first Sunday", "Monday", "", "", "", "", ""};
    }
    void weekFromItsFirstDay() {
        QFETCH(int, firstDay);
        QFETCH(QDate, start);
        QFETCH(QStringList, days);
        write(QDate(2024, 3, 10), QStringLiteral("first Sunday"));
        write(QDate(2024, 3, 11), QStringLiteral("Monday"));
        write(QDate(2024, 3, 17), QStringLiteral("second Sunday"));
        QCOMPARE(WeekStart(QDate(2024, 3, 13), Qt::DayOfWeek(firstDay)), start);
        QCOMPARE(WeekStart(start, Qt::DayOfWeek(firstDay)), start);
        const std::array<DiaryEntry, 7> week = LoadWeek(store(), start);
        for (int i = 0; i < 7; ++i) {
            QCOMPARE(week[i].date, start.addDays(i));
            QCOMPARE(week[i].text, days[i]);
            QCOMPARE(week[i].key > 0, !days[i].isEmpty());
        }
    }

    void laterRowOfADayWins() {
        write(kDay, QStringLiteral("earlier"));
        const std::int32_t later = write(kDay, QStringLiteral("later"));
        const std::array<DiaryEntry, 7> week = LoadWeek(store(), WeekStart(kDay, Qt::Monday));
        QCOMPARE(week[1].key, later);
        QCOMPARE(week[1].text, QStringLiteral("later"));
        QCOMPARE(texts(kDay, kDay), QStringList{"2024-03-12 later"});
    }
};

NCT_TEST_MAIN(TestDiary)
#include "tst_diary.moc"

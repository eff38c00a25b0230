#include "sections/diary/diary.h"
#include "sections/memos/memo.h"
#include "sections/record_store.h"

#include "support/test_main.h"

#include <array>
#include <cstdint>

namespace {

const QString kPassphrase = QStringLiteral("lists of many rows");

} // namespace

class TestRecordStore : public FileTest {
    Q_OBJECT
private Q_SLOTS:
    // The week is found through its day numbers, which other sections' rows may share by chance.
    void weekHoldsOnlyThisUsersDays() {
        QVERIFY(newFile(kPassphrase));
        Store& s = store();
        const int me = s.user.level;
        const QDate monday(2024, 5, 6);
        std::array<std::int32_t, 7> keys{};
        for (int i = -3; i < 10; ++i) {
            diary::DiaryEntry entry{.owner = me, .date = monday.addDays(i), .text = QStringLiteral("Day %1").arg(i)};
            QVERIFY(diary::StoreDiaryDay(s, entry).ok());
            if (i >= 0 && i < 7) {
                keys[static_cast<std::size_t>(i)] = entry.key;
            }
        }
        diary::DiaryEntry foreign{.owner = me + 1, .date = monday.addDays(2), .text = QStringLiteral("Not yours")};
        QVERIFY(diary::StoreDiaryDay(s, foreign).ok());
        const std::int64_t memo = AddNewRow(s.connection(), [&](std::int64_t fpk, RowValues& row) {
            row.set(Col::fSec, memos::kMemoSection);
            row.set(Col::fR3, records::DayNumber(monday.addDays(3), diary::kDiaryDayBase));
            row.set(Col::fEtx, s.cry.Cipher(static_cast<std::int32_t>(fpk), 1, QByteArray("not a diary blob")));
            return true;
        });
        QVERIFY(memo > 0);

        QVERIFY(reopen(kPassphrase));
        const std::array<diary::DiaryEntry, 7> week = diary::LoadWeek(store(), monday);
        for (int i = 0; i < 7; ++i) {
            const diary::DiaryEntry& entry = week[static_cast<std::size_t>(i)];
            QCOMPARE(entry.key, keys[static_cast<std::size_t>(i)]);
            QCOMPARE(entry.date, monday.addDays(i));
            QCOMPARE(entry.text, QStringLiteral("Day %1").arg(i));
        }
    }
};

NCT_TEST_MAIN(TestRecordStore)
#include "tst_record_store.moc"

#include "sections/diary/diary.h"
#include "sections/memos/memo.h"
#include "sections/record_store.h"

#include "support/test_main.h"

#include <QDateTime>
#include <QStringList>

#include <algorithm>
#include <array>
#include <cstdint>

namespace {

const QString kPassphrase = QStringLiteral("lists of many rows");
const QDateTime kNow(QDate(2024, 5, 6), QTime(10, 30));

QStringList Texts(const QVector<records::ListedTitle>& titles) {
    QStringList texts;
    for (const records::ListedTitle& t : titles) {
        texts << QStringLiteral("%1 %2 %3").arg(t.key).arg(t.category).arg(t.title);
    }
    return texts;
}

} // namespace

class TestRecordStore : public FileTest {
    Q_OBJECT
private Q_SLOTS:
    // Enough memos that the titles are deciphered in several batches on several threads while the rows are read;
    // the list must still come back whole, in key order, with only what this reader may see.
    void listsManyTitlesAsTheReaderMaySee() {
        QVERIFY(newFile(kPassphrase));
        Store& s = store();
        QVERIFY(!s.connection().exec("BEGIN"));
        QStringList all;
        QStringList inOne;
        QStringList publicInOne;
        for (int i = 0; i < 200; ++i) {
            const QString subject = i % 7 == 0 ? QStringLiteral("日記 %1").arg(i) : QStringLiteral("Memo %1").arg(i);
            memos::Memo memo = memos::NewMemo(s.user.level, i % 3, subject, kNow);
            memo.isPrivate = i % 5 == 0;
            QVERIFY(memos::StoreMemo(s, memo, kNow).ok());
            const QString text = QStringLiteral("%1 %2 %3").arg(memo.key).arg(memo.category).arg(subject);
            all << text;
            if (memo.category == 1) {
                inOne << text;
                if (!memo.isPrivate) {
                    publicInOne << text;
                }
            }
        }
        // Left out of every list: a memo without a subject (its title is noise), another owner's memo, and a
        // diary day, whose title column is noise too.
        memos::Memo untitled = memos::NewMemo(s.user.level, 1, QString(), kNow);
        QVERIFY(memos::StoreMemo(s, untitled, kNow).ok());
        const int me = s.user.level;
        s.user.level = me + 1;
        memos::Memo foreign = memos::NewMemo(s.user.level, 1, QStringLiteral("Not yours"), kNow);
        QVERIFY(memos::StoreMemo(s, foreign, kNow).ok());
        s.user.level = me;
        diary::DiaryEntry day{.owner = me, .date = kNow.date(), .text = QStringLiteral("A day")};
        QVERIFY(diary::StoreDiaryDay(s, day).ok());
        QVERIFY(!s.connection().exec("COMMIT"));

        QVERIFY(reopen(kPassphrase));
        store().hidePrivate = false;
        QCOMPARE(Texts(memos::ListMemos(store(), records::kAllCategories)), all);
        QCOMPARE(Texts(memos::ListMemos(store(), 1)), inOne);
        QVERIFY(memos::ListMemos(store(), 9).isEmpty());
        store().hidePrivate = true;
        QCOMPARE(Texts(memos::ListMemos(store(), 1)), publicInOne);

        // Lists after the first know where each memo is filed; a memo filed anew or deleted must show so at once.
        std::optional<memos::Memo> moved = memos::LoadMemo(store(), all.at(3).section(QLatin1Char(' '), 0, 0).toInt());
        QVERIFY(moved && moved->category == 0 && !moved->isPrivate);
        moved->category = 1;
        QVERIFY(memos::StoreMemo(store(), *moved, kNow).ok());
        const QVector<records::ListedTitle> withMoved = memos::ListMemos(store(), 1);
        QCOMPARE(withMoved.size(), publicInOne.size() + 1);
        QVERIFY(std::any_of(withMoved.begin(), withMoved.end(),
                            [&](const records::ListedTitle& t) { return t.key == moved->key; }));
        QVERIFY(memos::ListMemos(store(), 0).size() < all.size() / 3);
        QVERIFY(memos::DeleteMemo(store(), moved->key).ok());
        QCOMPARE(Texts(memos::ListMemos(store(), 1)), publicInOne);
    }

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

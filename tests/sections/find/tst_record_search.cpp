#include "base/messages.h"
#include "sections/find/find_sections.h"
#include "shell/dates.h"
#include "support/find_records.h"
#include "support/section_fixture.h"

#include <QRandomGenerator>

using namespace find;

// Find over the deciphered records: what counts as a hit, what stays hidden, and the grouped search on all cores
// finding exactly what a search row by row finds.
class TestRecordSearch : public SectionFixture {
    Q_OBJECT

    static inline const QString kRowsSearched = QStringLiteral("SELECT COUNT(*) FROM tt WHERE fSec BETWEEN 11 AND 17");
    static inline const QString kSelectors =
        QStringLiteral("SELECT COUNT(DISTINCT substr(fEtx,1,2)) FROM tt WHERE fSec BETWEEN 11 AND 17");

    Query query(const QString& text, QList<int> sections = {11, 12, 13, 14, 15, 16, 17}) {
        Query q;
        q.text = text;
        q.sections = sections;
        q.showPrivate = m_run->session.ShowPrivate;
        q.owner = store().user.level;
        return q;
    }

    QVector<Hit> search(const Query& q, Outcome* outcome = nullptr) {
        QVector<Hit> hits;
        const std::atomic<bool> stop = false;
        const Outcome o = Search(store(), q, SearchableSections(), stop, [&](QVector<Hit>&& found) { hits += found; });
        if (outcome != nullptr) {
            *outcome = o;
        }
        SortHits(hits, q.sections);
        return hits;
    }

    static QStringList keysOf(const QVector<Hit>& hits) {
        QStringList keys;
        for (const Hit& h : hits) {
            keys << QStringLiteral("%1:%2").arg(h.section).arg(h.key);
        }
        return keys;
    }

    // Memos with a word from a small vocabulary in subject or text, some private, for searches with many hits.
    void writeMemos(int count) {
        const QStringList words{QStringLiteral("harbour"), QStringLiteral("Ärztin"), QStringLiteral("Привет"),
                                QStringLiteral("ferry"), QStringLiteral("κόσμος")};
        QRandomGenerator random(7);
        const QDateTime now(find_records::kDay, QTime(8, 0));
        QVERIFY(!store().connection().exec("BEGIN"));
        for (int i = 0; i < count; ++i) {
            memos::Memo m = memos::NewMemo(store().user.level, 0, QStringLiteral("note %1").arg(i), now);
            m.text = QStringLiteral("about the ") + words[random.bounded(words.size())] + QStringLiteral(" today");
            m.isPrivate = i % 9 == 0;
            QVERIFY(memos::StoreMemo(store(), m, now).ok());
        }
        QVERIFY(!store().connection().exec("COMMIT"));
    }

private Q_SLOTS:
    void init() {
        QVERIFY(freshFile());
        budget::CreateDefaultBudgets(store());
    }

    void twoCharactersAtLeast_data() {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("searchable");
        QTest::newRow("empty") << QString() << false;
        QTest::newRow("one letter") << QStringLiteral("a") << false;
        QTest::newRow("one character outside the basic plane") << QStringLiteral("\U0001F600") << false;
        QTest::newRow("two letters") << QStringLiteral("ab") << true;
        QTest::newRow("two blanks") << QStringLiteral("  ") << true;
    }
    void twoCharactersAtLeast() {
        QFETCH(QString, text);
        QFETCH(bool, searchable);
        QCOMPARE(SearchableText(text), searchable);
        if (!searchable) {
            find_records::WriteOneOfEach(store(), QStringLiteral("a"));
            QVERIFY(search(query(text)).isEmpty());
        }
    }

    void everySectionListsItsHit() {
        showPrivate(true);
        const std::map<int, std::int32_t> keys = find_records::WriteOneOfEach(store(), QStringLiteral("Quokka"));
        find_records::WriteOneOfEach(store(), QStringLiteral("wombat"));
        const QVector<Hit> hits = search(query(QStringLiteral("quokka")));
        QCOMPARE(hits.size(), 7);
        const QString day = dates::ShortDate(find_records::kDay);
        const QMap<int, QStringList> expected{{11, {"Lindqvist, Maja", ""}},
                                              {12, {"Dentist Quokka", day}},
                                              {13, {QLocale().toString(find_records::kDay, QLocale::LongFormat), day}},
                                              {14, {"Shopping Quokka", ""}},
                                              {15, {"Call Quokka", MsgText(122) + u' ' + day}},
                                              {16, {"Bank Quokka", "Bank Quokka"}},
                                              {17, {"Groceries Quokka", day}}};
        for (const Hit& hit : hits) {
            QCOMPARE(hit.key, keys.at(hit.section));
            QCOMPARE(QStringList({hit.item, hit.detail}), expected.value(hit.section));
            QCOMPARE(hit.date.isValid(), hit.section == 12 || hit.section == 13 || hit.section == 17);
            QCOMPARE(hit.budget, hit.section == 17 ? 1 : 0);
        }
        QCOMPARE(search(query(QStringLiteral("quokka"), {14, 11})).first().section, 14);
    }

    void caseBlindInEveryScript_data() {
        QTest::addColumn<QString>("stored");
        QTest::addColumn<QString>("typed");
        QTest::addColumn<bool>("caseSensitive");
        QTest::addColumn<bool>("found");
        QTest::newRow("latin") << "Harbour View"
                               << "harbour view" << false << true;
        QTest::newRow("latin, case-sensitive") << "Harbour View"
                                               << "harbour view" << true << false;
        QTest::newRow("code page letters") << "Ärztin Müller"
                                           << "ärztin MÜLLER" << false << true;
        QTest::newRow("cyrillic") << "Москва"
                                  << "МОСКВА" << false << true;
        QTest::newRow("greek") << "Αθήνα"
                               << "αθήνα" << false << true;
        QTest::newRow("greek, case-sensitive") << "Αθήνα"
                                               << "αθήνα" << true << false;
        QTest::newRow("fields are searched one by one") << "Harbour"
                                                        << "Harbourbread" << false << false;
    }
    void caseBlindInEveryScript() {
        QFETCH(QString, stored);
        QFETCH(QString, typed);
        QFETCH(bool, caseSensitive);
        QFETCH(bool, found);
        memos::Memo m = memos::NewMemo(store().user.level, 0, stored, QDateTime::currentDateTime());
        m.text = QStringLiteral("bread, milk");
        QVERIFY(memos::StoreMemo(store(), m, QDateTime::currentDateTime()).ok());
        Query q = query(typed, {14});
        q.caseSensitive = caseSensitive;
        QCOMPARE(search(q).size(), found ? 1 : 0);
    }

    // Only what the person typed is searched: not a number's bytes, not the program's own coding of a rule.
    void numbersDatesAndCodingsGiveNoHit() {
        budget::Transaction t = budget::ClearTransaction(store().user.level, 0, find_records::kDay);
        t.description = QStringLiteral("Rent");
        t.amount = Currency::FromUnits(12345678);
        QVERIFY(budget::StoreTransaction(store(), 1, t).ok());
        CALENDAR::Appointment a;
        a.owner = store().user.level;
        a.start = CALENDAR::MinuteOf(find_records::kDay, 600);
        a.end = a.start + 30;
        a.subject = QStringLiteral("Standup");
        a.redo = QByteArrayLiteral("W1;0;1;0;0;0;0");
        QVERIFY(CALENDAR::StoreAppointment(store(), a, find_records::kDay).ok());
        for (const char* text : {"1234", "2026", "W1", ";0;"}) {
            QVERIFY2(search(query(QLatin1String(text))).isEmpty(), text);
        }
        QCOMPARE(search(query(QStringLiteral("standup"))).size(), 1);
    }

    void privateRecordsStayHidden() {
        for (const int section : {11, 12, 14, 15, 16, 17}) {
            QVERIFY(find_records::Write(store(), section, QStringLiteral("secretword"), true) > 0);
            QVERIFY(find_records::Write(store(), section, QStringLiteral("secretword"), false) > 0);
        }
        QVERIFY(find_records::Write(store(), 13, QStringLiteral("secretword")) > 0);
        showPrivate(false);
        QVector<Hit> hits = search(query(QStringLiteral("secretword")));
        QCOMPARE(hits.size(), 6);
        QVERIFY(std::none_of(hits.begin(), hits.end(), [](const Hit& h) { return h.section == 13; }));
        showPrivate(true);
        QCOMPARE(search(query(QStringLiteral("secretword"))).size(), 13);
    }

    void anotherUsersRecordsStayHidden() {
        QVERIFY(addSecondUser(1));
        QVERIFY(find_records::Write(store(), 14, QStringLiteral("sharedword")) > 0);
        QVERIFY(reopen(kSecondUser));
        QVERIFY(search(query(QStringLiteral("sharedword"))).isEmpty());
        QVERIFY(find_records::Write(store(), 14, QStringLiteral("sharedword")) > 0);
        QCOMPARE(search(query(QStringLiteral("sharedword"))).size(), 1);
    }

    void groupedSearchFindsWhatRowByRowFinds_data() {
        QTest::addColumn<bool>("showPrivate");
        QTest::newRow("private shown") << true;
        QTest::newRow("private hidden") << false;
    }
    void groupedSearchFindsWhatRowByRowFinds() {
        QFETCH(bool, showPrivate);
        writeMemos(1500);
        find_records::WriteOneOfEach(store(), QStringLiteral("harbour"));
        this->showPrivate(showPrivate);
        for (const char* text : {"HARBOUR", "ärztin", "привет", "ΚΌΣΜΟΣ", "nowhere"}) {
            const Query q = query(QString::fromUtf8(text));
            Outcome outcome;
            const QVector<Hit> grouped = search(q, &outcome);
            QVector<Hit> plain = SearchRowByRow(store(), q, SearchableSections());
            SortHits(plain, q.sections);
            QCOMPARE(keysOf(grouped), keysOf(plain));
            QCOMPARE(outcome.rows, Scalar(store().connection(), kRowsSearched).toLongLong());
            QCOMPARE(outcome.keySchedules, Scalar(store().connection(), kSelectors).toLongLong());
            QVERIFY(!outcome.stopped && !outcome.failed);
        }
    }

    void stopKeepsTheHitsSoFar() {
        writeMemos(3000);
        showPrivate(true);
        std::atomic<bool> stop = false;
        QVector<Hit> hits;
        const Outcome outcome = Search(store(), query(QStringLiteral("today"), {14}), SearchableSections(), stop,
                                       [&](QVector<Hit>&& found) {
                                           hits += found;
                                           stop = true;
                                       });
        QVERIFY(outcome.stopped);
        QVERIFY(!hits.isEmpty());
        QVERIFY(hits.size() < 3000);
        QVERIFY(outcome.rows < 3000);
    }
};

QTEST_MAIN(TestRecordSearch)
#include "tst_record_search.moc"

#include "store/backup.h"
#include "store/check.h"
#include "store/db.h"
#include "support/test_main.h"

#include <memory>

#include <sys/wait.h>
#include <unistd.h>

namespace {

const QString kPassphrase = QStringLiteral("a good passphrase 1");

// Empty when the file opens and holds exactly these memos, each deciphering to its text.
QString memosDiffer(const QString& file, const QMap<std::int64_t, QByteArray>& memos) {
    TestSession opening;
    if (OpenDatabase(opening, file, kPassphrase) != 0) {
        return QStringLiteral("does not open");
    }
    if (Scalar(opening.store().connection(), QStringLiteral("SELECT count(*) FROM tt WHERE fSec=14")) != memos.size()) {
        return QStringLiteral("not %1 memos").arg(memos.size());
    }
    for (auto it = memos.begin(); it != memos.end(); ++it) {
        if (ReadRecord(opening.store(), it.key()) != it.value()) {
            return QStringLiteral("memo %1 differs").arg(it.key());
        }
    }
    return {};
}

} // namespace

class TestCheckBackup : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void init() {
        m_dir = std::make_unique<QTemporaryDir>();
        QVERIFY(m_dir->isValid());
        m_memos.clear();
    }

    void removeDuplicates_data() {
        QTest::addColumn<int>("section");
        QTest::addColumn<QString>("titles"); // fT1 in key order, "~" a null one; lower case marks the rows that go
        // The section's first row is never counted, so the first copy of its title stays as well.
        QTest::newRow("first row") << 14 << "A A a";
        QTest::newRow("first copy stays") << 16 << "C A B a b b C";
        QTest::newRow("null never a copy") << 13 << "C ~ ~ ~ A";
        QTest::newRow("section 11 checked") << 11 << "X A a";
        QTest::newRow("section 10 untouched") << 10 << "X A A A";
    }

    void removeDuplicates() {
        QFETCH(int, section);
        QFETCH(QString, titles);
        const QString file = path(QStringLiteral("dup.nct"));
        QCOMPARE(db::CreateDatabaseFile(file).number, 0);
        sqlite::Connection connection;
        QCOMPARE(connection.open(file, sqlite::Connection::Mode::ReadWrite).number, 0);
        // Rows of another section with the same titles come first and are no copies. The rest go in from the
        // highest key down, so that "first" can only mean the lowest key.
        QString rows = QStringLiteral("(51, 18, 'A'), (52, 18, 'C')");
        QStringList expected{QStringLiteral("51"), QStringLiteral("52")};
        const QStringList tokens = titles.split(u' ');
        for (int i = static_cast<int>(tokens.size()) - 1; i >= 0; --i) {
            const QString title = tokens[i] == u'~' ? QStringLiteral("NULL") : u'\'' + tokens[i].toUpper() + u'\'';
            rows += QStringLiteral(", (%1, %2, %3)").arg(100 + i).arg(section).arg(title);
        }
        for (int i = 0; i < tokens.size(); ++i) {
            if (tokens[i] == tokens[i].toUpper()) {
                expected << QString::number(100 + i);
            }
        }
        const QString insert =
            QStringLiteral("INSERT INTO tt (fPK, fSec, fT1, fEtx) SELECT column1, column2, CAST(column3 "
                           "AS BLOB), CAST(column1 AS BLOB) FROM (VALUES %1)")
                .arg(rows);
        QVERIFY(!connection.exec(insert.toUtf8().constData()));
        QCOMPARE(check::RemoveDuplicates(connection), static_cast<int>(tokens.size() + 2 - expected.size()));
        QCOMPARE(
            Scalar(connection, QStringLiteral("SELECT group_concat(fEtx, ' ') FROM (SELECT fEtx FROM tt ORDER BY fPK)"))
                .toString(),
            expected.join(u' '));
        QCOMPARE(check::RemoveDuplicates(connection), 0);
    }

    void compactAndReplace() {
        const QString file = created(path(QStringLiteral("data.nct")), 100, 2000);
        QVERIFY(!file.isEmpty());
        const std::int64_t last = std::next(m_memos.begin(), 19).key();
        QVERIFY(ExecOn(file, QStringLiteral("DELETE FROM tt WHERE fSec=14 AND fPK>%1").arg(last)));
        while (m_memos.size() > 20) {
            m_memos.remove(m_memos.lastKey());
        }
        const qint64 before = QFileInfo(file).size();
        const QString tmp = path(QStringLiteral("data.tmp"));
        QVERIFY(WriteFile(tmp, "left by a compaction that never finished"));

        db::FileHold hold;
        QCOMPARE(db::FileHold::Acquire(file, hold).number, 0);
        QCOMPARE(check::CompactAndReplace(hold, tmp), 0);
        QVERIFY(hold.holds(file));
        hold.release();
        QVERIFY(!QFileInfo::exists(tmp));
        QVERIFY(QFileInfo(file).size() < before / 2);
        QCOMPARE(db::CheckDatabase(file).number, 0);
        QCOMPARE(memosDiffer(file, m_memos), QString());

        // What is no database is left as it was, still held, and the stale copy goes.
        const QByteArray content = QByteArray("SQLite format 3").append(QByteArray(4096, '\x07'));
        QVERIFY(WriteFile(file, content));
        QVERIFY(WriteFile(tmp, "stale"));
        QCOMPARE(db::FileHold::Acquire(file, hold).number, 0);
        QVERIFY(check::CompactAndReplace(hold, tmp) != 0);
        QVERIFY(hold.holds(file));
        QCOMPARE(FileBytes(file), content);
        // Beside it only the copy the last opening made.
        QCOMPARE(FilesIn(m_dir->path()), QStringList({"data.nct", "data.nct.bak"}));
    }

    void backupLayoutAndRoundTrip() {
        const QString file = created(path(QStringLiteral("data.nct")));
        QVERIFY(!file.isEmpty());
        const QByteArray source = FileBytes(file);
        QString target = path(QStringLiteral("data241224170455.ncz"));
        ScriptedPrompter prompter;
        const qint64 size = ZLib::ProcessFile(true, file, target, prompter);
        QVERIFY(prompter.shown.isEmpty());
        // The layout itself is a known answer of the self-test; here it holds the file's absolute path.
        QCOMPARE(FileBytes(target), ZLib::PackBackup(source, QFileInfo(file).absoluteFilePath()));
        QCOMPARE(size, QFileInfo(target).size());

        // The original still lies there, so the copy goes to the folder the person chooses, as data.ncr.
        QVERIFY(QDir(m_dir->path()).mkdir(QStringLiteral("restored")));
        prompter.folder = path(QStringLiteral("restored"));
        QString expanded;
        QCOMPARE(ZLib::ProcessFile(false, target, expanded, prompter), source.size());
        QCOMPARE(QFileInfo(expanded), QFileInfo(path(QStringLiteral("restored/data.ncr"))));
        QCOMPARE(FileBytes(expanded), source);
        QCOMPARE(FileBytes(file), source);
    }

    void compressRefusesWhatIsNotOurs_data() {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<int>("message");
        QTest::newRow("a database of another program") << "foreign" << 130;
        QTest::newRow("empty") << "empty" << 133;
    }

    void compressRefusesWhatIsNotOurs() {
        QFETCH(QString, kind);
        QFETCH(int, message);
        const QString input = path(QStringLiteral("input.nct"));
        if (kind == QLatin1String("foreign")) {
            sqlite::Connection connection;
            QCOMPARE(connection.open(input, sqlite::Connection::Mode::Create).number, 0);
            QCOMPARE(connection.exec("CREATE TABLE tt (fPK INTEGER PRIMARY KEY, fEtx BLOB)").number, 0);
        } else {
            QVERIFY(WriteFile(input, QByteArray()));
        }
        const QByteArray before = FileBytes(input);
        QString target = path(QStringLiteral("out.ncz"));
        ScriptedPrompter prompter;

        QCOMPARE(ZLib::ProcessFile(true, input, target, prompter), 0);
        QCOMPARE(prompter.numbers(), QList<int>{message});
        QCOMPARE(FilesIn(m_dir->path()), QStringList{QStringLiteral("input.nct")});
        QCOMPARE(FileBytes(input), before);
    }

    void storedPathLength_data() {
        QTest::addColumn<int>("length");
        QTest::newRow("255 fits") << 255;
        QTest::newRow("256 does not") << 256;
    }

    void storedPathLength() {
        QFETCH(int, length);
        // A folder that brings the database's full path, ".../data.nct", to exactly `length` bytes.
        const QString base = QFileInfo(m_dir->path()).absoluteFilePath();
        const QString folder = base + u'/' + QString(length - base.size() - 10, u'f');
        QVERIFY(QDir().mkpath(folder));
        const QString file = created(folder + QStringLiteral("/data.nct"));
        QCOMPARE(QFileInfo(file).absoluteFilePath().size(), length);
        QString target = path(QStringLiteral("data.ncz"));
        ScriptedPrompter prompter;

        const qint64 size = ZLib::ProcessFile(true, file, target, prompter);
        if (length <= 255) {
            QVERIFY(size > 0);
            QCOMPARE(static_cast<unsigned char>(FileBytes(target).right(6).at(0)), static_cast<unsigned char>(length));
            return;
        }
        QCOMPARE(size, 0);
        QCOMPARE(prompter.numbers(), QList<int>{0});
        QVERIFY(prompter.shown.first().text.contains(QLatin1String("255")));
        QVERIFY(!QFileInfo::exists(target));
    }

    void expandRefusesWhatIsNotABackup_data() {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<int>("message");
        QTest::newRow("damaged stream") << "stream" << 131;
        QTest::newRow("wrong size") << "size" << 131;
        QTest::newRow("path longer than the file") << "path" << 131;
        QTest::newRow("empty") << "empty" << 133;
    }

    void expandRefusesWhatIsNotABackup() {
        QFETCH(QString, kind);
        QFETCH(int, message);
        const QString file = created(path(QStringLiteral("data.nct")));
        QVERIFY(!file.isEmpty());
        QString packedPath = path(QStringLiteral("data.ncz"));
        ScriptedPrompter maker;
        QVERIFY(ZLib::ProcessFile(true, file, packedPath, maker) > 0);
        QByteArray input = FileBytes(packedPath);
        QVERIFY(QFile::remove(packedPath));
        if (kind == QLatin1String("stream")) {
            for (int i = 20; i < 60; ++i) {
                input[i] = static_cast<char>(input[i] ^ 0x5A);
            }
        } else if (kind == QLatin1String("size")) {
            input[input.size() - 4] = static_cast<char>(input[input.size() - 4] + 1);
        } else if (kind == QLatin1String("path")) {
            input = QByteArray("xy") + input.right(6);
            input[input.size() - 6] = '\xFF';
        } else {
            input.clear();
        }
        QVERIFY(QFile::remove(file));
        const QString source = path(QStringLiteral("input.ncz"));
        QVERIFY(WriteFile(source, input));
        ScriptedPrompter prompter;
        QString expanded;

        QCOMPARE(ZLib::ProcessFile(false, source, expanded, prompter), 0);
        QCOMPARE(prompter.numbers(), QList<int>{message});
        QCOMPARE(FilesIn(m_dir->path()), QStringList{QStringLiteral("input.ncz")});
    }

    void backupNames() {
        // The name stops at its first point, not at one in a folder's name; the rest is the self-test's known answer.
        QCOMPARE(backup::BackupName(QStringLiteral("/home/a.b/my.data.nct"),
                                    QDateTime(QDate(2004, 12, 24), QTime(17, 4, 55))),
                 QStringLiteral("my041224170455.ncz"));
    }

    void parseBackupName_data() {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("original"); // null when refused
        QTest::addColumn<QDateTime>("moment");
        QTest::newRow("digits in the name") << "data2041224170455.ncz"
                                            << "data2.nct" << QDateTime(QDate(2004, 12, 24), QTime(17, 4, 55));
        QTest::newRow("leap day") << "a240229235959.ncz"
                                  << "a.nct" << QDateTime(QDate(2024, 2, 29), QTime(23, 59, 59));
        QTest::newRow("too short") << "data12345.ncz" << QString() << QDateTime();
        QTest::newRow("no name at all") << ".ncz" << QString() << QDateTime();
        QTest::newRow("29 February of a common year") << "data230229170455.ncz" << QString() << QDateTime();
        QTest::newRow("hour 24") << "data041224240455.ncz" << QString() << QDateTime();
        QTest::newRow("sign") << "data+41224170455.ncz" << QString() << QDateTime();
    }

    void parseBackupName() {
        QFETCH(QString, name);
        QFETCH(QString, original);
        QFETCH(QDateTime, moment);
        const auto parts = backup::ParseBackupName(name);
        QCOMPARE(parts.ok, !original.isNull());
        if (parts.ok) {
            QCOMPARE(parts.original, original);
            QCOMPARE(parts.moment, moment);
            QCOMPARE(backup::BackupName(original, moment), name);
        }
    }

    void restoreRenames_data() {
        QTest::addColumn<bool>("current");
        QTest::addColumn<bool>("restored");
        QTest::addColumn<QByteArray>("kept"); // what data.ncb holds afterwards, empty when it is gone
        QTest::newRow("over a former file") << true << true << QByteArray("former");
        QTest::newRow("no former file") << false << true << QByteArray();
        QTest::newRow("nothing restored") << true << false << QByteArray("older still");
    }

    void restoreRenames() {
        QFETCH(bool, current);
        QFETCH(bool, restored);
        QFETCH(QByteArray, kept);
        const QString base = path(QStringLiteral("data"));
        QVERIFY(WriteFile(base + QStringLiteral(".ncb"), "older still"));
        QVERIFY(!current || WriteFile(base + QStringLiteral(".nct"), "former"));
        QVERIFY(!restored || WriteFile(base + QStringLiteral(".ncr"), "restored"));

        db::FileHold hold;
        QCOMPARE(backup::RestoreRenames(base, hold).number == 0, restored);
        QCOMPARE(hold.holds(base + QStringLiteral(".nct")), restored);
        QCOMPARE(FileBytes(base + QStringLiteral(".nct")), QByteArray(restored ? "restored" : "former"));
        QCOMPARE(FileBytes(base + QStringLiteral(".ncb")), kept);
        QVERIFY(!QFileInfo::exists(base + QStringLiteral(".ncr")));
        QCOMPARE(FilesIn(m_dir->path()).size(), kept.isEmpty() ? 1 : 2);
    }

    void restoreBesideCrashJournal() {
        // A program that crashed while writing the former file left its journal beside it. The journal belongs to
        // that file: played into the restored one it would damage both.
        QVERIFY(QDir(m_dir->path()).mkdir(QStringLiteral("target")));
        const QString base = path(QStringLiteral("target/data"));
        const QString former = created(base + QStringLiteral(".nct"));
        QVERIFY(!former.isEmpty());
        const QMap<std::int64_t, QByteArray> formerMemos = m_memos;
        const QByteArray restored = FileBytes(created(path(QStringLiteral("other.nct")), 7));
        const QMap<std::int64_t, QByteArray> restoredMemos = m_memos;
        QVERIFY(WriteFile(base + QStringLiteral(".ncr"), restored));

        const pid_t child = ::fork();
        QVERIFY(child >= 0);
        if (child == 0) {
            sqlite::Connection connection;
            if (connection.open(former, sqlite::Connection::Mode::ReadWrite)) {
                ::_exit(3);
            }
            // A tiny page cache makes the engine write into the file before the commit that never comes.
            connection.exec("PRAGMA cache_size=1");
            connection.exec("BEGIN");
            for (int i = 0; i < 100; ++i) {
                connection.exec("INSERT INTO tt (fSec, fEtx) VALUES (77, randomblob(3000))");
            }
            connection.exec("UPDATE tt SET fEtx=randomblob(40) WHERE fSec=14");
            ::_exit(0);
        }
        int status = 0;
        QCOMPARE(::waitpid(child, &status, 0), child);
        QVERIFY(WIFEXITED(status) && WEXITSTATUS(status) == 0);
        QVERIFY(QFileInfo(former + QStringLiteral("-journal")).size() > 0);

        db::FileHold hold;
        QCOMPARE(backup::RestoreRenames(base, hold).number, 0);
        hold.release();
        QCOMPARE(FileBytes(base + QStringLiteral(".nct")), restored);
        QCOMPARE(memosDiffer(base + QStringLiteral(".nct"), restoredMemos), QString());
        // The former file is kept as it was before the crashed write.
        QVERIFY(QFile::rename(base + QStringLiteral(".ncb"), path(QStringLiteral("former.nct"))));
        QCOMPARE(memosDiffer(path(QStringLiteral("former.nct")), formerMemos), QString());
    }

private:
    // A new file with `memos` memos of `length` characters, closed again; their keys in m_memos.
    QString created(const QString& path, int memos = 5, int length = 40);
    QString path(const QString& name) const { return m_dir->filePath(name); }

    std::unique_ptr<QTemporaryDir> m_dir;
    QMap<std::int64_t, QByteArray> m_memos;
};

QString TestCheckBackup::created(const QString& file, int memos, int length) {
    return MadeDatabase(file, kPassphrase, [&](Store& store) {
        for (int i = 0; i < memos; ++i) {
            const QByteArray text = QByteArray("memo ").append(QByteArray::number(i)).leftJustified(length, 'm');
            m_memos.insert(AddRecord(store, text), text);
        }
    });
}

NCT_TEST_MAIN(TestCheckBackup)
#include "tst_check_backup.moc"

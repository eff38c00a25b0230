#include <QTemporaryDir>
#include <QtTest>

#include <memory>

#include <sys/wait.h>
#include <unistd.h>
#include <zlib.h>

#include "shell/catalogue/messages.h"
#include "shell/open_sequence.h"
#include "shell/session.h"
#include "store/backup.h"
#include "store/check.h"
#include "store/db.h"
#include "store/record_get.h"
#include "store/record_put.h"
#include "store/row.h"
#include "store/sqlite.h"
#include "support/scripted_prompter.h"
#include "support/test_databases.h"

namespace {

const QString kPassphrase = QStringLiteral("a good passphrase 1");

QByteArray readFile(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool writeFile(const QString& path, const QByteArray& data) {
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(data) == data.size();
}

QStringList filesIn(const QString& folder) {
    return QDir(folder).entryList(QDir::Files | QDir::Hidden, QDir::Name);
}

QString memoText(std::int64_t fpk, int length) {
    return QStringLiteral("memo of row %1 ").arg(fpk).leftJustified(length, u'm');
}

std::int64_t addMemo(Store& store, int length = 40) {
    return AddNewRow(store.connection(), [&](std::int64_t fpk, RowValues& row) {
        row.set(Col::fSec, 14);
        const QByteArray sealed = store.cry.Cipher(static_cast<std::int32_t>(fpk), 1,
                                                   Record_Put::PutField(memoText(fpk, length), FieldType::Text, 5));
        row.set(Col::fEtx, sealed);
        row.set(Col::fT1, Record_Put::SealTitle(store.cry, static_cast<std::int32_t>(fpk), memoText(fpk, 20)));
        return !sealed.isEmpty();
    });
}

// Empty when exactly the listed memos are there and each deciphers to its text.
QString memosDiffer(Store& store, const QList<std::int64_t>& keys, int length = 40) {
    sqlite::Statement select = store.connection().prepare("SELECT fPK, fEtx FROM tt WHERE fSec=14 ORDER BY fPK");
    QList<std::int64_t> found;
    while (select.step()) {
        const std::int64_t fpk = select.int64(0);
        found << fpk;
        FieldValues values;
        Record_Get::GetRecord(values, store.cry.Cipher(static_cast<std::int32_t>(fpk), 2, select.bytes(1)));
        if (values.size() <= 5 || values[5].toString() != memoText(fpk, length)) {
            return QStringLiteral("row %1 does not decipher").arg(fpk);
        }
    }
    if (found != keys) {
        return QStringLiteral("%1 memos instead of %2").arg(found.size()).arg(keys.size());
    }
    return {};
}

// Tells which folder questions were asked; everything else as scripted.
class FolderPrompter final : public Prompter {
public:
    ScriptedPrompter script;
    QStringList folderPrompts;

    Reply message(int number, const QString& text, Buttons buttons, Icon icon) override {
        return script.message(number, text, buttons, icon);
    }
    PassphraseReply passphrase(const PassphraseRequest& request) override { return script.passphrase(request); }
    QString chooseNewFile(const QString& title, const QString& filter) override {
        return script.chooseNewFile(title, filter);
    }
    QString chooseExistingFile(const QString& title, const QString& filter) override {
        return script.chooseExistingFile(title, filter);
    }
    QString chooseFolder(const QString& prompt, const QString& start) override {
        folderPrompts << prompt;
        return script.chooseFolder(prompt, start);
    }
    void status(const QString& text) override { script.status(text); }
    void penaltyWait(int milliseconds) override { script.penaltyWait(milliseconds); }
};

// Rows for the duplicate check: tokens are fT1 values, "~" a null fT1.
QByteArray titleOf(const QString& token) {
    return token == QLatin1String("~") ? QByteArray() : QByteArray("sealed title ") + token.toLatin1();
}

} // namespace

class TestCheckBackup : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void init();

    void removeDuplicates_data();
    void removeDuplicates();
    void duplicatesGoAtOpening();

    void compactAndReplace();
    void compactFailureLeavesSource_data();
    void compactFailureLeavesSource();
    void repairCompactCommand();
    void repairCompactCommandWithoutFile_data();
    void repairCompactCommandWithoutFile();

    void backupLayout();
    void backupRoundTrip();
    void compressRefusesWhatIsNotOurs_data();
    void compressRefusesWhatIsNotOurs();
    void compressDoesNotLookAtLastByte();
    void compressWriteFailureLeavesNothing();
    void storedPathLength_data();
    void storedPathLength();
    void expandRefusesWhatIsNotABackup_data();
    void expandRefusesWhatIsNotABackup();
    void expansionTarget_data();
    void expansionTarget();

    void backupName_data();
    void backupName();
    void parseBackupName_data();
    void parseBackupName();
    void restoreRenames_data();
    void restoreRenames();
    void restoreBesideCrashJournal();

private:
    // A new file with `memos` memos of `length` characters, closed again; their keys in m_memos.
    QString created(const QString& path, int memos = 5, int length = 40);
    QString path(const QString& name) const { return m_dir->filePath(name); }

    QTemporaryDir m_config;
    std::unique_ptr<QTemporaryDir> m_dir;
    QList<std::int64_t> m_memos;
};

void TestCheckBackup::initTestCase() {
    // The settings store (last file, last user) must not reach the real one of whoever runs the tests.
    QVERIFY(m_config.isValid());
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(m_config.path()));
}

void TestCheckBackup::init() {
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
    m_memos.clear();
}

QString TestCheckBackup::created(const QString& file, int memos, int length) {
    TestSession maker;
    if (CreateDatabase(maker, file, kPassphrase) != 0) {
        qWarning("NewDatabase failed");
        return {};
    }
    for (int i = 0; i < memos; ++i) {
        m_memos << addMemo(maker.store(), length);
    }
    open_sequence::CloseDatabase(maker.session);
    return file;
}

// ---------------------------------------------------------------------------------------------------- duplicates

void TestCheckBackup::removeDuplicates_data() {
    QTest::addColumn<int>("section");
    QTest::addColumn<QString>("titles"); // in key order
    QTest::addColumn<QString>("kept");   // 1 for each row that stays
    QTest::newRow("two, one the first row") << 14 << "A A"
                                            << "1 1";
    QTest::newRow("three, one the first row") << 14 << "A A A"
                                              << "1 1 0";
    QTest::newRow("three after the first row") << 15 << "B A A A"
                                               << "1 1 0 0";
    QTest::newRow("two groups interleaved") << 16 << "C A B A B B C"
                                            << "1 1 1 0 0 0 1";
    QTest::newRow("null titles") << 13 << "C ~ ~ ~ A"
                                 << "1 1 1 1 1";
    QTest::newRow("no copies") << 17 << "A B C D"
                               << "1 1 1 1";
    QTest::newRow("lowest record section") << 11 << "X A A"
                                           << "1 1 0";
    QTest::newRow("unknown high section") << 200 << "X A A"
                                          << "1 1 0";
    QTest::newRow("categories") << 10 << "A A A A"
                                << "1 1 1 1";
    QTest::newRow("user lists") << 9 << "A A A"
                                << "1 1 1";
    QTest::newRow("users") << 2 << "A A A"
                           << "1 1 1";
    QTest::newRow("key material") << 1 << "A A A"
                                  << "1 1 1";
}

void TestCheckBackup::removeDuplicates() {
    QFETCH(int, section);
    QFETCH(QString, titles);
    QFETCH(QString, kept);
    const QString file = path(QStringLiteral("dup.nct"));
    QCOMPARE(db::CreateDatabaseFile(file).number, 0);
    sqlite::Connection connection;
    QCOMPARE(connection.open(file, sqlite::Connection::Mode::ReadWrite).number, 0);

    // Rows go in from the highest key down, so that "first" can only mean the lowest key. A row of another
    // section with the same title lies before each, and is no copy of it.
    const QStringList tokens = titles.split(u' ');
    sqlite::Statement insert =
        connection.prepare("INSERT INTO tt (fPK, fSec, fT1, fEtx, AE, fR1) VALUES (?, ?, ?, ?, ?, ?)");
    QList<std::int64_t> keys;
    for (qsizetype i = tokens.size() - 1; i >= 0; --i) {
        const std::int64_t fpk = 100 + 10 * i;
        keys.prepend(fpk);
        insert.reset();
        insert.bind(1, fpk).bind(2, static_cast<std::int64_t>(section));
        if (tokens[i] == QLatin1String("~")) {
            insert.bindNull(3);
        } else {
            insert.bind(3, titleOf(tokens[i]));
        }
        insert.bind(4, QByteArray("text ") + QByteArray::number(i)).bind(5, std::int64_t{5}).bind(6, fpk * 7);
        QVERIFY(!insert.step());
        QCOMPARE(insert.error().number, 0);
        if (tokens.indexOf(tokens[i]) == i && tokens[i] != QLatin1String("~")) {
            insert.reset();
            insert.bind(1, fpk - 5).bind(2, std::int64_t{18}).bind(3, titleOf(tokens[i]));
            insert.bind(4, QByteArray("other")).bind(5, std::int64_t{5}).bind(6, std::int64_t{0});
            QVERIFY(!insert.step());
            QCOMPARE(insert.error().number, 0);
        }
    }
    insert = sqlite::Statement();

    auto snapshot = [&connection]() {
        QMap<std::int64_t, QString> rows;
        sqlite::Statement select = connection.prepare("SELECT fPK, fSec, fT1, fEtx, AE, fR1 FROM tt");
        while (select.step()) {
            rows.insert(select.int64(0), QStringLiteral("%1 %2 %3 %4 %5")
                                             .arg(select.int64(1))
                                             .arg(QString::fromLatin1(select.bytes(2).toHex()))
                                             .arg(QString::fromLatin1(select.bytes(3)))
                                             .arg(select.int64(4))
                                             .arg(select.int64(5)));
        }
        return rows;
    };
    const QMap<std::int64_t, QString> before = snapshot();
    QMap<std::int64_t, QString> expected = before;
    const QStringList keep = kept.split(u' ');
    QCOMPARE(keep.size(), tokens.size());
    int removed = 0;
    for (qsizetype i = 0; i < keep.size(); ++i) {
        if (keep[i] == QLatin1String("0")) {
            expected.remove(keys[i]);
            ++removed;
        }
    }

    QCOMPARE(check::RemoveDuplicates(connection), removed);
    // What stays is untouched, AE included.
    QCOMPARE(snapshot(), expected);
    QCOMPARE(check::RemoveDuplicates(connection), 0);
    QCOMPARE(snapshot(), expected);
}

void TestCheckBackup::duplicatesGoAtOpening() {
    const QString file = created(path(QStringLiteral("data.nct")));
    QVERIFY(!file.isEmpty());
    {
        // Copies of the second memo, as a failed import might leave them; the first memo is the section's
        // first row and its copy stays.
        sqlite::Connection connection;
        QCOMPARE(connection.open(file, sqlite::Connection::Mode::ReadWrite).number, 0);
        for (const std::int64_t source : {m_memos[1], m_memos[1], m_memos[1], m_memos[0]}) {
            sqlite::Statement copy = connection.prepare(
                "INSERT INTO tt (fSec, fSub, fT1, fEtx) SELECT fSec, fSub, fT1, fEtx FROM tt WHERE fPK=?");
            copy.bind(1, source);
            QVERIFY(!copy.step());
            QCOMPARE(copy.error().number, 0);
        }
        sqlite::Statement count = connection.prepare("SELECT count(*) FROM tt WHERE fSec=14");
        QVERIFY(count.step());
        QCOMPARE(count.int64(0), static_cast<std::int64_t>(m_memos.size() + 4));
    }
    TestSession opening;
    QCOMPARE(OpenDatabase(opening, file, kPassphrase), 0);
    sqlite::Statement copies = opening.session.store().connection().prepare(
        "SELECT count(*) FROM tt WHERE fSec=14 AND fT1=(SELECT fT1 FROM tt WHERE fPK=?)");
    copies.bind(1, m_memos[1]);
    QVERIFY(copies.step());
    QCOMPARE(copies.int64(0), 1);
    copies.reset();
    copies.bind(1, m_memos[0]);
    QVERIFY(copies.step());
    QCOMPARE(copies.int64(0), 2);
    sqlite::Statement all = opening.session.store().connection().prepare("SELECT count(*) FROM tt WHERE fSec=14");
    QVERIFY(all.step());
    QCOMPARE(all.int64(0), static_cast<std::int64_t>(m_memos.size() + 1));
}

// ---------------------------------------------------------------------------------------------------- compaction

void TestCheckBackup::compactAndReplace() {
    const QString file = created(path(QStringLiteral("data.nct")), 300, 2000);
    QVERIFY(!file.isEmpty());
    {
        sqlite::Connection connection;
        QCOMPARE(connection.open(file, sqlite::Connection::Mode::ReadWrite).number, 0);
        sqlite::Statement remove = connection.prepare("DELETE FROM tt WHERE fSec=14 AND fPK>?");
        remove.bind(1, m_memos[49]);
        QVERIFY(!remove.step());
        QCOMPARE(remove.error().number, 0);
    }
    m_memos = m_memos.mid(0, 50);
    const qint64 before = QFileInfo(file).size();
    const QString tmp = path(QStringLiteral("data.tmp"));
    QVERIFY(writeFile(tmp, "left by a compaction that never finished"));

    QCOMPARE(check::CompactAndReplace(file, tmp), 0);
    QVERIFY(!QFileInfo::exists(tmp));
    QVERIFY2(QFileInfo(file).size() < before / 2,
             qPrintable(QStringLiteral("%1 -> %2").arg(before).arg(QFileInfo(file).size())));
    QCOMPARE(db::CheckDatabase(file).number, 0);
    TestSession opening;
    QCOMPARE(OpenDatabase(opening, file, kPassphrase), 0);
    QCOMPARE(memosDiffer(opening.session.store(), m_memos, 2000), QString());
}

void TestCheckBackup::compactFailureLeavesSource_data() {
    QTest::addColumn<QByteArray>("content");
    QTest::newRow("text") << QByteArray("not a database at all\n");
    QTest::newRow("damaged header") << QByteArray("SQLite format 3").append(QByteArray(4096, '\x07'));
    QTest::newRow("missing") << QByteArray();
}

void TestCheckBackup::compactFailureLeavesSource() {
    QFETCH(QByteArray, content);
    const QString file = path(QStringLiteral("data.nct"));
    if (!content.isEmpty()) {
        QVERIFY(writeFile(file, content));
    }
    const QString tmp = path(QStringLiteral("data.tmp"));
    QVERIFY(writeFile(tmp, "stale"));

    QVERIFY(check::CompactAndReplace(file, tmp) != 0);
    QCOMPARE(QFileInfo::exists(file), !content.isEmpty());
    QCOMPARE(readFile(file), content);
    QVERIFY(!QFileInfo::exists(tmp));
    QCOMPARE(filesIn(m_dir->path()), content.isEmpty() ? QStringList() : QStringList{QStringLiteral("data.nct")});
}

void TestCheckBackup::repairCompactCommand() {
    const QString file = path(QStringLiteral("data.nct"));
    ScriptedPrompter prompter;
    Session session(prompter);
    QCOMPARE(CreateDatabase(session, prompter, file, kPassphrase), 0);
    for (int i = 0; i < 60; ++i) {
        m_memos << addMemo(session.store(), 1500);
    }
    sqlite::Statement remove = session.store().connection().prepare("DELETE FROM tt WHERE fSec=14 AND fPK>?");
    remove.bind(1, m_memos[9]);
    QVERIFY(!remove.step());
    remove = sqlite::Statement();
    m_memos = m_memos.mid(0, 10);
    const qint64 before = QFileInfo(file).size();
    const qsizetype asked = prompter.passphraseRequests.size();

    QCOMPARE(open_sequence::RepairCompactCommand(session, file), 0);
    QVERIFY(prompter.numbers().contains(166));
    // Back in the same file with the keys kept: nobody was asked again, and the records read.
    QCOMPARE(prompter.passphraseRequests.size(), asked);
    QVERIFY(session.DbIsOpen);
    QVERIFY(QFileInfo(file).size() < before);
    QVERIFY(!QFileInfo::exists(path(QStringLiteral("data.tmp"))));
    QCOMPARE(memosDiffer(session.store(), m_memos, 1500), QString());
    m_memos << addMemo(session.store(), 1500);
    open_sequence::CloseDatabase(session);

    TestSession opening;
    QCOMPARE(OpenDatabase(opening, file, kPassphrase), 0);
    QCOMPARE(memosDiffer(opening.session.store(), m_memos, 1500), QString());
}

void TestCheckBackup::repairCompactCommandWithoutFile_data() {
    QTest::addColumn<QString>("name");
    QTest::newRow("empty path") << QString();
    QTest::newRow("no such file") << QStringLiteral("gone.nct");
}

void TestCheckBackup::repairCompactCommandWithoutFile() {
    QFETCH(QString, name);
    ScriptedPrompter prompter;
    Session session(prompter);
    QCOMPARE(open_sequence::RepairCompactCommand(session, name.isEmpty() ? name : path(name)), 134);
    QCOMPARE(prompter.numbers(), QList<int>{134});
    QVERIFY(filesIn(m_dir->path()).isEmpty());
}

// ---------------------------------------------------------------------------------------------------- backup files

void TestCheckBackup::backupLayout() {
    const QString file = created(path(QStringLiteral("data.nct")));
    QVERIFY(!file.isEmpty());
    const QByteArray source = readFile(file);
    QVERIFY(QDir(m_dir->path()).mkdir(QStringLiteral("backups")));
    QString target = path(QStringLiteral("backups/data241224170455.ncz"));
    ScriptedPrompter prompter;

    const qint64 size = ZLib::ProcessFile(true, file, target, prompter);
    QVERIFY(prompter.shown.isEmpty());
    const QByteArray packed = readFile(target);
    QCOMPARE(size, packed.size());
    QCOMPARE(filesIn(path(QStringLiteral("backups"))), QStringList{QStringLiteral("data241224170455.ncz")});

    // Stream, path, its length, the marker 3, the source size low byte first.
    const QByteArray storedPath = QFileInfo(file).absoluteFilePath().toLatin1();
    const qsizetype n = storedPath.size();
    QVERIFY(packed.size() > n + 6);
    const QByteArray trailer = packed.right(n + 6);
    QCOMPARE(trailer.left(n), storedPath);
    QCOMPARE(static_cast<unsigned char>(trailer[n]), static_cast<unsigned char>(n));
    QCOMPARE(trailer[n + 1], '\x03');
    const auto s = static_cast<quint32>(source.size());
    QByteArray sizeBytes;
    for (int shift = 0; shift < 32; shift += 8) {
        sizeBytes.append(static_cast<char>((s >> shift) & 0xFF));
    }
    QCOMPARE(trailer.right(4), sizeBytes);
    const QByteArray stream = packed.left(packed.size() - n - 6);
    QByteArray plain(source.size() + 16, '\0');
    uLongf length = static_cast<uLongf>(plain.size());
    QCOMPARE(uncompress(reinterpret_cast<Bytef*>(plain.data()), &length,
                        reinterpret_cast<const Bytef*>(stream.constData()), static_cast<uLong>(stream.size())),
             Z_OK);
    plain.truncate(static_cast<qsizetype>(length));
    QCOMPARE(plain, source);
}

void TestCheckBackup::backupRoundTrip() {
    const QString file = created(path(QStringLiteral("data.nct")), 20, 500);
    QVERIFY(!file.isEmpty());
    const QByteArray source = readFile(file);
    QString packed = path(QStringLiteral("data.ncz"));
    ScriptedPrompter prompter;
    QVERIFY(ZLib::ProcessFile(true, file, packed, prompter) > 0);

    // The database still lies where it was, so the person is asked where the copy goes.
    QVERIFY(QDir(m_dir->path()).mkdir(QStringLiteral("restored")));
    FolderPrompter asking;
    asking.script.folder = path(QStringLiteral("restored"));
    QString expanded;
    QCOMPARE(ZLib::ProcessFile(false, packed, expanded, asking), source.size());
    QCOMPARE(asking.folderPrompts, QStringList{MsgText(147)});
    QCOMPARE(QFileInfo(expanded), QFileInfo(path(QStringLiteral("restored/data.ncr"))));
    QCOMPARE(readFile(expanded), source);

    const QString restored = path(QStringLiteral("restored/data.nct"));
    QVERIFY(QFile::rename(expanded, restored));
    TestSession opening;
    QCOMPARE(OpenDatabase(opening, restored, kPassphrase), 0);
    QCOMPARE(memosDiffer(opening.session.store(), m_memos, 500), QString());
}

void TestCheckBackup::compressRefusesWhatIsNotOurs_data() {
    QTest::addColumn<QString>("kind");
    QTest::addColumn<int>("message");
    QTest::newRow("text ending in 3") << "text" << 130;
    QTest::newRow("a backup") << "backup" << 130;
    QTest::newRow("a database of another program") << "foreign" << 130;
    QTest::newRow("our header alone") << "header" << 130;
    QTest::newRow("empty") << "empty" << 133;
}

void TestCheckBackup::compressRefusesWhatIsNotOurs() {
    QFETCH(QString, kind);
    QFETCH(int, message);
    const QString input = path(QStringLiteral("input.nct"));
    if (kind == QLatin1String("text")) {
        QVERIFY(writeFile(input, "a plain file that happens to end in\x03"));
    } else if (kind == QLatin1String("backup")) {
        const QString file = created(path(QStringLiteral("data.nct")));
        QString packed = input;
        ScriptedPrompter prompter;
        QVERIFY(ZLib::ProcessFile(true, file, packed, prompter) > 0);
    } else if (kind == QLatin1String("foreign")) {
        sqlite::Connection connection;
        QCOMPARE(connection.open(input, sqlite::Connection::Mode::Create).number, 0);
        QCOMPARE(connection.exec("CREATE TABLE tt (fPK INTEGER PRIMARY KEY, fEtx BLOB)").number, 0);
    } else if (kind == QLatin1String("header")) {
        const QString file = created(path(QStringLiteral("data.nct")));
        QVERIFY(writeFile(input, readFile(file).left(99)));
    } else {
        QVERIFY(writeFile(input, QByteArray()));
    }
    const QByteArray before = readFile(input);
    const QStringList files = filesIn(m_dir->path());
    QString target = path(QStringLiteral("out.ncz"));
    ScriptedPrompter prompter;

    QCOMPARE(ZLib::ProcessFile(true, input, target, prompter), 0);
    QCOMPARE(prompter.numbers(), QList<int>{message});
    QCOMPARE(prompter.shown.first().text, MsgText(message));
    QCOMPARE(filesIn(m_dir->path()), files);
    QCOMPARE(readFile(input), before);
}

void TestCheckBackup::compressDoesNotLookAtLastByte() {
    // Whether a file is ours is told by its header; what its last byte happens to be does not matter.
    const QString file = created(path(QStringLiteral("data.nct")));
    QVERIFY(!file.isEmpty());
    QByteArray bytes = readFile(file);
    bytes[bytes.size() - 1] = '\x03';
    QVERIFY(writeFile(file, bytes));
    QString packed = path(QStringLiteral("data.ncz"));
    ScriptedPrompter prompter;
    QVERIFY(ZLib::ProcessFile(true, file, packed, prompter) > 0);
    QVERIFY(prompter.shown.isEmpty());

    QVERIFY(QFile::remove(file));
    QString expanded;
    QCOMPARE(ZLib::ProcessFile(false, packed, expanded, prompter), bytes.size());
    QCOMPARE(readFile(expanded), bytes);
}

void TestCheckBackup::compressWriteFailureLeavesNothing() {
    const QString file = created(path(QStringLiteral("data.nct")));
    QVERIFY(!file.isEmpty());
    ScriptedPrompter prompter;
    QString target = path(QStringLiteral("no such folder/data.ncz"));
    QCOMPARE(ZLib::ProcessFile(true, file, target, prompter), 0);
    QVERIFY(!QFileInfo::exists(target));
    QCOMPARE(filesIn(m_dir->path()), QStringList{QStringLiteral("data.nct")});
}

void TestCheckBackup::storedPathLength_data() {
    QTest::addColumn<int>("length");
    QTest::newRow("255 fits") << 255;
    QTest::newRow("256 does not") << 256;
    QTest::newRow("300 does not") << 300;
}

void TestCheckBackup::storedPathLength() {
    QFETCH(int, length);
    // Folders that bring the database's full path to exactly `length` bytes; no name may pass 255 bytes.
    const QString name = QStringLiteral("data.nct");
    int rest = length - static_cast<int>(QFileInfo(m_dir->path()).absoluteFilePath().size()) - 1 -
               static_cast<int>(name.size());
    QString folder = QFileInfo(m_dir->path()).absoluteFilePath();
    while (rest > 0) {
        const int part = rest > 201 ? 150 : rest - 1;
        QVERIFY(part > 0);
        folder += u'/' + QString(part, u'f');
        rest -= part + 1;
    }
    QCOMPARE(rest, 0);
    QVERIFY(QDir().mkpath(folder));
    const QString file = created(QDir(folder).filePath(name));
    QVERIFY(!file.isEmpty());
    QCOMPARE(QFileInfo(file).absoluteFilePath().size(), length);
    QVERIFY(QDir(m_dir->path()).mkdir(QStringLiteral("backups")));
    QString target = path(QStringLiteral("backups/data.ncz"));
    ScriptedPrompter prompter;

    const qint64 size = ZLib::ProcessFile(true, file, target, prompter);
    if (length <= 255) {
        QVERIFY(size > 0);
        QVERIFY(prompter.shown.isEmpty());
        QCOMPARE(static_cast<unsigned char>(readFile(target).right(6).at(0)), static_cast<unsigned char>(length));
        const qint64 sourceSize = QFileInfo(file).size();
        QVERIFY(QFile::remove(file));
        QString expanded;
        QCOMPARE(ZLib::ProcessFile(false, target, expanded, prompter), sourceSize);
        QCOMPARE(QFileInfo(expanded), QFileInfo(QDir(folder).filePath(QStringLiteral("data.ncr"))));
        return;
    }
    QCOMPARE(size, 0);
    QCOMPARE(prompter.numbers(), QList<int>{0});
    QVERIFY(prompter.shown.first().text.contains(QLatin1String("255")));
    QVERIFY(filesIn(path(QStringLiteral("backups"))).isEmpty());
}

void TestCheckBackup::expandRefusesWhatIsNotABackup_data() {
    QTest::addColumn<QString>("kind");
    QTest::addColumn<int>("message");
    QTest::newRow("a database") << "database" << 131;
    QTest::newRow("text") << "text" << 131;
    QTest::newRow("damaged stream") << "stream" << 131;
    QTest::newRow("wrong size") << "size" << 131;
    QTest::newRow("cut short") << "short" << 131;
    QTest::newRow("path longer than the file") << "path" << 131;
    QTest::newRow("empty") << "empty" << 133;
}

void TestCheckBackup::expandRefusesWhatIsNotABackup() {
    QFETCH(QString, kind);
    QFETCH(int, message);
    const QString file = created(path(QStringLiteral("data.nct")));
    QVERIFY(!file.isEmpty());
    QString packedPath = path(QStringLiteral("data.ncz"));
    ScriptedPrompter maker;
    QVERIFY(ZLib::ProcessFile(true, file, packedPath, maker) > 0);
    QByteArray packed = readFile(packedPath);
    QVERIFY(QFile::remove(file));

    QByteArray input;
    if (kind == QLatin1String("database")) {
        QVERIFY(QFile::remove(packedPath));
        input = readFile(created(path(QStringLiteral("other.nct"))));
    } else if (kind == QLatin1String("text")) {
        input = "nothing compressed here";
    } else if (kind == QLatin1String("stream")) {
        input = packed;
        for (int i = 20; i < 60; ++i) {
            input[i] = static_cast<char>(input[i] ^ 0x5A);
        }
    } else if (kind == QLatin1String("size")) {
        input = packed;
        input[input.size() - 4] = static_cast<char>(input[input.size() - 4] + 1);
    } else if (kind == QLatin1String("short")) {
        const qsizetype trailer = static_cast<unsigned char>(packed[packed.size() - 6]) + 6;
        input = packed.left((packed.size() - trailer) / 2) + packed.right(trailer);
    } else if (kind == QLatin1String("path")) {
        input = QByteArray("xy") + packed.right(6);
        input[input.size() - 6] = '\xFF';
    }
    const QString source = path(QStringLiteral("input.ncz"));
    QVERIFY(writeFile(source, input));
    const QStringList files = filesIn(m_dir->path());
    ScriptedPrompter prompter;
    QString expanded;

    QCOMPARE(ZLib::ProcessFile(false, source, expanded, prompter), 0);
    QCOMPARE(prompter.numbers(), QList<int>{message});
    QCOMPARE(filesIn(m_dir->path()), files);
}

void TestCheckBackup::expansionTarget_data() {
    QTest::addColumn<bool>("originalThere");
    QTest::addColumn<bool>("folderThere");
    QTest::addColumn<bool>("choose");
    QTest::addColumn<bool>("asked");
    QTest::addColumn<QString>("expected"); // "chosen", "beside" or "" for nothing written
    QTest::newRow("original there, folder chosen") << true << true << true << true << "chosen";
    QTest::newRow("original there, cancelled") << true << true << false << true << "beside";
    QTest::newRow("original gone") << false << true << true << false << "beside";
    QTest::newRow("folder gone, folder chosen") << false << false << true << true << "chosen";
    QTest::newRow("folder gone, cancelled") << false << false << false << true << "";
}

void TestCheckBackup::expansionTarget() {
    QFETCH(bool, originalThere);
    QFETCH(bool, folderThere);
    QFETCH(bool, choose);
    QFETCH(bool, asked);
    QFETCH(QString, expected);
    const QString home = path(QStringLiteral("home"));
    QVERIFY(QDir().mkpath(home));
    const QString file = created(QDir(home).filePath(QStringLiteral("my.data.nct")));
    QVERIFY(!file.isEmpty());
    const QByteArray source = readFile(file);
    QString packed = path(QStringLiteral("backup.ncz"));
    ScriptedPrompter maker;
    QVERIFY(ZLib::ProcessFile(true, file, packed, maker) > 0);
    if (!folderThere) {
        QVERIFY(QDir(home).removeRecursively());
    } else if (!originalThere) {
        QVERIFY(QFile::remove(file));
    }
    const QString chosen = path(QStringLiteral("chosen"));
    QVERIFY(QDir().mkpath(chosen));

    FolderPrompter prompter;
    prompter.script.folder = choose ? chosen : QString();
    QString expanded;
    const qint64 size = ZLib::ProcessFile(false, packed, expanded, prompter);
    QCOMPARE(prompter.folderPrompts, asked ? QStringList{MsgText(147)} : QStringList());
    if (expected.isEmpty()) {
        QCOMPARE(size, 0);
        QVERIFY(filesIn(chosen).isEmpty());
        QVERIFY(!QDir(home).exists());
        return;
    }
    QCOMPARE(size, source.size());
    const QString folder = expected == QLatin1String("chosen") ? chosen : home;
    QCOMPARE(QFileInfo(expanded), QFileInfo(QDir(folder).filePath(QStringLiteral("my.data.ncr"))));
    QCOMPARE(readFile(expanded), source);
    if (originalThere) {
        QCOMPARE(readFile(file), source);
    }
}

// ---------------------------------------------------------------------------------------------------- names

void TestCheckBackup::backupName_data() {
    QTest::addColumn<QString>("database");
    QTest::addColumn<QDateTime>("moment");
    QTest::addColumn<QString>("expected");
    const QDateTime christmas(QDate(2004, 12, 24), QTime(17, 4, 55));
    QTest::newRow("plain") << "/home/ann/mydata.nct" << christmas << "mydata041224170455.ncz";
    QTest::newRow("points in the name") << "/home/ann/my.data.v2.nct" << christmas << "my041224170455.ncz";
    QTest::newRow("points in the folder") << "/home/a.b/mydata.nct" << christmas << "mydata041224170455.ncz";
    QTest::newRow("stored with backslashes") << "C:\\Docs\\mydata.nct" << christmas << "mydata041224170455.ncz";
    QTest::newRow("early moment") << "x.nct" << QDateTime(QDate(2031, 1, 2), QTime(3, 4, 5)) << "x310102030405.ncz";
}

void TestCheckBackup::backupName() {
    QFETCH(QString, database);
    QFETCH(QDateTime, moment);
    QFETCH(QString, expected);
    QCOMPARE(backup::BackupName(database, moment), expected);
}

void TestCheckBackup::parseBackupName_data() {
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("ok");
    QTest::addColumn<QString>("original");
    QTest::addColumn<QDateTime>("moment");
    QTest::newRow("plain") << "mydata041224170455.ncz" << true << "mydata.nct"
                           << QDateTime(QDate(2004, 12, 24), QTime(17, 4, 55));
    QTest::newRow("digits in the name") << "data2041224170455.ncz" << true << "data2.nct"
                                        << QDateTime(QDate(2004, 12, 24), QTime(17, 4, 55));
    QTest::newRow("leap day") << "a240229235959.ncz" << true << "a.nct"
                              << QDateTime(QDate(2024, 2, 29), QTime(23, 59, 59));
    QTest::newRow("too short") << "data12345.ncz" << false << QString() << QDateTime();
    QTest::newRow("no name at all") << ".ncz" << false << QString() << QDateTime();
    QTest::newRow("month 13") << "data041324170455.ncz" << false << QString() << QDateTime();
    QTest::newRow("30 February") << "data040230170455.ncz" << false << QString() << QDateTime();
    QTest::newRow("29 February of a common year") << "data230229170455.ncz" << false << QString() << QDateTime();
    QTest::newRow("hour 24") << "data041224240455.ncz" << false << QString() << QDateTime();
    QTest::newRow("minute 60") << "data041224176055.ncz" << false << QString() << QDateTime();
    QTest::newRow("day 0") << "data041200170455.ncz" << false << QString() << QDateTime();
    QTest::newRow("letters") << "data04122417o455.ncz" << false << QString() << QDateTime();
    QTest::newRow("sign") << "data+41224170455.ncz" << false << QString() << QDateTime();
    QTest::newRow("blank") << "data 41224170455.ncz" << false << QString() << QDateTime();
}

void TestCheckBackup::parseBackupName() {
    QFETCH(QString, name);
    QFETCH(bool, ok);
    QFETCH(QString, original);
    QFETCH(QDateTime, moment);
    const backup::BackupNameParts parts = backup::ParseBackupName(name);
    QCOMPARE(parts.ok, ok);
    if (ok) {
        QCOMPARE(parts.original, original);
        QCOMPARE(parts.moment, moment);
        // A name made for that moment reads back the same.
        QCOMPARE(backup::BackupName(original, moment), name);
    }
}

void TestCheckBackup::restoreRenames_data() {
    QTest::addColumn<bool>("current");
    QTest::addColumn<bool>("kept");
    QTest::addColumn<bool>("restored");
    QTest::newRow("all three") << true << true << true;
    QTest::newRow("first restore") << true << false << true;
    QTest::newRow("no former file") << false << false << true;
    QTest::newRow("nothing restored") << true << true << false;
}

void TestCheckBackup::restoreRenames() {
    QFETCH(bool, current);
    QFETCH(bool, kept);
    QFETCH(bool, restored);
    const QString base = path(QStringLiteral("data"));
    const QString nct = base + QStringLiteral(".nct");
    const QString ncb = base + QStringLiteral(".ncb");
    const QString ncr = base + QStringLiteral(".ncr");
    if (current) {
        QVERIFY(writeFile(nct, "former"));
    }
    if (kept) {
        QVERIFY(writeFile(ncb, "older still"));
    }
    if (restored) {
        QVERIFY(writeFile(ncr, "restored"));
    }

    QCOMPARE(backup::RestoreRenames(base), restored);
    if (!restored) {
        // Nothing to put in place: nothing is touched.
        QCOMPARE(readFile(nct), QByteArray("former"));
        QCOMPARE(readFile(ncb), QByteArray("older still"));
        return;
    }
    QCOMPARE(readFile(nct), QByteArray("restored"));
    QVERIFY(!QFileInfo::exists(ncr));
    if (current) {
        QCOMPARE(readFile(ncb), QByteArray("former"));
    } else {
        QVERIFY(!QFileInfo::exists(ncb));
    }
    QCOMPARE(filesIn(m_dir->path()).size(), current ? 2 : 1);
}

void TestCheckBackup::restoreBesideCrashJournal() {
    // A program that crashed while writing the former file left its journal beside it. The journal belongs to
    // that file: played into the restored one it would damage both.
    QVERIFY(QDir(m_dir->path()).mkdir(QStringLiteral("target")));
    const QString base = path(QStringLiteral("target/data"));
    const QString former = created(base + QStringLiteral(".nct"));
    QVERIFY(!former.isEmpty());
    const QList<std::int64_t> formerMemos = m_memos;
    m_memos.clear();
    const QByteArray restored = readFile(created(path(QStringLiteral("other.nct")), 7));
    QVERIFY(writeFile(base + QStringLiteral(".ncr"), restored));

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

    QVERIFY(backup::RestoreRenames(base));
    QCOMPARE(readFile(base + QStringLiteral(".nct")), restored);
    QCOMPARE(db::CheckDatabase(base + QStringLiteral(".nct")).number, 0);
    QCOMPARE(readFile(base + QStringLiteral(".nct")), restored);
    {
        TestSession opening;
        QCOMPARE(OpenDatabase(opening, base + QStringLiteral(".nct"), kPassphrase), 0);
        QCOMPARE(memosDiffer(opening.session.store(), m_memos), QString());
    }
    // The former file is kept as it was before the crashed write.
    QCOMPARE(db::CheckDatabase(base + QStringLiteral(".ncb")).number, 0);
    QVERIFY(QFile::rename(base + QStringLiteral(".ncb"), path(QStringLiteral("former.nct"))));
    TestSession opening;
    QCOMPARE(OpenDatabase(opening, path(QStringLiteral("former.nct")), kPassphrase), 0);
    QCOMPARE(memosDiffer(opening.session.store(), formerMemos), QString());
}

QTEST_GUILESS_MAIN(TestCheckBackup)
#include "tst_check_backup.moc"

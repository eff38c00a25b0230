#include "app/bench/store_bench.h"

#include "app/bench/raw_cipher.h"

#include "store/cry.h"
#include "store/db.h"
#include "store/field_codec.h"
#include "store/random_source.h"
#include "store/record_put.h"
#include "store/row.h"
#include "store/sqlite.h"

#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QTextStream>

#include <botan/cipher_mode.h>
#include <sqlite3.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <exception>
#include <memory>
#include <optional>
#include <vector>

namespace bench {
namespace {

constexpr int kRows = 100000;
constexpr int kWarmUpRows = 2000;
constexpr int kBlobBytes = 300;
constexpr int kPoolBytes = 270;
constexpr int kSectionCode = 14;

using Blobs = std::vector<QByteArray>;

struct Result {
    const char* workload;
    double oursMs;
    double limitMs;
};

// `seed` repeated to exactly `n` characters, so that every blob has the same size whatever the row number.
QString TextOfLength(const QString& seed, int n) {
    QString text;
    text.reserve(n + seed.size());
    while (text.size() < n) {
        text += seed;
    }
    text.truncate(n);
    return text;
}

// A record as the organiser would hold it: a title, a login and a note, each an item of the field blob.
// Each item is index, type and length bytes before its text, so the three make exactly 300 bytes.
QByteArray MakeBlob(int i) {
    QByteArray blob;
    blob += Record_Put::PutField(TextOfLength(QStringLiteral("Account %1 - online banking ").arg(i), 40),
                                 FieldType::Text, 1);
    blob +=
        Record_Put::PutField(TextOfLength(QStringLiteral("user%1.name@example.org ").arg(i), 24), FieldType::Text, 2);
    blob += Record_Put::PutField(
        TextOfLength(QStringLiteral("Note %1: security questions, recovery codes and branch hours. ").arg(i), 227),
        FieldType::Text, 3);
    return blob;
}

// A cheap, repeatable stand-in for the selector and vector randomness the limit is not charged for.
std::uint32_t NextNoise(std::uint32_t& state) {
    state ^= state << 13;
    state ^= state >> 17;
    state ^= state << 5;
    return state;
}

// Writes `blobs` through the store's row writer, all rows inside one transaction. Returns the fPK of the first
// row, the rows having consecutive keys; absent on failure.
std::optional<std::int64_t> WriteOurs(sqlite::Connection& db, CRY& cry, const Blobs& blobs, int count,
                                      QTextStream& err) {
    if (sqlite::Error e = db.exec("BEGIN")) {
        err << "noctaria-bench: BEGIN failed: " << e.description << '\n';
        return std::nullopt;
    }
    std::int64_t first = 0;
    for (int i = 0; i < count; ++i) {
        sqlite::Error e;
        const std::int64_t fpk = AddNewRow(
            db,
            [&](std::int64_t key, RowValues& row) {
                const QByteArray text = cry.Cipher(static_cast<std::int32_t>(key), 1, blobs[i]);
                if (text.isEmpty()) {
                    return false;
                }
                row.set(Col::fEtx, text);
                row.set(Col::fSec, kSectionCode);
                return true;
            },
            &e);
        if (i == 0) {
            first = fpk;
        }
        if (fpk == 0 || fpk != first + i) {
            err << "noctaria-bench: writing row " << i << " failed: " << e.description << '\n';
            db.exec("ROLLBACK");
            return std::nullopt;
        }
    }
    if (sqlite::Error e = db.exec("COMMIT")) {
        err << "noctaria-bench: COMMIT failed: " << e.description << '\n';
        return std::nullopt;
    }
    return first;
}

// The same rows in the same stored form, by raw Botan and raw SQLite: one prepared insert, one transaction.
// The database is new, so its keys run from 1.
bool WriteLimit(sqlite3* db, const CRY::SecureBytes& keys, const Blobs& blobs, int count, QTextStream& err) {
    auto mode = Botan::Cipher_Mode::create("Blowfish/CBC/NoPadding", Botan::ENCRYPTION);
    sqlite3_stmt* raw = nullptr;
    if (!mode || sqlite3_prepare_v2(db, "INSERT INTO tt(fEtx) VALUES(?)", -1, &raw, nullptr) != SQLITE_OK) {
        err << "noctaria-bench: the raw writer could not be set up\n";
        return false;
    }
    const std::unique_ptr<sqlite3_stmt, decltype(&sqlite3_finalize)> insert(raw, &sqlite3_finalize);
    if (sqlite3_exec(db, "BEGIN", nullptr, nullptr, nullptr) != SQLITE_OK) {
        err << "noctaria-bench: raw BEGIN failed\n";
        return false;
    }
    CRY::SecureBytes buffer;
    std::vector<std::uint8_t> stored;
    std::uint32_t noise = 0x9E3779B9u;
    for (int i = 0; i < count; ++i) {
        const std::int64_t fpk = i + 1;
        const QByteArray& blob = blobs[i];
        const std::size_t text = kPrefixBytes + static_cast<std::size_t>(blob.size());
        const std::size_t pad = kBlock - (text + 1) % kBlock;
        buffer.resize(text + 1 + pad);
        for (std::size_t b = 0; b < kPrefixBytes; ++b) {
            buffer[b] = static_cast<std::uint8_t>(fpk >> (8 * b));
        }
        std::memcpy(buffer.data() + kPrefixBytes, blob.constData(), static_cast<std::size_t>(blob.size()));
        buffer[text] = kMarker;
        std::fill(buffer.begin() + static_cast<std::ptrdiff_t>(text + 1), buffer.end(), static_cast<std::uint8_t>(pad));

        const std::uint32_t selector = NextNoise(noise) & 0xFFFF;
        std::uint8_t iv[kBlock];
        const std::uint32_t low = NextNoise(noise);
        const std::uint32_t high = NextNoise(noise);
        std::memcpy(iv, &low, 4);
        std::memcpy(iv + 4, &high, 4);
        mode->set_key(keys.data() + selector * kKeyBytes, kKeyBytes);
        mode->start(iv, kBlock);
        mode->finish(buffer);

        stored.resize(kSelectorBytes + kBlock + buffer.size());
        stored[0] = static_cast<std::uint8_t>(selector >> 8);
        stored[1] = static_cast<std::uint8_t>(selector & 0xFF);
        std::memcpy(stored.data() + kSelectorBytes, iv, kBlock);
        std::memcpy(stored.data() + kSelectorBytes + kBlock, buffer.data(), buffer.size());

        sqlite3_bind_blob(insert.get(), 1, stored.data(), static_cast<int>(stored.size()), SQLITE_STATIC);
        if (sqlite3_step(insert.get()) != SQLITE_DONE || sqlite3_last_insert_rowid(db) != fpk) {
            err << "noctaria-bench: raw insert of row " << i << " failed: " << sqlite3_errmsg(db) << '\n';
            sqlite3_exec(db, "ROLLBACK", nullptr, nullptr, nullptr);
            return false;
        }
        sqlite3_reset(insert.get());
    }
    if (sqlite3_exec(db, "COMMIT", nullptr, nullptr, nullptr) != SQLITE_OK) {
        err << "noctaria-bench: raw COMMIT failed\n";
        return false;
    }
    return true;
}

// Deciphers every row through the store; the count of rows that give back their own blob, or -1 on failure.
int ScanOurs(sqlite::Connection& db, CRY& cry, const Blobs& blobs, std::int64_t first, QTextStream& err) {
    sqlite::Statement select = db.prepare("SELECT fPK, fEtx FROM tt");
    int intact = 0;
    while (select.step()) {
        const std::int64_t fpk = select.int64(0);
        const QByteArray text = cry.Cipher(static_cast<std::int32_t>(fpk), 2, select.bytes(1));
        const std::int64_t i = fpk - first;
        if (i >= 0 && i < static_cast<std::int64_t>(blobs.size()) && text == blobs[i]) {
            ++intact;
        }
    }
    if (sqlite::Error e = select.error()) {
        err << "noctaria-bench: scan failed: " << e.description << '\n';
        return -1;
    }
    return intact;
}

// The same scan by raw SQLite and raw Botan, with a key set per row and the framing checked by hand.
int ScanLimit(sqlite3* db, const CRY::SecureBytes& keys, const Blobs& blobs, std::int64_t first, QTextStream& err) {
    auto mode = Botan::Cipher_Mode::create("Blowfish/CBC/NoPadding", Botan::DECRYPTION);
    sqlite3_stmt* raw = nullptr;
    if (!mode || sqlite3_prepare_v2(db, "SELECT fPK, fEtx FROM tt", -1, &raw, nullptr) != SQLITE_OK) {
        err << "noctaria-bench: the raw reader could not be set up\n";
        return -1;
    }
    const std::unique_ptr<sqlite3_stmt, decltype(&sqlite3_finalize)> select(raw, &sqlite3_finalize);
    CRY::SecureBytes buffer;
    int intact = 0;
    int rc = SQLITE_ROW;
    while ((rc = sqlite3_step(select.get())) == SQLITE_ROW) {
        const std::int64_t fpk = sqlite3_column_int64(select.get(), 0);
        const auto* p = static_cast<const std::uint8_t*>(sqlite3_column_blob(select.get(), 1));
        const auto n = static_cast<std::size_t>(sqlite3_column_bytes(select.get(), 1));
        const std::optional<std::size_t> length = DecipherRaw(*mode, keys, fpk, p, n, buffer);
        const std::int64_t i = fpk - first;
        if (length && i >= 0 && i < static_cast<std::int64_t>(blobs.size()) &&
            static_cast<std::size_t>(blobs[i].size()) == *length &&
            std::memcmp(buffer.data() + kPrefixBytes, blobs[i].constData(), *length) == 0) {
            ++intact;
        }
    }
    if (rc != SQLITE_DONE) {
        err << "noctaria-bench: raw scan failed: " << sqlite3_errmsg(db) << '\n';
        return -1;
    }
    return intact;
}

// A new database file at `path`, open.
bool MakeDatabase(db::Database& database, const QString& path, QTextStream& err) {
    sqlite::Error e = db::CreateDatabaseFile(path);
    if (!e) {
        e = database.Open(path);
    }
    if (e) {
        err << "noctaria-bench: database " << path << ": " << e.description << '\n';
        return false;
    }
    return true;
}

// Whether the database written by the limit holds `count` rows and the store deciphers its first and last.
bool LimitRowsReadable(sqlite::Connection& db, CRY& cry, const Blobs& blobs, int count) {
    sqlite::Statement rows = db.prepare("SELECT COUNT(*) FROM tt");
    if (!rows.step() || rows.int64(0) != count) {
        return false;
    }
    for (const int i : {0, count - 1}) {
        const std::optional<Row> row = ReadRow(db, i + 1);
        if (!row || cry.Cipher(i + 1, 2, row->bytes(Col::fEtx)) != blobs[i]) {
            return false;
        }
    }
    return true;
}

void PrintTable(QTextStream& out, const std::vector<Result>& results) {
    out << QStringLiteral("%1 %2 %3 %4 %5 %6\n")
               .arg(QStringLiteral("workload"), -10)
               .arg(QStringLiteral("ours ms"), 10)
               .arg(QStringLiteral("limit ms"), 10)
               .arg(QStringLiteral("ratio"), 7)
               .arg(QStringLiteral("ours us/row"), 12)
               .arg(QStringLiteral("limit us/row"), 13);
    for (const Result& r : results) {
        const double perRow = 1000.0 / kRows;
        out << QStringLiteral("%1 %2 %3 %4 %5 %6\n")
                   .arg(QLatin1String(r.workload), -10)
                   .arg(r.oursMs, 10, 'f', 1)
                   .arg(r.limitMs, 10, 'f', 1)
                   .arg(r.limitMs > 0 ? r.oursMs / r.limitMs : 0.0, 7, 'f', 2)
                   .arg(r.oursMs * perRow, 12, 'f', 2)
                   .arg(r.limitMs * perRow, 13, 'f', 2);
    }
    out << "rows: " << kRows << ", field blob: " << kBlobBytes << " bytes\n";
    out.flush();
}

int Run(QTextStream& out, QTextStream& err) {
    QTemporaryDir dir;
    if (!dir.isValid()) {
        err << "noctaria-bench: no temporary directory: " << dir.errorString() << '\n';
        return 1;
    }

    CRY cry;
    CRY::SecureBytes pool(kPoolBytes);
    StrongRandom().bytes(pool.data(), pool.size());
    cry.setKeyPool(pool);
    CRY::WipeBytes(pool);
    CRY::SecureBytes keys = AllRecordKeys(cry.KeyPool());

    Blobs blobs;
    blobs.reserve(kRows);
    for (int i = 0; i < kRows; ++i) {
        blobs.push_back(MakeBlob(i));
        if (blobs.back().size() != kBlobBytes) {
            err << "noctaria-bench: a field blob came out at " << blobs.back().size() << " bytes\n";
            return 1;
        }
    }

    // Warm-up on throwaway files, so that code, allocator and file system are past their first use.
    {
        db::Database ours;
        db::Database limit;
        if (!MakeDatabase(ours, dir.filePath(QStringLiteral("warm-ours.nct")), err) ||
            !MakeDatabase(limit, dir.filePath(QStringLiteral("warm-limit.nct")), err)) {
            return 1;
        }
        const std::optional<std::int64_t> first = WriteOurs(ours.connection(), cry, blobs, kWarmUpRows, err);
        if (!first || !WriteLimit(limit.connection().handle(), keys, blobs, kWarmUpRows, err) ||
            ScanOurs(ours.connection(), cry, blobs, *first, err) != kWarmUpRows ||
            ScanLimit(ours.connection().handle(), keys, blobs, *first, err) != kWarmUpRows) {
            err << "noctaria-bench: the warm-up failed\n";
            return 1;
        }
    }

    db::Database ours;
    db::Database limit;
    if (!MakeDatabase(ours, dir.filePath(QStringLiteral("ours.nct")), err) ||
        !MakeDatabase(limit, dir.filePath(QStringLiteral("limit.nct")), err)) {
        return 1;
    }
    std::vector<Result> results;
    QElapsedTimer timer;

    timer.start();
    const std::optional<std::int64_t> first = WriteOurs(ours.connection(), cry, blobs, kRows, err);
    const double writeOurs = MillisecondsOf(timer);
    if (!first) {
        return 1;
    }
    timer.start();
    const bool limitWritten = WriteLimit(limit.connection().handle(), keys, blobs, kRows, err);
    const double writeLimit = MillisecondsOf(timer);
    if (!limitWritten) {
        return 1;
    }
    results.push_back({"write", writeOurs, writeLimit});

    // Both scans read the very same rows, those the store wrote.
    timer.start();
    const int intactOurs = ScanOurs(ours.connection(), cry, blobs, *first, err);
    const double scanOurs = MillisecondsOf(timer);
    timer.start();
    const int intactLimit = ScanLimit(ours.connection().handle(), keys, blobs, *first, err);
    const double scanLimit = MillisecondsOf(timer);
    results.push_back({"scan", scanOurs, scanLimit});
    CRY::WipeBytes(keys);

    PrintTable(out, results);

    bool ok = true;
    if (intactOurs != kRows || intactLimit != kRows) {
        err << "noctaria-bench: rows deciphered intact: store " << intactOurs << ", raw " << intactLimit << " of "
            << kRows << '\n';
        ok = false;
    }
    if (!LimitRowsReadable(limit.connection(), cry, blobs, kRows)) {
        err << "noctaria-bench: the rows written raw are not what the store writes\n";
        ok = false;
    }
    return ok ? 0 : 1;
}

} // namespace

int RunStoreBench(QTextStream& out, QTextStream& err) {
    return Run(out, err);
}

} // namespace bench

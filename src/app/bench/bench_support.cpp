#include "app/bench/bench_support.h"

#include "app/bench/raw_cipher.h"

#include "shell/open_sequence.h"
#include "shell/session.h"
#include "store/cipher_workers.h"
#include "store/store.h"

#include <QSettings>
#include <QStringList>
#include <QTextStream>

#include <botan/cipher_mode.h>

#include <algorithm>
#include <atomic>
#include <exception>
#include <optional>
#include <thread>

namespace bench {

namespace {

constexpr const char* kPassphrase = "throwaway bench passphrase";

// The sum of the counts of the parts, or -1 when a part failed.
int SumOfParts(const std::vector<int>& parts) {
    int total = 0;
    for (const int part : parts) {
        if (part < 0) {
            return -1;
        }
        total += part;
    }
    return total;
}

double Median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

} // namespace

bool Begin(Store& store, QTextStream& err) {
    if (const sqlite::Error e = store.connection().exec("BEGIN")) {
        err << "noctaria-bench: BEGIN failed: " << e.description << '\n';
        return false;
    }
    return true;
}

bool Commit(Store& store, QTextStream& err) {
    if (const sqlite::Error e = store.connection().exec("COMMIT")) {
        err << "noctaria-bench: COMMIT failed: " << e.description << '\n';
        return false;
    }
    return true;
}

Prompter::Reply BenchPrompter::message(int number, const QString& text, Buttons buttons, Icon) {
    m_err << "noctaria-bench: message " << number << ": " << text << '\n';
    return SafeReply(buttons);
}

Prompter::PassphraseReply BenchPrompter::passphrase(const PassphraseRequest&) {
    PassphraseReply reply;
    if (!m_answered) {
        m_answered = true;
        reply.cancelled = false;
        reply.text = QString::fromLatin1(kPassphrase);
    }
    return reply;
}

BenchFile::BenchFile(QTextStream& err)
    : m_err(err)
    , m_prompter(err)
    , m_session(std::make_unique<Session>(m_prompter)) {}

BenchFile::~BenchFile() {
    open_sequence::CloseDatabase(*m_session);
}

bool BenchFile::open(const QString& name) {
    if (!m_dir.isValid()) {
        m_err << "noctaria-bench: no temporary directory: " << m_dir.errorString() << '\n';
        return false;
    }
    const QString settings = m_dir.filePath(QStringLiteral("settings"));
    QSettings::setDefaultFormat(QSettings::IniFormat);
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, settings);
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, settings);
    m_session->CreatingDefault = true;
    m_session->DbPath = m_dir.filePath(name);
    if (const int error = open_sequence::NewDatabase(*m_session)) {
        m_err << "noctaria-bench: the database could not be made: " << error << '\n';
        return false;
    }
    return true;
}

Statement Prepare(sqlite3* db, const char* sql) {
    sqlite3_stmt* raw = nullptr;
    if (sqlite3_prepare_v2(db, sql, -1, &raw, nullptr) != SQLITE_OK) {
        sqlite3_finalize(raw);
        raw = nullptr;
    }
    return {raw, &sqlite3_finalize};
}

QString QueryPlan(sqlite3* db, const QByteArray& sql) {
    const QByteArray explain = "EXPLAIN QUERY PLAN " + sql;
    const Statement plan = Prepare(db, explain.constData());
    if (!plan) {
        return QStringLiteral("(none)");
    }
    QStringList steps;
    while (sqlite3_step(plan.get()) == SQLITE_ROW) {
        steps << QString::fromUtf8(reinterpret_cast<const char*>(sqlite3_column_text(plan.get(), 3)));
    }
    return steps.join(QStringLiteral("; "));
}

bool Measure(const char* workload, int rows, const Side& ours, const Side& limit, int runs,
             std::vector<Timing>& results, QTextStream& err, bool warmUp) {
    double ms = 0;
    bool oursAgree = !warmUp || ours(ms);
    bool limitAgrees = !warmUp || limit(ms);
    std::vector<double> oursMs;
    std::vector<double> limitMs;
    for (int run = 0; run < runs; ++run) {
        oursAgree = ours(ms) && oursAgree;
        oursMs.push_back(ms);
        limitAgrees = limit(ms) && limitAgrees;
        limitMs.push_back(ms);
    }
    results.push_back({workload, rows, Median(oursMs), Median(limitMs)});
    if (!oursAgree) {
        err << "noctaria-bench: " << workload << ": the program's result disagrees with what was written\n";
    }
    if (!limitAgrees) {
        err << "noctaria-bench: " << workload << ": the raw reading did not decipher every row written\n";
    }
    return oursAgree && limitAgrees;
}

void PrintTable(QTextStream& out, const std::vector<Timing>& results, int decimals) {
    out << QStringLiteral("%1 %2 %3 %4 %5\n")
               .arg(QStringLiteral("workload"), -14)
               .arg(QStringLiteral("rows"), 7)
               .arg(QStringLiteral("ours ms"), 10)
               .arg(QStringLiteral("limit ms"), 10)
               .arg(QStringLiteral("ratio"), 7);
    for (const Timing& r : results) {
        out << QStringLiteral("%1 %2 %3 %4 %5\n")
                   .arg(QLatin1String(r.workload), -14)
                   .arg(r.rows, 7)
                   .arg(r.oursMs, 10, 'f', decimals)
                   .arg(r.limitMs, 10, 'f', decimals)
                   .arg(r.limitMs > 0 ? r.oursMs / r.limitMs : 0.0, 7, 'f', 2);
    }
}

int DecipherRawRows(const std::vector<RawRow>& rows, const CRY::SecureBytes& keys) {
    const auto count = static_cast<qsizetype>(rows.size());
    const qsizetype threads = cipher_workers::ThreadsFor(count);
    const qsizetype chunk = (count + threads - 1) / threads;
    std::vector<int> intact(static_cast<std::size_t>(threads), 0);
    const auto decipherRange = [&](qsizetype part) {
        try {
            auto mode = Botan::Cipher_Mode::create_or_throw("Blowfish/CBC/NoPadding", Botan::DECRYPTION);
            CRY::SecureBytes buffer;
            int& done = intact[static_cast<std::size_t>(part)];
            for (qsizetype i = part * chunk; i < std::min(count, (part + 1) * chunk); ++i) {
                const RawRow& row = rows[static_cast<std::size_t>(i)];
                if (DecipherRaw(*mode, keys, row.key, row.sealed.data(), row.sealed.size(), buffer)) {
                    ++done;
                }
            }
        } catch (const std::exception&) {
            intact[static_cast<std::size_t>(part)] = -1;
        }
    };
    std::vector<std::thread> workers;
    for (qsizetype t = 1; t < threads; ++t) {
        workers.emplace_back(decipherRange, t);
    }
    decipherRange(0);
    for (std::thread& worker : workers) {
        worker.join();
    }
    return SumOfParts(intact);
}

int ReadAndDecipherRaw(sqlite3_stmt* select, std::size_t capacity, const CRY::SecureBytes& keys,
                       const std::function<bool(const std::uint8_t* text, std::size_t n)>& accept) {
    // Reserved in full, so that rows never move while other threads decipher them.
    std::vector<RawRow> rows;
    rows.reserve(capacity);
    std::atomic<std::size_t> read{0};
    std::atomic<bool> done{false};
    std::atomic<std::size_t> taken{0};
    const unsigned threads = std::max(1u, std::thread::hardware_concurrency());
    std::vector<int> intact(threads, 0);
    const auto decipher = [&](unsigned part) {
        try {
            auto mode = Botan::Cipher_Mode::create_or_throw("Blowfish/CBC/NoPadding", Botan::DECRYPTION);
            CRY::SecureBytes buffer;
            for (std::size_t i = taken++;; i = taken++) {
                while (i >= read.load() && !done.load()) {
                    std::this_thread::yield();
                }
                if (i >= read.load()) {
                    break;
                }
                const RawRow& row = rows[i];
                const std::optional<std::size_t> n =
                    DecipherRaw(*mode, keys, row.key, row.sealed.data(), row.sealed.size(), buffer);
                if (n && accept(buffer.data() + kPrefixBytes, *n)) {
                    ++intact[part];
                }
            }
        } catch (const std::exception&) {
            intact[part] = -1;
        }
    };
    std::vector<std::thread> workers;
    for (unsigned t = 1; t < threads; ++t) {
        workers.emplace_back(decipher, t);
    }
    int rc = SQLITE_ROW;
    while (rows.size() < capacity && (rc = sqlite3_step(select)) == SQLITE_ROW) {
        const auto* p = static_cast<const std::uint8_t*>(sqlite3_column_blob(select, 1));
        const auto n = static_cast<std::size_t>(sqlite3_column_bytes(select, 1));
        rows.push_back({sqlite3_column_int64(select, 0), 0, false, std::vector<std::uint8_t>(p, p + n)});
        read.store(rows.size());
    }
    const bool complete = rc == SQLITE_DONE || (rc == SQLITE_ROW && sqlite3_step(select) == SQLITE_DONE);
    done.store(true);
    decipher(0);
    for (std::thread& worker : workers) {
        worker.join();
    }
    return complete ? SumOfParts(intact) : -1;
}

} // namespace bench

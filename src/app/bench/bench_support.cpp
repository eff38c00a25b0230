#include "app/bench/bench_support.h"

#include "app/bench/raw_cipher.h"

#include "shell/open_sequence.h"
#include "shell/session.h"

#include <QSettings>
#include <QStringList>
#include <QTextStream>

#include <botan/cipher_mode.h>

#include <algorithm>
#include <exception>
#include <optional>
#include <thread>

namespace bench {

namespace {

constexpr const char* kPassphrase = "throwaway bench passphrase";
// The program gives no thread fewer rows than this, so the raw side splits its rows the same way.
constexpr std::ptrdiff_t kRowsPerThread = 64;

double Median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

} // namespace

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

void RedirectSettings(const QString& dir) {
    QSettings::setDefaultFormat(QSettings::IniFormat);
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, dir);
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, dir);
}

bool MakeSessionDatabase(Session& session, const QString& path, QTextStream& err) {
    session.CreatingDefault = true;
    session.DbPath = path;
    if (const int error = open_sequence::NewDatabase(session)) {
        err << "noctaria-bench: the database could not be made: " << error << '\n';
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
             std::vector<Timing>& results, QTextStream& err) {
    double ms = 0;
    bool oursAgree = ours(ms);
    bool limitAgrees = limit(ms);
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

std::ptrdiff_t ThreadsFor(std::ptrdiff_t count) {
    return std::clamp<std::ptrdiff_t>(std::thread::hardware_concurrency(), 1,
                                      std::max<std::ptrdiff_t>(1, count / kRowsPerThread));
}

int DecipherRawRows(const std::vector<RawRow>& rows, const CRY::SecureBytes& keys,
                    const std::function<bool(const std::uint8_t* text, std::size_t n)>& accept) {
    const auto count = static_cast<std::ptrdiff_t>(rows.size());
    const std::ptrdiff_t threads = ThreadsFor(count);
    const std::ptrdiff_t chunk = (count + threads - 1) / threads;
    std::vector<int> intact(static_cast<std::size_t>(threads), 0);
    const auto decipherRange = [&](std::ptrdiff_t part) {
        try {
            auto mode = Botan::Cipher_Mode::create_or_throw("Blowfish/CBC/NoPadding", Botan::DECRYPTION);
            CRY::SecureBytes buffer;
            int& done = intact[static_cast<std::size_t>(part)];
            for (std::ptrdiff_t i = part * chunk; i < std::min(count, (part + 1) * chunk); ++i) {
                const RawRow& row = rows[static_cast<std::size_t>(i)];
                const std::optional<std::size_t> n =
                    DecipherRaw(*mode, keys, row.key, row.sealed.data(), row.sealed.size(), buffer);
                if (n && accept(buffer.data() + kPrefixBytes, *n)) {
                    ++done;
                }
            }
        } catch (const std::exception&) {
            intact[static_cast<std::size_t>(part)] = -1;
        }
    };
    std::vector<std::thread> workers;
    for (std::ptrdiff_t t = 1; t < threads; ++t) {
        workers.emplace_back(decipherRange, t);
    }
    decipherRange(0);
    for (std::thread& worker : workers) {
        worker.join();
    }
    int total = 0;
    for (const int part : intact) {
        if (part < 0) {
            return -1;
        }
        total += part;
    }
    return total;
}

} // namespace bench

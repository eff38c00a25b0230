#pragma once

#include "store/cry.h"
#include "store/prompter.h"

#include <QByteArray>
#include <QElapsedTimer>
#include <QString>
#include <QTemporaryDir>

#include <sqlite3.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

class QTextStream;
class Session;
class Store;

// What the workloads that go through the program's own logic share: a throw-away database opened as a person
// would, both sides of a workload timed alternately, the table of medians, and the raw side's threaded reading.
namespace bench {

// Answers the one passphrase dialog of making the file. Any message box means that something went wrong, so
// its text goes to the error stream.
class BenchPrompter final : public Prompter {
public:
    explicit BenchPrompter(QTextStream& err)
        : m_err(err) {}

    Reply message(int number, const QString& text, Buttons buttons, Icon) override;
    PassphraseReply passphrase(const PassphraseRequest&) override;
    QString chooseNewFile(const QString&, const QString&) override { return {}; }
    QString chooseExistingFile(const QString&, const QString&) override { return {}; }
    QString chooseFolder(const QString&, const QString&) override { return {}; }
    void status(const QString&) override {}
    void penaltyWait(int) override {}

private:
    QTextStream& m_err;
    bool m_answered = false;
};

// A new database in a temporary folder of its own, made and opened through the program's own sequence, with what
// the program remembers (last file, last user) kept there too, away from the settings of whoever runs this.
// Closed and removed with the object.
class BenchFile {
public:
    explicit BenchFile(QTextStream& err);
    ~BenchFile();
    BenchFile(const BenchFile&) = delete;
    BenchFile& operator=(const BenchFile&) = delete;

    // Makes the file `name`; false, with the reason on the error stream, when that fails.
    bool open(const QString& name);
    Session& session() { return *m_session; }

private:
    QTextStream& m_err;
    QTemporaryDir m_dir;
    BenchPrompter m_prompter;
    std::unique_ptr<Session> m_session;
};

using Statement = std::unique_ptr<sqlite3_stmt, decltype(&sqlite3_finalize)>;

// `sql` prepared on `db`; null when it does not prepare.
Statement Prepare(sqlite3* db, const char* sql);

// How the engine goes about `sql`, its steps joined; the plan decides most of what selecting the rows costs.
QString QueryPlan(sqlite3* db, const QByteArray& sql);

// One side of a workload: runs the work once, sets how long the work itself took, and says whether its result
// agrees with what was written.
using Side = std::function<bool(double& ms)>;

// One engine transaction around a workload's filling, so that a hundred thousand writes take seconds; a failure
// is told on `err`.
bool Begin(Store& store, QTextStream& err);
bool Commit(Store& store, QTextStream& err);

inline Side Timed(const std::function<bool()>& work) {
    return [work](double& ms) {
        QElapsedTimer t;
        t.start();
        const bool agrees = work();
        ms = static_cast<double>(t.nsecsElapsed()) / 1e6;
        return agrees;
    };
}

// Times `work` alone and checks what it gave once the clock has stopped, so that comparing a long result with
// what was written stays out of the reading.
template <typename Work, typename Check> Side TimedThenChecked(Work work, Check agrees) {
    return [work, agrees](double& ms) {
        QElapsedTimer t;
        t.start();
        const auto given = work();
        ms = static_cast<double>(t.nsecsElapsed()) / 1e6;
        return agrees(given);
    };
}

struct Timing {
    const char* workload;
    int rows;
    double oursMs;
    double limitMs;
};

// Both sides once untimed (unless `warmUp` is false, to time what a first use costs), then `runs` times
// alternately, so that whatever the machine does meanwhile falls on both; the medians. False when any run of
// either side disagrees.
bool Measure(const char* workload, int rows, const Side& ours, const Side& limit, int runs,
             std::vector<Timing>& results, QTextStream& err, bool warmUp = true);

void PrintTable(QTextStream& out, const std::vector<Timing>& results, int decimals);

// A row as the raw side reads it before deciphering.
struct RawRow {
    std::int64_t key = 0;
    int category = 0;
    bool flag = false;
    std::vector<std::uint8_t> sealed;
};

// Deciphers `rows` split on as many threads as the program would use, each with a cipher of its own. The count
// of rows deciphered intact, or -1 when a cipher could not be made.
int DecipherRawRows(const std::vector<RawRow>& rows, const CRY::SecureBytes& keys);

// Steps `select` (key, sealed text) on the calling thread while the other cores decipher the rows read so far,
// as the program's lists do; the calling thread joins in after the last row. `accept` looks at each row's plain
// text behind its key prefix and says whether it counts. The count of rows deciphered intact and accepted, or
// -1 when the statement fails, a cipher could not be made or more than `capacity` rows come.
int ReadAndDecipherRaw(sqlite3_stmt* select, std::size_t capacity, const CRY::SecureBytes& keys,
                       const std::function<bool(const std::uint8_t* text, std::size_t n)>& accept);

} // namespace bench

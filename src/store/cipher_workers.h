#pragma once

#include "store/cry.h"

#include <QVector>
#include <QtGlobal>

#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

// Deciphering many rows at once. A record's key schedule costs far more than reading its row, so the rows are
// split among the machine's cores; each part runs on a thread of its own with a cipher object of its own (the
// record key and work buffer are state of the object) over a copy of the key pool.
namespace cipher_workers {

// Below this many rows a thread costs more to start than it saves.
constexpr qsizetype kRowsPerThread = 64;

// The threads `count` rows get: one a core, but none for fewer than kRowsPerThread rows.
qsizetype ThreadsFor(qsizetype count);

// Runs `work(cry, i)` for every i in 0..count-1, in parts on ThreadsFor(count) threads; returns when all are
// done. `work` may write only to what belongs to its i.
void ForEachRow(const CRY::SecureBytes& keyPool, qsizetype count,
                const std::function<void(CRY& cry, qsizetype i)>& work);

// Jobs handed in by one thread and run by the other cores as they come, each with a cipher of its own. The
// workers start with the first job; finish() has the handing thread run what is left beside them and waits.
class JobQueue {
public:
    using Job = std::function<void(CRY& cry)>;

    explicit JobQueue(const CRY::SecureBytes& keyPool);
    ~JobQueue();
    JobQueue(const JobQueue&) = delete;
    JobQueue& operator=(const JobQueue&) = delete;

    void push(Job job);
    // Runs the oldest job waiting on the calling thread with `cry`, so that a thread that has handed in enough
    // work can lend a hand instead of waiting; false when none was waiting.
    bool runOne(CRY& cry);
    void finish();

private:
    void work();

    const CRY::SecureBytes& m_keyPool;
    std::mutex m_mutex;
    std::condition_variable m_ready;
    std::deque<Job> m_jobs;
    bool m_closed = false;
    std::vector<std::thread> m_workers;
};

// Reads rows with `next` on the calling thread until it returns false, and opens each with `open` on the other
// cores while the reading goes on, kRowsPerThread rows at a time; the calling thread joins in once it has read
// the last. The opened rows come back in reading order. Reading a section's rows costs about as much as
// deciphering a list's titles, so doing both at once is what keeps a long list quick.
template <typename Row, typename Opened>
QVector<Opened> OpenWhileReading(const CRY::SecureBytes& keyPool, const std::function<bool(Row& row)>& next,
                                 const std::function<Opened(CRY& cry, const Row& row)>& open) {
    struct Batch {
        std::vector<Row> rows;
        std::vector<Opened> opened;
    };
    std::vector<std::unique_ptr<Batch>> batches;
    {
        JobQueue queue(keyPool);
        auto batch = std::make_unique<Batch>();
        const auto handOn = [&] {
            Batch* handed = batch.get();
            batches.push_back(std::move(batch));
            batch = std::make_unique<Batch>();
            queue.push([handed, &open](CRY& cry) {
                handed->opened.reserve(handed->rows.size());
                for (const Row& row : handed->rows) {
                    handed->opened.push_back(open(cry, row));
                }
            });
        };
        Row row;
        while (next(row)) {
            batch->rows.push_back(std::move(row));
            if (static_cast<qsizetype>(batch->rows.size()) == kRowsPerThread) {
                handOn();
            }
        }
        if (!batch->rows.empty()) {
            handOn();
        }
        queue.finish();
    }
    QVector<Opened> opened;
    opened.reserve(static_cast<qsizetype>(batches.size()) * kRowsPerThread);
    for (const std::unique_ptr<Batch>& batch : batches) {
        for (Opened& o : batch->opened) {
            opened.append(std::move(o));
        }
    }
    return opened;
}

} // namespace cipher_workers

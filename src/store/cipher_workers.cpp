#include "store/cipher_workers.h"

#include <algorithm>

namespace cipher_workers {

qsizetype ThreadsFor(qsizetype count) {
    return std::clamp<qsizetype>(std::thread::hardware_concurrency(), 1,
                                 std::max<qsizetype>(1, count / kRowsPerThread));
}

void ForEachRow(const CRY::SecureBytes& keyPool, qsizetype count,
                const std::function<void(CRY& cry, qsizetype i)>& work) {
    const auto runRange = [&](qsizetype begin, qsizetype end) {
        SystemRandom random;
        CRY cry(random);
        cry.setKeyPool(keyPool);
        for (qsizetype i = begin; i < end; ++i) {
            work(cry, i);
        }
        cry.wipeKeys();
    };
    const qsizetype threads = ThreadsFor(count);
    const qsizetype chunk = (count + threads - 1) / threads;
    std::vector<std::thread> workers;
    for (qsizetype t = 1; t < threads; ++t) {
        workers.emplace_back(runRange, t * chunk, std::min(count, (t + 1) * chunk));
    }
    runRange(0, std::min(count, chunk));
    for (std::thread& worker : workers) {
        worker.join();
    }
}

JobQueue::JobQueue(const CRY::SecureBytes& keyPool)
    : m_keyPool(keyPool) {}

JobQueue::~JobQueue() {
    finish();
}

void JobQueue::push(Job job) {
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_jobs.push_back(std::move(job));
    }
    if (m_workers.empty()) {
        // The handing thread keeps one core for itself until it finishes.
        const auto others = std::max(1u, std::thread::hardware_concurrency()) - 1;
        for (unsigned i = 0; i < others; ++i) {
            m_workers.emplace_back(&JobQueue::work, this);
        }
    }
    m_ready.notify_one();
}

bool JobQueue::runOne(CRY& cry) {
    Job job;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (m_jobs.empty()) {
            return false;
        }
        job = std::move(m_jobs.front());
        m_jobs.pop_front();
    }
    job(cry);
    return true;
}

void JobQueue::finish() {
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (m_closed) {
            return;
        }
        m_closed = true;
    }
    m_ready.notify_all();
    work();
    for (std::thread& worker : m_workers) {
        worker.join();
    }
    m_workers.clear();
}

void JobQueue::work() {
    SystemRandom random;
    CRY cry(random);
    cry.setKeyPool(m_keyPool);
    for (;;) {
        Job job;
        {
            std::unique_lock<std::mutex> lock(m_mutex);
            m_ready.wait(lock, [this] { return m_closed || !m_jobs.empty(); });
            if (m_jobs.empty()) {
                break;
            }
            job = std::move(m_jobs.front());
            m_jobs.pop_front();
        }
        job(cry);
    }
    cry.wipeKeys();
}

} // namespace cipher_workers

#include "store/check.h"

#include <QFile>

#include <vector>

namespace check {

int RemoveDuplicates(sqlite::Connection& db) {
    std::vector<std::int64_t> sections;
    {
        sqlite::Statement select = db.prepare("SELECT fSec FROM tt GROUP BY fSec HAVING fSec>10");
        while (select.step()) {
            sections.push_back(select.int64(0));
        }
    }
    int deleted = 0;
    for (const std::int64_t section : sections) {
        std::vector<QByteArray> texts;
        {
            sqlite::Statement groups =
                db.prepare("SELECT fT1 FROM tt WHERE fSec=? AND fT1 IS NOT NULL GROUP BY fT1 HAVING count(fPK)>1");
            groups.bind(1, section);
            while (groups.step()) {
                texts.push_back(groups.bytes(0));
            }
        }
        if (texts.empty()) {
            continue;
        }
        std::vector<int> counters(texts.size(), 0);
        std::vector<std::int64_t> doomed;
        {
            sqlite::Statement rows = db.prepare("SELECT fPK, fT1 FROM tt WHERE fSec=? ORDER BY fPK");
            rows.bind(1, section);
            // The section's first row is passed over on purpose, as it always has been.
            bool first = true;
            while (rows.step()) {
                if (first) {
                    first = false;
                    continue;
                }
                if (rows.isNull(1)) {
                    continue;
                }
                const QByteArray text = rows.bytes(1);
                for (std::size_t k = 0; k < texts.size(); ++k) {
                    if (texts[k] == text) {
                        if (++counters[k] > 1) {
                            doomed.push_back(rows.int64(0));
                        }
                        break;
                    }
                }
            }
        }
        sqlite::Statement remove = db.prepare("DELETE FROM tt WHERE fPK=?");
        for (const std::int64_t key : doomed) {
            remove.reset();
            remove.bind(1, key);
            remove.step();
            deleted += remove.error() ? 0 : 1;
        }
    }
    return deleted;
}

int RepairDatabaseFile(const QString& path) {
    db::RepairDatabase(path);
    return db::CheckDatabase(path).number;
}

int CompactAndReplace(db::FileHold& hold, const QString& tmp) {
    QFile::remove(tmp);
    if (const sqlite::Error e = db::CompactDatabase(hold.path(), tmp)) {
        return e.number;
    }
    // The copy takes the file's place in one step, already held: a crash leaves either the old file or the new
    // one, and no other program gets either in between.
    if (const sqlite::Error e = hold.ReplaceWith(tmp)) {
        QFile::remove(tmp);
        return e.number;
    }
    return 0;
}

} // namespace check

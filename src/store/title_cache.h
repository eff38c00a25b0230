#pragma once

#include "store/record_get.h"

#include <QByteArray>
#include <QHash>

#include <cstdint>

// Titles already opened while the file is open, one for each cell of a row. A cell counts as known only while it
// holds the very bytes that were opened; every seal carries a fresh vector, so a cell written again never
// matches its old entry and the cache needs no word of changes. A long list read a second time then costs no key
// schedule.
class TitleCache {
public:
    // The title of column `column` of row `fpk`, if that cell was opened holding `sealed`.
    const Record_Get::OpenedTitle* find(std::int32_t fpk, int column, const QByteArray& sealed) const;
    void insert(std::int32_t fpk, int column, const QByteArray& sealed, const Record_Get::OpenedTitle& title);
    // Forgets every title, as closing the file must.
    void clear();

private:
    struct Entry {
        QByteArray sealed;
        Record_Get::OpenedTitle title;
    };
    QHash<std::int64_t, Entry> m_cells;
};

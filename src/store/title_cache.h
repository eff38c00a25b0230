#pragma once

#include "store/record_get.h"

#include <QByteArray>
#include <QHash>
#include <QVarLengthArray>

#include <cstdint>

// Titles already opened while the file is open, by row and column. A cell counts as known only while it holds the
// very bytes that were opened; every seal carries a fresh vector, so a cell written again never matches its old
// entry and the cache needs no word of changes. A long list read a second time then costs no key schedule.
class TitleCache {
public:
    // The cells of one row that were opened.
    class Row {
    public:
        // The title of `column`, if the cell was opened holding `sealed`.
        const Record_Get::OpenedTitle* find(int column, const QByteArray& sealed) const;

    private:
        friend class TitleCache;
        struct Cell {
            int column = 0;
            QByteArray sealed;
            Record_Get::OpenedTitle title;
        };
        QVarLengthArray<Cell, 2> m_cells;
    };

    // What is known of row `fpk`; null when nothing is.
    const Row* row(std::int32_t fpk) const;
    void insert(std::int32_t fpk, int column, const QByteArray& sealed, const Record_Get::OpenedTitle& title);
    // Forgets every title, as closing the file must.
    void clear();

private:
    QHash<std::int32_t, Row> m_rows;
    qsizetype m_cells = 0;
};

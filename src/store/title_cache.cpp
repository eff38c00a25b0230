#include "store/title_cache.h"

#include "store/cry.h"

namespace {

// Rows deleted since they were opened leave their entries; past this many cells the cache starts over.
constexpr qsizetype kMaxCells = 500000;

} // namespace

const Record_Get::OpenedTitle* TitleCache::Row::find(int column, const QByteArray& sealed) const {
    for (const Cell& cell : m_cells) {
        if (cell.column == column) {
            return cell.sealed == sealed ? &cell.title : nullptr;
        }
    }
    return nullptr;
}

const TitleCache::Row* TitleCache::row(std::int32_t fpk) const {
    const auto found = m_rows.constFind(fpk);
    return found != m_rows.constEnd() ? &found.value() : nullptr;
}

void TitleCache::insert(std::int32_t fpk, int column, const QByteArray& sealed, const Record_Get::OpenedTitle& title) {
    if (m_cells >= kMaxCells) {
        clear();
    }
    Row& row = m_rows[fpk];
    for (Row::Cell& cell : row.m_cells) {
        if (cell.column == column) {
            CRY::WipeText(cell.title.text);
            cell.sealed = sealed;
            cell.title = title;
            return;
        }
    }
    row.m_cells.append({column, sealed, title});
    ++m_cells;
}

void TitleCache::clear() {
    for (Row& row : m_rows) {
        for (Row::Cell& cell : row.m_cells) {
            CRY::WipeText(cell.title.text);
        }
    }
    m_rows.clear();
    m_cells = 0;
}

#include "store/title_cache.h"

#include "store/cry.h"

namespace {

// Rows deleted since they were opened leave their entries; past this many the cache starts over.
constexpr qsizetype kMaxCells = 500000;

std::int64_t CellOf(std::int32_t fpk, int column) {
    return (static_cast<std::int64_t>(fpk) << 8) | (column & 0xFF);
}

} // namespace

const Record_Get::OpenedTitle* TitleCache::find(std::int32_t fpk, int column, const QByteArray& sealed) const {
    const auto found = m_cells.constFind(CellOf(fpk, column));
    return found != m_cells.constEnd() && found->sealed == sealed ? &found->title : nullptr;
}

void TitleCache::insert(std::int32_t fpk, int column, const QByteArray& sealed, const Record_Get::OpenedTitle& title) {
    if (m_cells.size() >= kMaxCells) {
        clear();
    }
    m_cells.insert(CellOf(fpk, column), {sealed, title});
}

void TitleCache::clear() {
    for (Entry& entry : m_cells) {
        CRY::WipeText(entry.title.text);
    }
    m_cells.clear();
}

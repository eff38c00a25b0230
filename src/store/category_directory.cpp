#include "store/category_directory.h"

#include <algorithm>

namespace {

constexpr const char* kTable = "tt";

bool ByKey(const CategoryDirectory::Entry& a, const CategoryDirectory::Entry& b) {
    return a.key < b.key;
}

} // namespace

std::optional<std::vector<std::int64_t>> CategoryDirectory::keys(sqlite::Connection& connection, int section,
                                                                 int category, sqlite::Error* error) {
    const sqlite::Error e = catchUp(connection);
    if (error != nullptr) {
        *error = e;
    }
    const auto it = m_sections.find(section);
    if (e || it == m_sections.end()) {
        return std::nullopt;
    }
    std::vector<std::int64_t> found;
    for (const Entry& entry : it->second) {
        if (entry.category == category) {
            found.push_back(entry.key);
        }
    }
    return found;
}

void CategoryDirectory::adopt(int section, std::vector<Entry> rows) {
    m_sections[section] = std::move(rows);
}

sqlite::Error CategoryDirectory::catchUp(sqlite::Connection& connection) {
    const std::optional<QSet<std::int64_t>> written = connection.takeWrittenRows(kTable);
    if (!written) {
        m_sections.clear();
        return {};
    }
    if (written->isEmpty() || m_sections.empty()) {
        return {};
    }
    std::vector<std::int64_t> changed(written->begin(), written->end());
    std::sort(changed.begin(), changed.end());
    std::map<int, std::vector<Entry>> filed;
    sqlite::Statement select = connection.cached("SELECT fSec, fG1 FROM tt WHERE fPK=?");
    for (const std::int64_t key : changed) {
        select.reset();
        select.bind(1, key);
        if (select.step()) {
            filed[static_cast<int>(select.int64(0))].push_back({key, static_cast<int>(select.int64(1))});
        } else if (sqlite::Error e = select.error()) {
            m_sections.clear();
            return e;
        }
    }
    for (auto& [section, rows] : m_sections) {
        std::erase_if(
            rows, [&](const Entry& entry) { return std::binary_search(changed.begin(), changed.end(), entry.key); });
        const auto now = filed.find(section);
        if (now != filed.end()) {
            const auto middle = static_cast<std::ptrdiff_t>(rows.size());
            rows.insert(rows.end(), now->second.begin(), now->second.end());
            std::inplace_merge(rows.begin(), rows.begin() + middle, rows.end(), ByKey);
        }
    }
    return {};
}

#include "sections/find/find_sections.h"

#include "budget/transaction.h"
#include "calendar/appointment.h"
#include "sections/contacts/contact.h"
#include "sections/diary/diary.h"
#include "sections/memos/memo.h"
#include "sections/tasks/task.h"
#include "sections/vault/vault.h"

#include <algorithm>
#include <array>

namespace find {

std::span<const SearchableSection> SearchableSections() {
    // In the order of the find form's boxes.
    static const std::array<SearchableSection, 7> all{
        contacts::Searchable(), CALENDAR::Searchable(), diary::Searchable(), memos::Searchable(),
        tasks::Searchable(),    vault::Searchable(),    budget::Searchable()};
    return all;
}

const SearchableSection* SearchableSectionOf(int section) {
    const std::span<const SearchableSection> all = SearchableSections();
    const auto it =
        std::find_if(all.begin(), all.end(), [section](const SearchableSection& s) { return s.section == section; });
    return it != all.end() ? &*it : nullptr;
}

} // namespace find

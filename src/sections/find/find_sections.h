#pragma once

#include "sections/find/record_search.h"

#include <span>

// The sections Find searches, each with its own description of a hit. A section that keeps records adds itself
// here and Find needs no change.
namespace find {

std::span<const SearchableSection> SearchableSections();
// The entry of `section`; null when Find does not search it.
const SearchableSection* SearchableSectionOf(int section);

} // namespace find

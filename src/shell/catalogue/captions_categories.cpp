#include "shell/catalogue/caption_tables.h"

namespace captions {
namespace {

using P = CaptionProperty;

constexpr CaptionEntry kEditCategoriesEntries[] = {
    {nullptr, -1, P::Caption, "Categories"}, {"cmdNew", -1, P::Caption, "New"}, {"cmdRename", -1, P::Caption, "Rename"},
    {"cmdDelete", -1, P::Caption, "Delete"}, {"cmdOK", -1, P::Caption, "OK"},   {"cmdEsc", -1, P::Caption, "Esc"},
};

} // namespace

const std::span<const CaptionEntry> kEditCategories = kEditCategoriesEntries;

} // namespace captions

#include "shell/catalogue/caption_tables.h"

namespace captions {
namespace {

using P = CaptionProperty;

constexpr CaptionEntry kNotepadEntries[] = {
    {nullptr, -1, P::Caption, "Memo"},
    {"cmdAdd", -1, P::Caption, "New"},
    {"cmdEdit", -1, P::Caption, "Edit"},
    {"cmdDelete", -1, P::Caption, "Delete"},
    {"ctlPrivate", -1, P::Caption, "Private"},
    {"cmdAdd", -1, P::ToolTipText, "New memo (Ctrl+N)"},
    {"cmdEdit", -1, P::ToolTipText, "Edit the memo (Ctrl+E)"},
    {"cmdDelete", -1, P::ToolTipText, "Delete the memo (Ctrl+D)"},
    {"mnuMemoDeleteCategory", -1, P::Caption, "Delete All Memos in this &Category"},
    {"mnuMemoDeleteAll", -1, P::Caption, "Delete &All Memos"},
};

constexpr CaptionEntry kEditNotepadEntries[] = {
    {nullptr, -1, P::Caption, "Memo"},
    {"lblSubject", -1, P::Caption, "Subject:"},
    {"lblCategory", -1, P::Caption, "Category:"},
    {"ctlPrivate", -1, P::Caption, "Private"},
    {"cmdOK", -1, P::Caption, "OK"},
    {"cmdEsc", -1, P::Caption, "Esc"},
};

constexpr CaptionEntry kDiaryEntries[] = {
    {nullptr, -1, P::Caption, "Diary"},          {"lblTitel", -1, P::Caption, "Diary"},
    {"diaPeriod", 0, P::Caption, "1 Day"},       {"diaPeriod", 1, P::Caption, "7 Days"},
    {"diaMoveDown", -1, P::ToolTipText, "Back"}, {"diaMoveUp", -1, P::ToolTipText, "Forward"},
};

constexpr CaptionEntry kEditTextEntries[] = {
    {"cmdOK", -1, P::Caption, "OK"},
    {"cmdEsc", -1, P::Caption, "Esc"},
};

} // namespace

const std::span<const CaptionEntry> kNotepad = kNotepadEntries;
const std::span<const CaptionEntry> kEditNotepad = kEditNotepadEntries;
const std::span<const CaptionEntry> kDiary = kDiaryEntries;
const std::span<const CaptionEntry> kEditText = kEditTextEntries;

} // namespace captions

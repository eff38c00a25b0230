#include "shell/catalogue/caption_tables.h"

namespace captions {
namespace {

using P = CaptionProperty;

// The column heads of LV1 are set by the form, since a list view's columns are no control of their own.
constexpr CaptionEntry kEditBudgetNamesEntries[] = {
    {nullptr, -1, P::Caption, "Budgets"},
    {"chkShowPrivate", -1, P::Caption, "Show Private"},
    {"chkRequestPIN", -1, P::Caption, "Request PIN"},
    {"cmdOK_Edit", -1, P::Caption, "OK"},
    {"cmdEsc_Edit", -1, P::Caption, "Esc"},
    {"cmdNew", -1, P::Caption, "New"},
    {"cmdEdit", -1, P::Caption, "Edit"},
    {"cmdDelete", -1, P::Caption, "Delete"},
    {"cmdOK", -1, P::Caption, "OK"},
    {"cmdEsc", -1, P::Caption, "Esc"},
};

constexpr CaptionEntry kEditBudgetPaymodeEntries[] = {
    {nullptr, -1, P::Caption, "Payment"},    {"cmdNew", -1, P::Caption, "New"},
    {"cmdRename", -1, P::Caption, "Rename"}, {"cmdDelete", -1, P::Caption, "Delete"},
    {"cmdMove", 0, P::Caption, "Up"},        {"cmdMove", 0, P::ToolTipText, "Move up"},
    {"cmdMove", 1, P::Caption, "Down"},      {"cmdMove", 1, P::ToolTipText, "Move down"},
    {"cmdOK", -1, P::Caption, "OK"},         {"cmdEsc", -1, P::Caption, "Esc"},
};

} // namespace

const std::span<const CaptionEntry> kEditBudgetNames = kEditBudgetNamesEntries;
const std::span<const CaptionEntry> kEditBudgetPaymode = kEditBudgetPaymodeEntries;

} // namespace captions

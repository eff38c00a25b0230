#include "shell/catalogue/caption_tables.h"

namespace captions {
namespace {

using P = CaptionProperty;

constexpr CaptionEntry kBudgetEntries[] = {
    {nullptr, -1, P::Caption, "Budget"},
    {"lblBudget", -1, P::Caption, "Budget:"},
    {"cmdEditBudget", -1, P::ToolTipText, "Edit budgets"},
    {"lblCategory", -1, P::Caption, "Category:"},
    {"cmdEditCat", -1, P::ToolTipText, "Add or remove category"},
    {"showCDBW", 0, P::Caption, "Credit"},
    {"showCDBW", 1, P::Caption, "Debit"},
    {"showCDBW", 2, P::Caption, "Public"},
    {"showCDBW", 3, P::Caption, "Private"},
    {"tbsOptions", 0, P::Caption, "Transactions"},
    {"tbsOptions", 1, P::Caption, "Balance"},
    {"tbsOptions", 2, P::Caption, "Charts"},
    {"cmdDateMove", 0, P::ToolTipText, "Previous month"},
    {"cmdDateMove", 1, P::ToolTipText, "Next month"},
    {"cmdAdd", 0, P::Caption, "Add CREDIT"},
    {"cmdAdd", 1, P::Caption, "Add DEBIT"},
    {"cmdEdit", -1, P::Caption, "Edit"},
    {"cmdDelete", -1, P::Caption, "Delete"},
    {"cmdExport", -1, P::Caption, "Export"},
    {"cmdExport", -1, P::ToolTipText,
     "Export data to file for further analysis with Excel or similar worksheet and charting software."},
    {"cmdDown", 0, P::ToolTipText, "Previous year"},
    {"cmdUp", 0, P::ToolTipText, "Next year"},
    {"cmdDown", 1, P::ToolTipText, "Previous week"},
    {"cmdUp", 1, P::ToolTipText, "Next week"},
    {"cmdDown", 2, P::ToolTipText, "Previous day"},
    {"cmdUp", 2, P::ToolTipText, "Next day"},
    {"lblFromTo", -1, P::Caption, "-"},
    {"lblPayment", -1, P::Caption, "Payment:"},
    {"gridHeader", 0, P::Caption, "CREDIT"},
    {"gridHeader", 1, P::Caption, "DEBIT"},
    {"gridHeader", 2, P::Caption, "BALANCE"},
    {"lblChartKind", -1, P::Caption, "Debits by category:"},
    {"mnuListitemRC", 0, P::Caption, "Edit"},
    {"mnuListitemRC", 2, P::Caption, "Add"},
    {"mnuListitemRC", 3, P::Caption, "Add Credit"},
    {"mnuListitemRC", 4, P::Caption, "Add Debit"},
    {"mnuListitemRC", 6, P::Caption, "Delete"},
    {"mnuBudgetAdd", -1, P::Caption, "&Add Transaction..."},
    {"mnuBudgetBudgets", -1, P::Caption, "&Budgets..."},
    {"mnuBudgetPayment", -1, P::Caption, "&Payment Modes..."},
    {"mnuBudgetImport", -1, P::Caption, "&Import Bank Statement..."},
    {"mnuBudgetRules", -1, P::Caption, "Category &Rules..."},
};

constexpr CaptionEntry kEditBudgetEntries[] = {
    {nullptr, -1, P::Caption, "Transaction"},
    {"ctlCD", 0, P::Caption, "CREDIT"},
    {"ctlCD", 1, P::Caption, "DEBIT"},
    {"lblAmount", -1, P::Caption, "Amount"},
    {"lblDate", -1, P::Caption, "Date"},
    {"lblSubject", -1, P::Caption, "Item"},
    {"lblPartner", -1, P::Caption, "Biz-Partner"},
    {"lblCategory", -1, P::Caption, "Category"},
    {"lblPayment", -1, P::Caption, "Payment"},
    {"ctlBW", -1, P::Caption, "Private"},
    {"lblNotes", -1, P::Caption, "Notes:"},
    {"cmdEditCat", -1, P::ToolTipText, "Add or remove category"},
    {"cmdEditPayment", -1, P::ToolTipText, "Edit payment modes"},
    {"cmdOK", -1, P::Caption, "OK"},
    {"cmdEsc", -1, P::Caption, "Esc"},
};

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

constexpr CaptionEntry kBudgetImportEntries[] = {
    {nullptr, -1, P::Caption, "Import Bank Statement"},
    {"fraCsv", -1, P::Caption, "How the file is written"},
    {"lblSeparator", -1, P::Caption, "Separator:"},
    {"lblEncoding", -1, P::Caption, "Encoding:"},
    {"lblDecimal", -1, P::Caption, "Amounts:"},
    {"lblDateFormat", -1, P::Caption, "Dates:"},
    {"lblSkip", -1, P::Caption, "Lines before the table:"},
    {"chkHeader", -1, P::Caption, "First row names the columns"},
    {"lblColumn", 0, P::Caption, "Date:"},
    {"lblColumn", 1, P::Caption, "Item:"},
    {"lblColumn", 2, P::Caption, "Partner:"},
    {"lblColumn", 3, P::Caption, "Amount:"},
    {"lblColumn", 4, P::Caption, "Credit:"},
    {"lblColumn", 5, P::Caption, "Debit:"},
    {"lblColumn", 6, P::Caption, "Note:"},
    {"lblPayment", -1, P::Caption, "Payment:"},
    {"cmdRules", -1, P::Caption, "Rules..."},
    {"cmdRules", -1, P::ToolTipText, "Which category a booking goes to, by a text in its item or partner"},
    {"cmdImport", -1, P::Caption, "Import"},
    {"cmdEsc", -1, P::Caption, "Esc"},
};

constexpr CaptionEntry kBudgetRulesEntries[] = {
    {nullptr, -1, P::Caption, "Category Rules"}, {"cmdAddRule", -1, P::Caption, "New"},
    {"cmdDeleteRule", -1, P::Caption, "Delete"}, {"cmdOK", -1, P::Caption, "OK"},
    {"cmdEsc", -1, P::Caption, "Esc"},
};

} // namespace

const std::span<const CaptionEntry> kBudget = kBudgetEntries;
const std::span<const CaptionEntry> kBudgetImport = kBudgetImportEntries;
const std::span<const CaptionEntry> kBudgetRules = kBudgetRulesEntries;
const std::span<const CaptionEntry> kEditBudget = kEditBudgetEntries;
const std::span<const CaptionEntry> kEditBudgetNames = kEditBudgetNamesEntries;
const std::span<const CaptionEntry> kEditBudgetPaymode = kEditBudgetPaymodeEntries;

} // namespace captions

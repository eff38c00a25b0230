#pragma once

#include "shell/catalogue/captions.h"

// The caption tables of the forms, one array a form.
namespace captions {
extern const std::span<const CaptionEntry> kMDI;
extern const std::span<const CaptionEntry> kOptions;
extern const std::span<const CaptionEntry> kBackup;
extern const std::span<const CaptionEntry> kRestore;
extern const std::span<const CaptionEntry> kPassphrase;
extern const std::span<const CaptionEntry> kMenuDB;
extern const std::span<const CaptionEntry> kTip;
extern const std::span<const CaptionEntry> kSplash;
extern const std::span<const CaptionEntry> kBudget;
extern const std::span<const CaptionEntry> kBudgetImport;
extern const std::span<const CaptionEntry> kBudgetRules;
extern const std::span<const CaptionEntry> kEditBudget;
extern const std::span<const CaptionEntry> kEditCategories;
extern const std::span<const CaptionEntry> kEditBudgetNames;
extern const std::span<const CaptionEntry> kEditBudgetPaymode;
extern const std::span<const CaptionEntry> kClassified;
extern const std::span<const CaptionEntry> kEditConfidential;
extern const std::span<const CaptionEntry> kWeakPasswords;
extern const std::span<const CaptionEntry> kTodo;
extern const std::span<const CaptionEntry> kEditTodo;
extern const std::span<const CaptionEntry> kAddress;
extern const std::span<const CaptionEntry> kNotepad;
extern const std::span<const CaptionEntry> kEditNotepad;
extern const std::span<const CaptionEntry> kDiary;
extern const std::span<const CaptionEntry> kEditText;
extern const std::span<const CaptionEntry> kFind;
} // namespace captions

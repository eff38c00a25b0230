#include "shell/catalogue/captions.h"

#include "shell/catalogue/caption_tables.h"

#include <array>

namespace {

struct FormTable {
    const char* form;
    std::span<const CaptionEntry> entries;
};

// One entry a form; each form's table lives beside the others in caption_tables.
const std::array kForms = {
    FormTable{"frmMDI", captions::kMDI},
    FormTable{"frmOptions", captions::kOptions},
    FormTable{"frmBackup", captions::kBackup},
    FormTable{"frmRestore", captions::kRestore},
    FormTable{"frmPW", captions::kPassphrase},
    FormTable{"frmMenuDB", captions::kMenuDB},
    FormTable{"frmTip", captions::kTip},
    FormTable{"frmSplash", captions::kSplash},
    FormTable{"frmBudget", captions::kBudget},
    FormTable{"frmBudgetImport", captions::kBudgetImport},
    FormTable{"frmBudgetRules", captions::kBudgetRules},
    FormTable{"frmEditBudget", captions::kEditBudget},
    FormTable{"frmEditCategories", captions::kEditCategories},
    FormTable{"frmEditBudgetNames", captions::kEditBudgetNames},
    FormTable{"frmEditBudgetPaymode", captions::kEditBudgetPaymode},
    FormTable{"frmClassified", captions::kClassified},
    FormTable{"frmEditConfidential", captions::kEditConfidential},
    FormTable{"frmWeakPasswords", captions::kWeakPasswords},
    FormTable{"frmTodo", captions::kTodo},
    FormTable{"frmEditTodo", captions::kEditTodo},
    FormTable{"frmAddress", captions::kAddress},
    FormTable{"frmNotepad", captions::kNotepad},
    FormTable{"frmEditNotepad", captions::kEditNotepad},
    FormTable{"frmDiary", captions::kDiary},
    FormTable{"frmEditText", captions::kEditText},
    FormTable{"frmFind", captions::kFind},
};

} // namespace

std::span<const CaptionEntry> CaptionsFor(const QString& form) {
    for (const FormTable& table : kForms) {
        if (form == QLatin1String(table.form)) {
            return table.entries;
        }
    }
    return {};
}

QString ArrayElementName(const char* control, int index) {
    return QStringLiteral("%1_%2").arg(QLatin1String(control)).arg(index);
}

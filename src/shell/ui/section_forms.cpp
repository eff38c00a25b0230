#include "shell/ui/section_forms.h"

#include "budget/ui/frm_budget.h"
#include "shell/section_list.h"

#include <QLabel>
#include <QVBoxLayout>

QString SectionFormName(int section) {
    switch (section) {
    case 11:
        return QStringLiteral("frmAddress");
    case 12:
        return QStringLiteral("frmCalendar");
    case 13:
        return QStringLiteral("frmDiary");
    case 14:
        return QStringLiteral("frmNotepad");
    case 15:
        return QStringLiteral("frmTodo");
    case 16:
        return QStringLiteral("frmClassified");
    case 17:
        return QStringLiteral("frmBudget");
    default:
        return {};
    }
}

SectionFormFactory DefaultSectionForms() {
    return [](int section, Session& session, QWidget* parent) -> QWidget* {
        if (section == 17) {
            return new frmBudget(session, parent);
        }
        auto* form = new QWidget(parent);
        form->setObjectName(SectionFormName(section));
        form->setWindowTitle(SectionList::Name(section));
        auto* layout = new QVBoxLayout(form);
        auto* title = new QLabel(SectionList::Name(section), form);
        title->setObjectName(QStringLiteral("lblSection"));
        title->setAlignment(Qt::AlignCenter);
        QFont font = title->font();
        font.setPointSizeF(font.pointSizeF() * 2);
        font.setBold(true);
        title->setFont(font);
        layout->addWidget(title);
        return form;
    };
}

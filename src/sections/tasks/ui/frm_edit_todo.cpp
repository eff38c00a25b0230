#include "sections/tasks/ui/frm_edit_todo.h"

#include "base/messages.h"
#include "sections/record_store.h"
#include "sections/ui/category_filter.h"
#include "shell/catalogue/captions.h"
#include "shell/ui/apply_captions.h"
#include "shell/ui/named_control.h"
#include "shell/ui/optional_date_edit.h"
#include "store/store.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDateEdit>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QRadioButton>
#include <QSignalBlocker>
#include <QToolButton>

#include <algorithm>

frmEditTodo::frmEditTodo(Store& store, const tasks::Task& task, QWidget* parent)
    : EditorDialog(store.prompter, parent)
    , m_store(store)
    , m_task(task) {
    setObjectName(QStringLiteral("frmEditTodo"));
    ctlTask = Named<QLineEdit>(this, QStringLiteral("ctlTask"));
    ctlNote = Named<QPlainTextEdit>(this, QStringLiteral("ctlNote"));
    ctlPrivate = Named<QCheckBox>(this, QStringLiteral("ctlPrivate"));
    m_category = new CategoryPicker(store, tasks::kTaskSection, QStringLiteral("cboCategory"), this);
    cboCategory = m_category->combo;
    cmdEditCat = m_category->editButton;
    ctlDateDue = Named<OptionalDateEdit>(this, QStringLiteral("ctlDateDue"));
    ctlDateDue->edit->setMaximumDate(tasks::LatestDueDate());
    ctlDateCompleted = Named<OptionalDateEdit>(this, QStringLiteral("ctlDateCompleted"));
    // Only days whose day number the row can keep, so that no date typed is dropped on the way to the file.
    ctlDateCompleted->edit->setDateRange(records::DateOfDayNumber(2, tasks::kDoneDayBase),
                                         records::DateOfDayNumber(32767, tasks::kDoneDayBase));
    auto* priorities = new QHBoxLayout;
    for (int i = 0; i < 3; ++i) {
        ctlPri[static_cast<std::size_t>(i)] = Named<QRadioButton>(this, ArrayElementName("ctlPri", i));
        priorities->addWidget(ctlPri[static_cast<std::size_t>(i)]);
    }
    priorities->addStretch();
    priorities->addWidget(ctlPrivate);
    auto* category = new QHBoxLayout;
    category->addWidget(cboCategory, 1);
    category->addWidget(cmdEditCat);
    auto* form = new QFormLayout;
    const auto label = [this](const char* name) { return Named<QLabel>(this, QLatin1String(name)); };
    form->addRow(label("lblTask"), ctlTask);
    form->addRow(label("lblPriority"), priorities);
    form->addRow(label("lblCategory"), category);
    form->addRow(label("lblDateDue"), ctlDateDue);
    form->addRow(label("lblDateCompleted"), ctlDateCompleted);
    body()->addLayout(form);
    body()->addWidget(label("lblNote"));
    body()->addWidget(ctlNote, 1);
    ApplyCaptions(this);

    m_category->fill(task.category);
    ctlTask->setText(task.subject);
    ctlNote->setPlainText(task.memo);
    ctlPrivate->setChecked(task.isPrivate);
    ctlPri[static_cast<std::size_t>(std::clamp(task.priority, 0, 2))]->setChecked(true);
    ctlDateDue->setDate(task.due);
    ctlDateCompleted->setDate(task.completed ? task.done : QDate());
    connect(ctlDateDue, &OptionalDateEdit::dateChanged, this, &frmEditTodo::ctlDateDue_Change);
    connect(ctlDateCompleted, &OptionalDateEdit::dateChanged, this, &frmEditTodo::ctlDateCompleted_Change);
    markLoaded();
    resize(520, 420);
    ctlTask->setFocus();
}

int frmEditTodo::priority() const {
    for (int i = 0; i < 3; ++i) {
        if (ctlPri[static_cast<std::size_t>(i)]->isChecked()) {
            return i;
        }
    }
    return tasks::Normal;
}

void frmEditTodo::ctlDateDue_Change(const QDate& date, const QDate& before) {
    // A date ticked on from none shows whatever the control held last; it starts at today.
    const QDate wanted = date.isValid() && !before.isValid() ? QDate::currentDate() : date;
    const tasks::DueDateCheck check =
        tasks::CheckDueDate(ctlDateCompleted->date().isValid(), wanted, QDate::currentDate());
    if (check.message != 0 || !check.problem.isEmpty()) {
        m_prompter.message(check.message, check.message != 0 ? MsgText(check.message) : check.problem,
                           Prompter::Buttons::Ok,
                           check.refused ? Prompter::Icon::Information : Prompter::Icon::Warning);
    }
    ctlDateDue->setDate(check.refused ? before : check.date);
    if (check.refused) {
        ctlDateCompleted->setFocus();
    }
}

void frmEditTodo::ctlDateCompleted_Change(const QDate& date, const QDate& before) {
    if (date.isValid() && !before.isValid()) {
        ctlDateCompleted->setDate(QDate::currentDate());
    }
}

QVariantList frmEditTodo::values() const {
    return {ctlTask->text(),    ctlNote->toPlainText(),  priority(), ctlPrivate->isChecked(), m_category->selected(),
            ctlDateDue->date(), ctlDateCompleted->date()};
}

bool frmEditTodo::accepted() {
    if (ctlTask->text().isEmpty()) {
        m_prompter.message(297, MsgText(297), Prompter::Buttons::Ok, Prompter::Icon::Warning);
        ctlTask->setFocus();
        return false;
    }
    tasks::Task typed = m_task;
    typed.owner = m_store.user.level;
    typed.subject = ctlTask->text();
    typed.memo = ctlNote->toPlainText();
    typed.priority = priority();
    typed.isPrivate = ctlPrivate->isChecked();
    typed.category = m_category->selected();
    typed.due = ctlDateDue->date();
    typed.done = ctlDateCompleted->date();
    typed.completed = typed.done.isValid();
    if (!agreesToCut(QStringLiteral("task"), typed.subject) || !agreesToCut(QStringLiteral("note"), typed.memo)) {
        return false;
    }
    if (const Result result = tasks::StoreTask(m_store, typed); !result.ok()) {
        reportFailure(result);
        return false;
    }
    m_task = typed;
    return true;
}

void frmEditTodo::reject() {
    if (changed() && m_prompter.message(26, MsgText(26), Prompter::Buttons::YesNo, Prompter::Icon::Question) ==
                         Prompter::Reply::Yes) {
        cmdOK_Click();
        return;
    }
    EditorDialog::reject();
}

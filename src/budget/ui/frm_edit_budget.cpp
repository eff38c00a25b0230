#include "budget/ui/frm_edit_budget.h"

#include "base/messages.h"
#include "budget/amounts.h"
#include "budget/budget_lists.h"
#include "budget/ui/frm_edit_budget_paymode.h"
#include "sections/categories/categories.h"
#include "sections/categories/ui/frm_edit_categories.h"
#include "shell/dates.h"
#include "shell/ui/apply_captions.h"
#include "shell/ui/list_controls.h"
#include "shell/ui/modal.h"
#include "shell/ui/named_control.h"
#include "store/store.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDateEdit>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTimer>
#include <QToolButton>
#include <QToolTip>

namespace {

QWidget* WithButton(QWidget* field, QToolButton* button) {
    auto* row = new QWidget;
    auto* layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(field, 1);
    layout->addWidget(button);
    return row;
}

} // namespace

frmEditBudget::frmEditBudget(Store& store, int budget, const ListEntries& payments, QWidget* parent)
    : EditorDialog(store.prompter, parent)
    , m_store(store)
    , m_budget(budget) {
    setObjectName(QStringLiteral("frmEditBudget"));

    cdFrame = Named<QFrame>(this, QStringLiteral("cdFrame"));
    auto* choice = new QHBoxLayout(cdFrame);
    for (int i = 0; i < 2; ++i) {
        ctlCD[i] = Named<QPushButton>(cdFrame, QStringLiteral("ctlCD_%1").arg(i));
        ctlCD[i]->setCheckable(true);
        ctlCD[i]->setAutoExclusive(true);
        ctlCD[i]->setMinimumHeight(64);
        choice->addWidget(ctlCD[i]);
        connect(ctlCD[i], &QPushButton::clicked, this, [this, i] { ctlCD_Click(i); });
    }

    EditBudgetFrame = Named<QFrame>(this, QStringLiteral("EditBudgetFrame"));
    ctlAmount = Named<QLineEdit>(EditBudgetFrame, QStringLiteral("ctlAmount"));
    ctlAmount->setAlignment(Qt::AlignRight);
    ctlAmount->installEventFilter(this);
    ctlSubject = Named<QLineEdit>(EditBudgetFrame, QStringLiteral("ctlSubject"));
    ctlPartner = Named<QLineEdit>(EditBudgetFrame, QStringLiteral("ctlPartner"));
    ctlNote = Named<QPlainTextEdit>(EditBudgetFrame, QStringLiteral("ctlNote"));
    ctlNote->setTabChangesFocus(true);
    ctlXDate = Named<QDateEdit>(EditBudgetFrame, QStringLiteral("ctlXDate"));
    ctlXDate->setCalendarPopup(true);
    ctlXDate->setDisplayFormat(dates::ShortDateFormat());
    ctlBW = Named<QCheckBox>(EditBudgetFrame, QStringLiteral("ctlBW"));
    cboCategory = Named<QComboBox>(EditBudgetFrame, QStringLiteral("cboCategory"));
    ctlPayment = Named<QComboBox>(EditBudgetFrame, QStringLiteral("ctlPayment"));
    cmdEditCat = Named<QToolButton>(EditBudgetFrame, QStringLiteral("cmdEditCat"));
    cmdEditPayment = Named<QToolButton>(EditBudgetFrame, QStringLiteral("cmdEditPayment"));
    for (QToolButton* button : {cmdEditCat, cmdEditPayment}) {
        button->setText(QStringLiteral("..."));
    }
    for (QLineEdit* field : {ctlAmount, ctlSubject, ctlPartner}) {
        connect(field, &QLineEdit::textEdited, this, [this] { m_dirty = true; });
    }
    connect(ctlNote, &QPlainTextEdit::textChanged, this, [this] { m_dirty = true; });
    connect(cmdEditCat, &QToolButton::clicked, this, &frmEditBudget::cmdEditCat_Click);
    connect(cmdEditPayment, &QToolButton::clicked, this, &frmEditBudget::cmdEditPayment_Click);

    auto* form = new QFormLayout(EditBudgetFrame);
    const auto label = [this](const char* name) {
        auto* l = new QLabel(this);
        l->setObjectName(QLatin1String(name));
        return l;
    };
    form->addRow(label("lblAmount"), ctlAmount);
    form->addRow(label("lblDate"), ctlXDate);
    form->addRow(label("lblSubject"), ctlSubject);
    form->addRow(label("lblPartner"), ctlPartner);
    form->addRow(label("lblCategory"), WithButton(cboCategory, cmdEditCat));
    form->addRow(label("lblPayment"), WithButton(ctlPayment, cmdEditPayment));
    form->addRow(QString(), ctlBW);
    form->addRow(label("lblNotes"), ctlNote);

    body()->addWidget(cdFrame);
    body()->addWidget(EditBudgetFrame, 1);
    ApplyCaptions(this);
    list_controls::AddEntries(ctlPayment, payments.mid(1));
    resize(460, 420);
}

void frmEditBudget::fillCategories(int select) {
    cboCategory->clear();
    ListEntries entries;
    list_controls::SetTag(cboCategory, categories::FillCategoryEntries(m_store, entries, categories::kBudgetSection,
                                                                       {.addUnfiled = true}, m_budget));
    list_controls::AddEntries(cboCategory, entries);
    if (!list_controls::SelectByItemData(cboCategory, select)) {
        list_controls::SelectByItemData(cboCategory, categories::kUnfiled);
    }
}

void frmEditBudget::fillPayments(int select) {
    const std::optional<budget::PayModes> modes = budget::LoadPayModes(m_store);
    ctlPayment->clear();
    list_controls::AddEntries(ctlPayment, budget::PayModeEntries(modes.value_or(budget::PayModes{}), true).mid(1));
    if (!list_controls::SelectByItemData(ctlPayment, select)) {
        ctlPayment->setCurrentIndex(0);
    }
}

void frmEditBudget::TransactionToEditor(const budget::Transaction& t, int kind) {
    m_transaction = t;
    fillCategories(t.category);
    if (!list_controls::SelectByItemData(ctlPayment, t.payMode)) {
        ctlPayment->setCurrentIndex(0);
    }
    // The stored amount stays as it is, all four decimals of it, unless the person types another.
    m_loadedAmount = t.amount;
    ctlAmount->setText(budget::EditableAmount(t.amount));
    m_loadedAmountText = ctlAmount->text();
    ctlSubject->setText(t.description);
    ctlPartner->setText(t.partner);
    ctlNote->setPlainText(t.note);
    ctlXDate->setDate(t.datePaid.isValid() ? t.datePaid : QDate::currentDate());
    m_dateMissing = !t.datePaid.isValid();
    ctlBW->setChecked(t.dcwb / 2 != 0);

    const int cd = kind == 0 ? -1 : (kind > 0 ? kind - 1 : t.dcwb & 1);
    for (QPushButton* button : ctlCD) {
        button->setAutoExclusive(false);
        button->setChecked(false);
        button->setAutoExclusive(true);
    }
    if (cd >= 0) {
        ctlCD[cd]->setChecked(true);
    }
    m_cdTag = t.dcwb & 1;
    showChoice(cd >= 0);
    m_dirty = false;
    markLoaded();
}

bool frmEditBudget::EditorToTransaction(budget::Transaction& t) const {
    if (!ctlCD[0]->isChecked() && !ctlCD[1]->isChecked()) {
        return false;
    }
    t.description = ctlSubject->text();
    t.partner = ctlPartner->text();
    t.note = ctlNote->toPlainText();
    t.noteFlag = !t.note.isEmpty();
    t.datePaid = ctlXDate->date();
    t.dcwb = (ctlCD[1]->isChecked() ? budget::kDebitBit : 0) + (ctlBW->isChecked() ? budget::kPrivateBit : 0);
    t.isPrivate = ctlBW->isChecked();
    t.payMode = list_controls::GetSelectedId(ctlPayment);
    t.category = list_controls::GetSelectedId(cboCategory);
    t.amount = ctlAmount->text() == m_loadedAmountText ? m_loadedAmount
                                                       : budget::ParseAmount(ctlAmount->text()).value_or(Currency{});
    t.spareFlag = false;
    t.spareValue = 0;
    t.exchangeRate = 1.0f;
    return true;
}

bool frmEditBudget::changed() const {
    // A transaction without a date takes the one shown, so there is something to store.
    return m_dateMissing || EditorDialog::changed();
}

QVariantList frmEditBudget::values() const {
    // The texts count as changed once typed into, even when typed back to what they were.
    return {m_dirty,
            budget::OleDay(ctlXDate->date()),
            ctlBW->isChecked(),
            ctlCD[m_cdTag]->isChecked(),
            list_controls::GetSelectedId(cboCategory),
            list_controls::GetSelectedId(ctlPayment)};
}

void frmEditBudget::showChoice(bool chosen) {
    // Until credit or debit is chosen there is nothing to fill in; once chosen, the choice moves up small.
    EditBudgetFrame->setVisible(chosen);
    for (QPushButton* button : ctlCD) {
        button->setMinimumHeight(chosen ? 0 : 64);
    }
    cmdOK->setEnabled(chosen);
    if (chosen) {
        ctlAmount->setFocus();
        ctlAmount->selectAll();
    }
}

void frmEditBudget::ctlCD_Click(int) {
    showChoice(true);
}

bool frmEditBudget::accepted() {
    // OK on an unchanged transaction stores nothing, as Esc would.
    if (!changed()) {
        QDialog::reject();
        return false;
    }
    const budget::AmountReading reading = budget::ReadAmount(ctlAmount->text());
    const std::optional<Currency> amount = reading.value;
    if (!amount || amount->units < 0) {
        m_store.prompter.message(21, reading.problem.isEmpty() ? MsgText(21) : MsgText(21) + u'\n' + reading.problem,
                                 Prompter::Buttons::Ok, Prompter::Icon::Warning);
        ctlAmount->setFocus();
        return false;
    }
    if (amount->units == 0 && m_store.prompter.message(22, MsgText(22), Prompter::Buttons::OkCancel,
                                                       Prompter::Icon::Question) != Prompter::Reply::Ok) {
        return false;
    }
    if (ctlSubject->text().isEmpty()) {
        m_store.prompter.message(363, MsgText(363), Prompter::Buttons::Ok, Prompter::Icon::Warning);
        ctlSubject->setFocus();
        return false;
    }
    budget::Transaction typed = m_transaction;
    // A new transaction that nothing was typed into, or one still without credit or debit, is not stored.
    if ((typed.key < 0 && !m_dirty) || !EditorToTransaction(typed)) {
        QDialog::reject();
        return false;
    }
    if (const QVector<budget::CutText> cut = budget::TextsTooLong(typed);
        !cut.isEmpty() && m_store.prompter.message(0, budget::CutTextsNotice(cut), Prompter::Buttons::OkCancel,
                                                   Prompter::Icon::Warning) != Prompter::Reply::Ok) {
        return false;
    }
    if (const Result r = budget::StoreTransaction(m_store, m_budget, typed); !r.ok()) {
        reportFailure(r);
        return false;
    }
    m_transaction = typed;
    return true;
}

bool frmEditBudget::eventFilter(QObject* watched, QEvent* event) {
    if (watched == ctlAmount && event->type() == QEvent::KeyRelease) {
        const QString cleaned = budget::CleanAmountText(ctlAmount->text());
        if (cleaned != ctlAmount->text()) {
            ctlAmount->setText(cleaned);
            ctlAmount->setCursorPosition(static_cast<int>(cleaned.size()));
            m_dirty = true;
        }
    } else if (watched == ctlAmount && event->type() == QEvent::FocusOut && isVisible()) {
        // An amount that is no number keeps the caret until it is one, and says why.
        const budget::AmountReading reading = budget::ReadAmount(ctlAmount->text());
        if (!reading.value) {
            QToolTip::showText(ctlAmount->mapToGlobal(QPoint(0, ctlAmount->height())), reading.problem, ctlAmount);
            QTimer::singleShot(0, ctlAmount, qOverload<>(&QWidget::setFocus));
        }
    }
    return QDialog::eventFilter(watched, event);
}

void frmEditBudget::cmdEditCat_Click() {
    const int selected = list_controls::GetSelectedId(cboCategory);
    const modal::Scoped<frmEditCategories> dialog(m_store, categories::kBudgetSection, m_budget, this);
    dialog.exec();
    fillCategories(!dialog->cancelled() && dialog->lastNewId() != 0 ? dialog->lastNewId() : selected);
    Q_EMIT listsChanged();
}

void frmEditBudget::cmdEditPayment_Click() {
    const int selected = list_controls::GetSelectedId(ctlPayment);
    const modal::Scoped<frmEditBudgetPaymode> dialog(m_store, this);
    dialog.exec();
    fillPayments(!dialog->cancelled() && dialog->lastNewId() != 0 ? dialog->lastNewId() : selected);
    Q_EMIT listsChanged();
}

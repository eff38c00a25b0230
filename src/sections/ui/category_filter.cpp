#include "sections/ui/category_filter.h"

#include "sections/categories/categories.h"
#include "sections/categories/ui/frm_edit_categories.h"
#include "shell/session.h"
#include "shell/ui/list_controls.h"
#include "shell/ui/modal.h"

#include <QComboBox>
#include <QToolButton>

CategoryFilter::CategoryFilter(Session& session, int section, QWidget* parent)
    : QObject(parent)
    , combo(new QComboBox(parent))
    , editButton(new QToolButton(parent))
    , m_session(session)
    , m_section(section) {
    combo->setObjectName(QStringLiteral("cboCategories"));
    combo->setMinimumContentsLength(16);
    editButton->setObjectName(QStringLiteral("cmdEditCat"));
    editButton->setText(QStringLiteral("..."));
    connect(combo, qOverload<int>(&QComboBox::activated), this, &CategoryFilter::changed);
    connect(editButton, &QToolButton::clicked, this, &CategoryFilter::edit);
}

void CategoryFilter::restore() {
    const auto remembered = m_session.store().lastCategory.find(m_section);
    fill(remembered != m_session.store().lastCategory.end() ? remembered->second : categories::kAll);
}

void CategoryFilter::fill(int select) {
    combo->clear();
    ListEntries entries;
    list_controls::SetTag(combo, categories::FillCategoryEntries(m_session.store(), entries, m_section,
                                                                 {.addAll = true, .addUnfiled = true}));
    list_controls::AddEntries(combo, entries);
    if (!list_controls::SelectByItemData(combo, select)) {
        list_controls::SelectByItemData(combo, categories::kAll);
    }
}

int CategoryFilter::selected() const {
    return combo->currentIndex() < 0 ? categories::kAll : list_controls::GetSelectedId(combo);
}

int CategoryFilter::forNewRecord() const {
    const int category = selected();
    return category == categories::kAll ? categories::kUnfiled : category;
}

void CategoryFilter::remember() {
    // Remembered as the filter changes, not when the form goes: a switch deletes the form later, possibly with
    // another file open.
    m_session.store().lastCategory[m_section] = selected();
}

QString CategoryFilter::nameOf(int number) const {
    const int index = combo->findData(number);
    return index >= 0 ? combo->itemText(index).trimmed() : QString();
}

void CategoryFilter::edit() {
    const int before = selected();
    const modal::Scoped<frmEditCategories> dialog(m_session.store(), m_section, 0, static_cast<QWidget*>(parent()));
    dialog.exec();
    fill(dialog.get() != nullptr && !dialog->cancelled() && dialog->lastNewId() != 0 ? dialog->lastNewId() : before);
    Q_EMIT changed();
}

CategoryPicker::CategoryPicker(Store& store, int section, const QString& comboName, QWidget* parent)
    : QObject(parent)
    , combo(new QComboBox(parent))
    , editButton(new QToolButton(parent))
    , m_store(store)
    , m_section(section) {
    combo->setObjectName(comboName);
    editButton->setObjectName(QStringLiteral("cmdEditCat"));
    editButton->setText(QStringLiteral("..."));
    connect(editButton, &QToolButton::clicked, this, &CategoryPicker::edit);
}

void CategoryPicker::fill(int select) {
    combo->clear();
    ListEntries entries;
    list_controls::SetTag(combo, categories::FillCategoryEntries(m_store, entries, m_section, {.addUnfiled = true}));
    list_controls::AddEntries(combo, entries);
    if (!list_controls::SelectByItemData(combo, select)) {
        list_controls::SelectByItemData(combo, categories::kUnfiled);
    }
}

int CategoryPicker::selected() const {
    return list_controls::GetSelectedId(combo);
}

void CategoryPicker::edit() {
    const int before = selected();
    const modal::Scoped<frmEditCategories> dialog(m_store, m_section, 0, static_cast<QWidget*>(parent()));
    dialog.exec();
    fill(dialog.get() != nullptr && !dialog->cancelled() && dialog->lastNewId() != 0 ? dialog->lastNewId() : before);
}

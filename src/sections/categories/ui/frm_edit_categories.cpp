#include "sections/categories/ui/frm_edit_categories.h"

#include "sections/categories/categories.h"
#include "shell/ui/list_controls.h"

#include <QListWidget>

// Always kept from deletion here, beside the built-in ids.
constexpr int kUndeletableId = 255;

frmEditCategories::frmEditCategories(Store& store, int section, int budget, QWidget* parent)
    : EntryListDialog(store, QStringLiteral("frmEditCategories"), {categories::NameFitsList, categories::NameRefusal},
                      {.fromRename = categories::kEditCommand, .fromDelete = kUndeletableId}, parent)
    , m_section(section)
    , m_budget(budget) {
    // Leaving without OK keeps every category, so none counts as deleted.
    connect(this, &QDialog::rejected, this, [this] { m_categoryDeleted = false; });
    ListEntries entries;
    categories::FillCategoryEntries(m_store, entries, m_section, {},
                                    m_section == categories::kBudgetSection ? std::optional<int>(m_budget)
                                                                            : std::nullopt);
    list_controls::AddEntries(CatList, entries);
    if (CatList->count() > 0) {
        CatList->setCurrentRow(0);
    }
}

void frmEditCategories::cmdNew_Click() {
    const QString name = askName(355, QString());
    if (name.isNull()) {
        return;
    }
    const int id = categories::NewCategoryId(list_controls::Entries(CatList));
    auto* item = new QListWidgetItem(name);
    item->setData(Qt::UserRole, id);
    const int row = categories::SortedPosition(list_controls::Entries(CatList), name);
    CatList->insertItem(row, item);
    CatList->setCurrentRow(row);
    m_lastNewId = id;
}

void frmEditCategories::deleting(int) {
    m_categoryDeleted = true;
}

int frmEditCategories::save() {
    return categories::SaveCategoryList(m_store, list_controls::Entries(CatList), m_section, m_budget);
}

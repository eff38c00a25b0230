#include "shell/ui/list_controls.h"

#include <QComboBox>
#include <QListWidget>
#include <QVariant>

namespace list_controls {

void AddEntries(QComboBox* control, const ListEntries& entries) {
    for (const ListEntry& entry : entries) {
        control->addItem(entry.text, entry.itemData);
    }
}

void AddEntries(QListWidget* control, const ListEntries& entries) {
    for (const ListEntry& entry : entries) {
        auto* item = new QListWidgetItem(entry.text, control);
        item->setData(Qt::UserRole, entry.itemData);
    }
}

ListEntries Entries(const QComboBox* control) {
    ListEntries entries;
    for (int i = 0; i < control->count(); ++i) {
        entries.append({control->itemText(i), ItemData(control, i)});
    }
    return entries;
}

ListEntries Entries(const QListWidget* control) {
    ListEntries entries;
    for (int i = 0; i < control->count(); ++i) {
        entries.append({control->item(i)->text(), ItemData(control, i)});
    }
    return entries;
}

int ItemData(const QComboBox* control, int index) {
    return control->itemData(index).toInt();
}

int ItemData(const QListWidget* control, int index) {
    const QListWidgetItem* item = control->item(index);
    return item ? item->data(Qt::UserRole).toInt() : 0;
}

bool SelectByItemData(QComboBox* control, int itemData) {
    const int index = control->findData(itemData);
    if (index < 0) {
        return false;
    }
    control->setCurrentIndex(index);
    return true;
}

bool SelectByItemData(QListWidget* control, int itemData) {
    for (int i = 0; i < control->count(); ++i) {
        if (ItemData(control, i) == itemData) {
            control->setCurrentRow(i);
            return true;
        }
    }
    return false;
}

int GetSelectedId(const QComboBox* control) {
    if (control->count() == 0) {
        return 0;
    }
    return ItemData(control, control->currentIndex() < 0 ? 0 : control->currentIndex());
}

int GetSelectedId(const QListWidget* control) {
    if (control->count() == 0) {
        return 0;
    }
    return ItemData(control, control->currentRow() < 0 ? 0 : control->currentRow());
}

QString Tag(const QObject* control) {
    return control->property("Tag").toString();
}

void SetTag(QObject* control, const QString& tag) {
    control->setProperty("Tag", tag);
}

} // namespace list_controls

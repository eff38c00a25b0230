#pragma once

#include "shell/list_entry.h"

class QComboBox;
class QListWidget;
class QObject;

// The list-control contract over Qt's widgets: an entry's integer lives in Qt::UserRole, a control's free text
// in the dynamic property "Tag".
namespace list_controls {

// Appends the entries; the control is not cleared.
void AddEntries(QComboBox* control, const ListEntries& entries);
void AddEntries(QListWidget* control, const ListEntries& entries);
ListEntries Entries(const QComboBox* control);
ListEntries Entries(const QListWidget* control);

int ItemData(const QComboBox* control, int index);
int ItemData(const QListWidget* control, int index);

// Selects the first entry standing for `itemData`; returns false, leaving the selection, when there is none.
bool SelectByItemData(QComboBox* control, int itemData);
bool SelectByItemData(QListWidget* control, int itemData);

// The selected entry's integer; with nothing selected, the first entry's; 0 for an empty control.
int GetSelectedId(const QComboBox* control);
int GetSelectedId(const QListWidget* control);

QString Tag(const QObject* control);
void SetTag(QObject* control, const QString& tag);

} // namespace list_controls

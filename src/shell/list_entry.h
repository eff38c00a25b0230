#pragma once

#include <QString>
#include <QVector>

// One entry of a drop-down or list control: the text shown and the integer the entry stands for.
struct ListEntry {
    QString text;
    int itemData = 0;

    friend bool operator==(const ListEntry&, const ListEntry&) = default;
};

using ListEntries = QVector<ListEntry>;

// The position of the first entry standing for `itemData`, or -1.
inline int IndexOfItemData(const ListEntries& entries, int itemData) {
    for (int i = 0; i < entries.size(); ++i) {
        if (entries[i].itemData == itemData) {
            return i;
        }
    }
    return -1;
}

// What the person reads when a list could not be saved: the engine's error number, and that nothing was lost.
inline QString ListSaveFailure(int error) {
    return QStringLiteral("The list could not be saved (error %1). Your changes are still in the window.").arg(error);
}

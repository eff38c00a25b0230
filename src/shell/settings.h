#pragma once

#include <QString>

// The machine's settings store: window place, last file, last user, backup folder, tips. Paths are key paths
// with backslashes, such as "MostRecentFiles\\1". No call ever fails outward: a missing value is the empty text.
QString RegReadValue(const QString& path);
void RegWriteText(const QString& path, const QString& value);
void RegWriteDword(const QString& path, quint32 value);

#pragma once

#include <QDate>
#include <QDateTime>
#include <QLocale>
#include <QString>

// Dates as the person reads and types them: the locale's short form, but always with the year in four digits,
// so that no century is ever guessed ("12/31/99" would be read as 2099).
namespace dates {

QString ShortDateFormat(const QLocale& locale = QLocale());
QString ShortDate(const QDate& date, const QLocale& locale = QLocale());
// A time stamp as the short date and the locale's short time; empty for none.
QString ShortDateTime(const QDateTime& stamp, const QLocale& locale = QLocale());

} // namespace dates

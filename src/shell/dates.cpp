#include "shell/dates.h"

#include <QRegularExpression>

namespace dates {

QString ShortDateFormat(const QLocale& locale) {
    QString format = locale.dateFormat(QLocale::ShortFormat);
    format.replace(QRegularExpression(QStringLiteral("y+")), QStringLiteral("yyyy"));
    return format;
}

QString ShortDate(const QDate& date, const QLocale& locale) {
    return locale.toString(date, ShortDateFormat(locale));
}

QString ShortDateTime(const QDateTime& stamp, const QLocale& locale) {
    return stamp.isValid()
               ? ShortDate(stamp.date(), locale) + u' ' + locale.toString(stamp.time(), QLocale::ShortFormat)
               : QString();
}

} // namespace dates

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

} // namespace dates

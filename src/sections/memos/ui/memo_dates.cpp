#include "sections/memos/ui/memo_dates.h"

#include "base/messages.h"
#include "shell/dates.h"

namespace memo_dates {
namespace {

QString Line(int message, const QDateTime& stamp) {
    const QString when =
        stamp.isValid() ? dates::ShortDate(stamp.date()) + u' ' + QLocale().toString(stamp.time(), QLocale::ShortFormat)
                        : QString();
    return MsgText(message) + QStringLiteral(": ") + when;
}

} // namespace

QString Created(const memos::Memo& memo) {
    return Line(264, memo.created);
}

QString Modified(const memos::Memo& memo) {
    return Line(263, memo.modified);
}

} // namespace memo_dates

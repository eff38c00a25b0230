#include "sections/memos/ui/memo_dates.h"

#include "base/messages.h"
#include "shell/dates.h"

namespace memo_dates {
namespace {

QString Line(int message, const QDateTime& stamp) {
    return MsgText(message) + QStringLiteral(": ") + dates::ShortDateTime(stamp);
}

} // namespace

QString Created(const memos::Memo& memo) {
    return Line(264, memo.created);
}

QString Modified(const memos::Memo& memo) {
    return Line(263, memo.modified);
}

} // namespace memo_dates

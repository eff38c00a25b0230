#pragma once

#include "sections/memos/memo.h"

#include <QString>

// The two date lines of a memo as the pane and the editor show them.
namespace memo_dates {

QString Created(const memos::Memo& memo);
QString Modified(const memos::Memo& memo);

} // namespace memo_dates

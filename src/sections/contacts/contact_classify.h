#pragma once

#include <QString>

// What a right click on the contact pane points at: the text it selects and what that text looks like, which
// decides the commands offered (mail, web page, dialling).
namespace contacts {

enum SelectionKind {
    NoText = 0,
    MailText = 1,
    WebText = 2,
    SeveralLines = 3,
    AlnumText = 4,
    PhoneText = 5,
    // International numbers, with a leading "+", and any other text.
    OtherText = 6,
};

struct PaneSelection {
    int kind = NoText;
    qsizetype start = 0;
    qsizetype length = 0;
    QString text;
};

// The selection `start`, `length` in `paneText`, a final line break taken off; with nothing selected, the run
// around the caret `start` up to a control character, ";" or ",", leading blanks left out, which the pane then
// selects.
PaneSelection SelectAndClassify(const QString& paneText, qsizetype start, qsizetype length);

// Letters are A to Z and a to z, digits 0 to 9; each test trims the text first.
bool IsMail(const QString& text);
bool IsWeb(const QString& text);
bool IsAlnumText(const QString& text);
bool IsPhone(const QString& text);

// The copy without blanks, for pasting a number or an account where a form refuses them.
QString StrippedCopy(const QString& text);

} // namespace contacts

#pragma once

#include <QString>

// The numbered message catalogue: every text the program shows in a message box or builds a label from.
// Numbers are fixed because callers name them as plain integers; a number without a text gives the empty text,
// so a caller never has to test before showing it. Line breaks inside a text are "\n", the Qt convention.
QString MsgText(int n);

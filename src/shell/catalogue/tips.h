#pragma once

#include <QString>

#include <utility>

class RandomSource;

// The tips of the day. Each reads "SECTION: text".
inline constexpr int kTipCount = 27;

// Tip n for n in 1..kTipCount; the empty text otherwise.
QString TipText(int n);

// One tip drawn uniformly, with replacement: there is no rotating index. Production passes StrongRandom().
QString NextTip(RandomSource& random);

// The tip as the tip window shows it: the section word up to and including the first ':', and the text from the
// second character after that colon, which skips the blank that follows it. A text without a colon gives an empty
// section and the text from its second character, as if the colon stood just before the text.
std::pair<QString, QString> SplitTip(const QString& tip);

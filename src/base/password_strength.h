#pragma once

#include <QString>

// How hard a passphrase is to guess, as the zxcvbn estimator sees it: dictionary words, names, keyboard runs,
// dates and repeats count for little. The estimate is advice for the person; only the length rule refuses.
namespace password_strength {

struct Estimate {
    double bits = 0; // log2 of the guesses an informed attacker needs
    int score = 0;   // 0 very weak .. 4 very strong
};

// Below 2^36 guesses (about 7 * 10^10) a copy of the file falls to one ordinary computer within hours, whatever
// the key derivation costs; the scores' other steps are 2^20, 2^50 and 2^64.
constexpr double kWeakBelowBits = 36;

// The estimate of a count of guesses given as bits, such as a generator's settings allow.
Estimate FromBits(double bits);
Estimate Rate(const QString& password);
bool IsWeak(const Estimate& e);
// One short line for a person, such as "Strength: weak (about 2^28 guesses)".
QString Describe(const Estimate& e);

} // namespace password_strength

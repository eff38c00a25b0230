#pragma once

#include "store/random_source.h"

#include <QString>

#include <span>
#include <string_view>

// New passwords and passphrases. Every choice is a draw of RandomSource::below, so production values come from
// the system's strong generator alone.
namespace password_generator {

constexpr int kMinLength = 4;
constexpr int kMaxLength = 128;
constexpr int kMinWords = 3;
constexpr int kMaxWords = 12;
constexpr char kWordSeparator = '-';
// Characters that one font or another draws alike: 0 O o, 1 l I i L | !, 5 S, 2 Z, 8 B.
constexpr std::u16string_view kLookAlike = u"0Oo1lIiL|!5S2Z8B";

struct Options {
    int length = 20;
    bool lower = true, upper = true, digits = true, symbols = true;
    bool avoidLookAlike = false;
    int words = 0; // > 0: a passphrase of that many random words
};

// A length or word count outside the bounds above is taken as the nearest bound. Every chosen class appears at
// least once in a character password; with no class chosen the result is empty.
QString Generate(const Options& options, RandomSource& random = StrongRandom());
// Log2 of how many values the settings can give: what an attacker who knows the settings must search.
double EntropyBits(const Options& options);
// The passphrase words: common, short, lowercase English, none offensive.
std::span<const std::string_view> Words();

} // namespace password_generator

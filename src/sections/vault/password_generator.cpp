#include "sections/vault/password_generator.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace password_generator {

namespace {

constexpr std::u16string_view kLower = u"abcdefghijklmnopqrstuvwxyz";
constexpr std::u16string_view kUpper = u"ABCDEFGHIJKLMNOPQRSTUVWXYZ";
constexpr std::u16string_view kDigits = u"0123456789";
// Quotes, the backslash and the backtick stay out: shells, forms and CSV files mangle them.
constexpr std::u16string_view kSymbols = u"!#$%&()*+,-./:;<=>?@[]^_{|}~";

std::vector<QString> Classes(const Options& options) {
    std::vector<QString> classes;
    const std::pair<bool, std::u16string_view> chosen[] = {
        {options.lower, kLower}, {options.upper, kUpper}, {options.digits, kDigits}, {options.symbols, kSymbols}};
    for (const auto& [wanted, characters] : chosen) {
        if (!wanted) {
            continue;
        }
        QString kept;
        for (const char16_t c : characters) {
            if (!options.avoidLookAlike || kLookAlike.find(c) == std::u16string_view::npos) {
                kept += QChar(c);
            }
        }
        classes.push_back(kept);
    }
    return classes;
}

int Length(const Options& options) {
    return std::clamp(options.length, kMinLength, kMaxLength);
}

int WordCount(const Options& options) {
    return std::clamp(options.words, kMinWords, kMaxWords);
}

QChar Pick(const QString& from, RandomSource& random) {
    return from[random.below(static_cast<std::uint32_t>(from.size()))];
}

// One character of each class, the rest from all of them, then a uniform shuffle, so that the guaranteed ones
// sit anywhere.
QString Characters(const std::vector<QString>& classes, int length, RandomSource& random) {
    QString all;
    for (const QString& c : classes) {
        all += c;
    }
    // Written in place: a growing string would leave partial copies behind in freed memory.
    QString value(length, QChar());
    qsizetype i = 0;
    for (const QString& c : classes) {
        value[i++] = Pick(c, random);
    }
    for (; i < length; ++i) {
        value[i] = Pick(all, random);
    }
    for (qsizetype j = length - 1; j > 0; --j) {
        std::swap(value[j], value[random.below(static_cast<std::uint32_t>(j + 1))]);
    }
    return value;
}

QString Passphrase(int words, RandomSource& random) {
    const std::span<const std::string_view> list = Words();
    QString value;
    value.reserve(words * 9);
    for (int i = 0; i < words; ++i) {
        if (i > 0) {
            value += QLatin1Char(kWordSeparator);
        }
        const std::string_view word = list[random.below(static_cast<std::uint32_t>(list.size()))];
        value += QLatin1String(word.data(), static_cast<qsizetype>(word.size()));
    }
    return value;
}

} // namespace

QString Generate(const Options& options, RandomSource& random) {
    if (options.words > 0) {
        return Passphrase(WordCount(options), random);
    }
    const std::vector<QString> classes = Classes(options);
    return classes.empty() ? QString() : Characters(classes, Length(options), random);
}

double EntropyBits(const Options& options) {
    if (options.words > 0) {
        return WordCount(options) * std::log2(static_cast<double>(Words().size()));
    }
    const std::vector<QString> classes = Classes(options);
    if (classes.empty()) {
        return 0;
    }
    // Inclusion and exclusion over the classes that are missing, taken relative to all strings of the length.
    const double n = Length(options);
    double all = 0;
    for (const QString& c : classes) {
        all += static_cast<double>(c.size());
    }
    double share = 0;
    for (unsigned missing = 0; missing < (1u << classes.size()); ++missing) {
        double left = all;
        int count = 0;
        for (std::size_t k = 0; k < classes.size(); ++k) {
            if ((missing >> k) & 1u) {
                left -= static_cast<double>(classes[k].size());
                ++count;
            }
        }
        share += (count % 2 == 0 ? 1 : -1) * std::pow(left / all, n);
    }
    return n * std::log2(all) + std::log2(share);
}

} // namespace password_generator

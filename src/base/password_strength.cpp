#include "base/password_strength.h"

#include <botan/mem_ops.h>
#include <zxcvbn.h>

#include <algorithm>
#include <array>
#include <cmath>

namespace password_strength {

namespace {

constexpr std::array<double, 4> kScoreFrom = {20, kWeakBelowBits, 50, 64};
constexpr std::array<const char*, 5> kScoreNames = {"very weak", "weak", "fair", "strong", "very strong"};

} // namespace

Estimate FromBits(double bits) {
    Estimate e;
    e.bits = std::max(bits, 0.0);
    for (const double from : kScoreFrom) {
        e.score += e.bits >= from ? 1 : 0;
    }
    return e;
}

Estimate Rate(const QString& password) {
    if (password.isEmpty()) {
        return {};
    }
    QByteArray utf8 = password.toUtf8();
    const double bits = ZxcvbnMatch(utf8.constData(), nullptr, nullptr);
    Botan::secure_scrub_memory(utf8.data(), static_cast<std::size_t>(utf8.size()));
    return FromBits(bits);
}

bool IsWeak(const Estimate& e) {
    return e.bits < kWeakBelowBits;
}

QString Describe(const Estimate& e) {
    return QStringLiteral("Strength: %1 (about 2^%2 guesses)")
        .arg(QLatin1String(kScoreNames[static_cast<std::size_t>(std::clamp(e.score, 0, 4))]))
        .arg(std::lround(e.bits));
}

} // namespace password_strength

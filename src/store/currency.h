#pragma once

#include <QMetaType>
#include <QString>

#include <cstdint>
#include <optional>

// Money as a 64-bit count of ten-thousandths, the stored currency form. Arithmetic is exact; a result that
// does not fit is reported as absent rather than wrapped.
struct Currency {
    std::int64_t units = 0;

    static constexpr std::int64_t kScale = 10000;

    static Currency FromUnits(std::int64_t units) { return Currency{units}; }
    // Decimal text with a point and at most four decimals, optional sign: "12.34", "-0.0001".
    static std::optional<Currency> FromText(const QString& text);
    // The nearest representable value of a floating-point amount; absent when out of range or not finite.
    static std::optional<Currency> FromDouble(double value);

    // Decimal text with a point, no grouping, no trailing zeros after the point ("12.34", "5", "-0.0001").
    QString toText() const;
    double toDouble() const { return static_cast<double>(units) / kScale; }

    std::optional<Currency> plus(Currency other) const;
    std::optional<Currency> minus(Currency other) const;

    friend bool operator==(Currency a, Currency b) { return a.units == b.units; }
    friend auto operator<=>(Currency a, Currency b) { return a.units <=> b.units; }
};

Q_DECLARE_METATYPE(Currency)

#include "store/record_put.h"

#include "store/codepage.h"
#include "store/conversion.h"
#include "store/cry.h"
#include "store/record_get.h"

#include <algorithm>
#include <cmath>

namespace Record_Put {
namespace {

bool IsEmptyValue(const QVariant& value) {
    if (!value.isValid() || value.isNull()) {
        return true;
    }
    switch (value.typeId()) {
    case QMetaType::QString:
        return value.toString().isEmpty();
    case QMetaType::QByteArray:
        return value.toByteArray().isEmpty();
    default:
        return false;
    }
}

std::int64_t ToInteger(const QVariant& value) {
    switch (value.typeId()) {
    case QMetaType::Double:
    case QMetaType::Float: {
        const double d = std::nearbyint(value.toDouble());
        return std::isfinite(d) && std::fabs(d) < 9.2e18 ? static_cast<std::int64_t>(d) : 0;
    }
    case QMetaType::QString:
        return static_cast<std::int64_t>(std::nearbyint(value.toString().trimmed().toDouble()));
    default:
        if (value.typeId() == qMetaTypeId<Currency>()) {
            return value.value<Currency>().units / Currency::kScale;
        }
        return value.toLongLong();
    }
}

bool ToBoolean(const QVariant& value) {
    if (value.typeId() == QMetaType::QString) {
        const QString t = value.toString().trimmed();
        return t.compare(u"true", Qt::CaseInsensitive) == 0 || (t.toDouble() != 0);
    }
    return value.toBool();
}

Currency ToCurrency(const QVariant& value) {
    if (value.typeId() == qMetaTypeId<Currency>()) {
        return value.value<Currency>();
    }
    if (value.typeId() == QMetaType::QString) {
        return Currency::FromText(value.toString()).value_or(Currency{});
    }
    if (value.typeId() == QMetaType::Double || value.typeId() == QMetaType::Float) {
        return Currency::FromDouble(value.toDouble()).value_or(Currency{});
    }
    return Currency::FromUnits(value.toLongLong() * Currency::kScale);
}

double ToDouble(const QVariant& value) {
    bool ok = false;
    const double d =
        value.typeId() == qMetaTypeId<Currency>() ? value.value<Currency>().toDouble() : value.toDouble(&ok);
    return value.typeId() == qMetaTypeId<Currency>() || ok ? d : 0.0;
}

QDateTime ToDate(const QVariant& value) {
    switch (value.typeId()) {
    case QMetaType::QDateTime:
        return value.toDateTime();
    case QMetaType::QDate:
        return value.toDate().startOfDay(Qt::UTC);
    case QMetaType::QString: {
        const QString t = value.toString().trimmed();
        for (const char* format : {"yyyy-MM-dd HH:mm:ss", "yyyy-MM-dd HH:mm", "yyyy-MM-dd"}) {
            QDateTime d = QDateTime::fromString(t, QLatin1String(format));
            if (d.isValid()) {
                return d;
            }
        }
        return QDateTime::fromString(t, Qt::ISODate);
    }
    default:
        return QDateTime();
    }
}

QByteArray TextBytes(const QVariant& value) {
    if (value.typeId() == QMetaType::QByteArray) {
        return value.toByteArray();
    }
    return codepage::ToBytes(FittingText(value.toString()));
}

// The first `n` units of `text`, one less where a character's second half would be left behind.
QString WholeCharacters(const QString& text, qsizetype n) {
    if (n > 0 && n < text.size() && text[n - 1].isHighSurrogate()) {
        --n;
    }
    return text.left(n);
}

// The length form and the bytes of a text, cut to the longest text an item holds.
QByteArray LengthForm(QByteArray bytes) {
    if (bytes.size() > kMaxFieldText) {
        qsizetype cut = kMaxFieldText;
        // Never split a character of the UTF-8 form.
        if (bytes.startsWith("\xEF\xBB\xBF")) {
            while (cut > 3 && (static_cast<unsigned char>(bytes[cut]) & 0xC0) == 0x80) {
                --cut;
            }
        }
        bytes.truncate(cut);
    }
    const auto n = static_cast<int>(bytes.size());
    QByteArray out;
    if (n <= 254) {
        out.append(static_cast<char>(n));
    } else {
        out.append(static_cast<char>(255));
        out.append(static_cast<char>(n & 0xFF));
        out.append(static_cast<char>(n >> 8));
    }
    return out + bytes;
}

} // namespace

QString FittingText(const QString& text) {
    const auto fits = [&text](qsizetype n) {
        return codepage::ToBytes(WholeCharacters(text, n)).size() <= kMaxFieldText;
    };
    qsizetype kept = std::min<qsizetype>(text.size(), kMaxFieldText);
    if (!fits(kept)) {
        qsizetype low = 0;
        while (low < kept) {
            const qsizetype middle = (low + kept + 1) / 2;
            if (fits(middle)) {
                low = middle;
            } else {
                kept = middle - 1;
            }
        }
    }
    return kept == text.size() ? text : WholeCharacters(text, kept);
}

QByteArray PutField(const QVariant& value, std::uint8_t type, int index) {
    if (IsEmptyValue(value)) {
        return {};
    }
    QByteArray payload;
    switch (type) {
    case FieldType::Text:
    case FieldType::LongText:
        payload = LengthForm(TextBytes(value));
        break;
    case FieldType::Boolean:
        payload.append(ToBoolean(value) ? '\1' : '\0');
        break;
    case FieldType::Byte:
        payload.append(static_cast<char>(ToInteger(value) & 0xFF));
        break;
    case FieldType::Int16:
        payload = CONVERSION::NumToBytes(ToInteger(value), 2);
        break;
    case FieldType::Int32:
        payload = CONVERSION::NumToBytes(ToInteger(value), 4);
        break;
    case FieldType::Currency:
        payload = CONVERSION::CurrencyToBytes(ToCurrency(value));
        break;
    case FieldType::Single:
        payload = CONVERSION::BitsToText(CONVERSION::FloatToBits(ToDouble(value), 32));
        break;
    case FieldType::Double:
    case FieldType::AsDouble:
        payload = CONVERSION::BitsToText(CONVERSION::FloatToBits(ToDouble(value), 64));
        break;
    case FieldType::Fraction: {
        const double v = ToDouble(value);
        const float fraction = static_cast<float>(v - std::floor(v));
        payload = CONVERSION::BitsToText(CONVERSION::FloatToBits(fraction, 32));
        break;
    }
    case FieldType::DateTime:
        payload = CONVERSION::NumToBytes(CONVERSION::DateToMinutes(ToDate(value)), 4);
        break;
    default:
        return {};
    }
    QByteArray item;
    if (index != kHeaderlessIndex) {
        item.append(static_cast<char>(index & 0xFF));
    }
    item.append(static_cast<char>(type));
    return item + payload;
}

QByteArray ReplaceField(const QByteArray& blob, const QVariant& newValue, int index) {
    Record_Get::FieldValue old;
    if (!Record_Get::GetField(old, blob, index)) {
        return blob;
    }
    const qsizetype start = old.position - 1;
    return blob.left(start) + PutField(newValue, old.type, index) + blob.mid(start + old.length + 2);
}

QByteArray SealTitle(CRY& cry, std::int32_t fpk, const QString& title, int owner, bool isPrivate) {
    if (title.isEmpty()) {
        return cry.RandomBytes(12);
    }
    QByteArray plain;
    plain.append(static_cast<char>(owner >= 0 && owner <= 255 ? owner : 0));
    plain.append(isPrivate ? '\1' : '\0');
    plain.append(codepage::ToBytes(title));
    return cry.Cipher(fpk, 1, plain);
}

} // namespace Record_Put

#include "store/record_get.h"

#include "store/codepage.h"
#include "store/conversion.h"
#include "store/cry.h"

namespace Record_Get {
namespace {

// One item read from a blob: where its payload lies, or that it runs past the end.
struct Item {
    int index = 0;
    std::uint8_t type = 0;
    qsizetype payloadStart = 0; // after the type byte
    qsizetype textStart = 0;    // for texts: after the length form
    qsizetype end = 0;          // one past the payload
    bool complete = false;
};

qsizetype FixedSize(std::uint8_t type) {
    switch (type) {
    case FieldType::Boolean:
    case FieldType::Byte:
        return 1;
    case FieldType::Int16:
        return 2;
    case FieldType::Int32:
    case FieldType::Single:
    case FieldType::Fraction:
    case FieldType::DateTime:
        return 4;
    case FieldType::Currency:
    case FieldType::Double:
    case FieldType::AsDouble:
        return 8;
    default:
        return 0; // unknown codes have no payload: the next byte is read as an index
    }
}

// Reads the item at p. Texts carry a length form; a length byte of 0 is the empty text.
Item ReadItem(const QByteArray& b, qsizetype p) {
    Item item;
    const qsizetype n = b.size();
    if (p + 1 >= n) {
        return item;
    }
    item.index = static_cast<unsigned char>(b[p]);
    item.type = static_cast<unsigned char>(b[p + 1]);
    item.payloadStart = p + 2;
    qsizetype q = item.payloadStart;
    if (item.type == FieldType::Text || item.type == FieldType::LongText) {
        if (q >= n) {
            return item;
        }
        qsizetype length = static_cast<unsigned char>(b[q++]);
        if (length == 255) {
            if (q + 1 >= n) {
                return item;
            }
            length = static_cast<unsigned char>(b[q]) + 256 * static_cast<unsigned char>(b[q + 1]);
            q += 2;
        }
        item.textStart = q;
        item.end = q + length;
    } else {
        item.end = q + FixedSize(item.type);
    }
    item.complete = item.end <= n;
    return item;
}

QVariant TextValue(const QByteArray& b, const Item& item, Texts texts = Texts::Decoded) {
    const QByteArray bytes = b.mid(item.textStart, item.end - item.textStart);
    if (texts == Texts::Raw) {
        return bytes.isNull() ? QByteArray("") : bytes;
    }
    return codepage::FromBytes(bytes);
}

// The value GetRecord gives for an item: floats without the zero test.
QVariant RecordValue(const QByteArray& b, const Item& item, Texts texts) {
    const QByteArray payload = b.mid(item.payloadStart, item.end - item.payloadStart);
    switch (item.type) {
    case FieldType::Text:
    case FieldType::LongText:
        return TextValue(b, item, texts);
    case FieldType::Boolean:
        return static_cast<unsigned char>(payload[0]) == 1;
    case FieldType::Byte:
        return static_cast<int>(static_cast<unsigned char>(payload[0]));
    case FieldType::Int16:
    case FieldType::Int32:
        return CONVERSION::BytesToLong(payload);
    case FieldType::Currency:
        return QVariant::fromValue(CONVERSION::BytesToCurrency(payload));
    case FieldType::Single:
    case FieldType::Fraction:
    case FieldType::Double:
    case FieldType::AsDouble:
        return CONVERSION::BytesToFloatText(payload);
    case FieldType::DateTime:
        return CONVERSION::MinutesToDate(CONVERSION::BytesToLong(payload));
    default:
        return texts == Texts::Raw ? QVariant(QByteArray("")) : QVariant(QString());
    }
}

bool IsEmptyRecord(const QByteArray& b) {
    return b.size() <= 1 || (b.size() >= 2 && b[0] == ' ' && b[1] == ' ');
}

} // namespace

std::int16_t GetRecord(FieldValues& values, const QByteArray& blob, bool sequential, Texts texts) {
    const bool grows = values.isEmpty();
    for (auto& v : values) {
        v = texts == Texts::Raw ? QVariant(QByteArray("")) : QVariant(QString());
    }
    if (IsEmptyRecord(blob)) {
        return static_cast<std::int16_t>(values.size());
    }
    qsizetype p = 0;
    int counter = -1;
    while (p < blob.size()) {
        const Item item = ReadItem(blob, p);
        if (!item.complete) {
            break;
        }
        p = item.end;
        const int target = sequential ? ++counter : item.index;
        if (target >= values.size()) {
            if (!grows) {
                continue;
            }
            values.resize(target + 1);
        }
        values[target] = RecordValue(blob, item, texts);
    }
    return static_cast<std::int16_t>(values.size());
}

bool AnyText(const QByteArray& blob, const std::function<bool(int index, const QString& text)>& visit) {
    if (IsEmptyRecord(blob)) {
        return false;
    }
    qsizetype p = 0;
    while (p < blob.size()) {
        const Item item = ReadItem(blob, p);
        if (!item.complete) {
            return false;
        }
        p = item.end;
        if (item.type != FieldType::Text && item.type != FieldType::LongText) {
            continue;
        }
        // The bytes are read where they lie, so that the only plain copy made is the text that is wiped below.
        QString text = codepage::FromBytes(
            QByteArray::fromRawData(blob.constData() + item.textStart, item.end - item.textStart));
        const bool stop = !visit(item.index, text);
        CRY::WipeText(text);
        if (stop) {
            return true;
        }
    }
    return false;
}

bool GetField(FieldValue& result, const QByteArray& blob, int index) {
    result = FieldValue{};
    qsizetype p = 0;
    while (p < blob.size()) {
        const Item item = ReadItem(blob, p);
        if (!item.complete) {
            return false;
        }
        if (item.index == index) {
            result.type = item.type;
            result.position = static_cast<std::int32_t>(p + 1);
            result.length = static_cast<std::int32_t>(item.end - item.payloadStart);
            if (item.type == FieldType::Text || item.type == FieldType::LongText) {
                result.value = TextValue(blob, item);
            } else {
                result.value = DecodeValue(blob.mid(item.payloadStart, item.end - item.payloadStart), item.type);
            }
            return true;
        }
        p = item.end;
    }
    return false;
}

QVariant DecodeValue(const QByteArray& payload, std::uint8_t type) {
    if (payload.isEmpty()) {
        return {};
    }
    const qsizetype size = FixedSize(type);
    if (type != FieldType::Text && type != FieldType::LongText && payload.size() < size) {
        return {};
    }
    const QByteArray fixed = payload.left(size);
    switch (type) {
    case FieldType::Text:
    case FieldType::LongText:
        return codepage::FromBytes(payload);
    case FieldType::Boolean:
    case FieldType::Byte:
        return static_cast<int>(static_cast<unsigned char>(fixed[0]));
    case FieldType::Int16:
    case FieldType::Int32:
        return CONVERSION::BytesToLong(fixed);
    case FieldType::Currency:
        return QVariant::fromValue(CONVERSION::BytesToCurrency(fixed));
    case FieldType::Single:
    case FieldType::Fraction:
    case FieldType::Double:
    case FieldType::AsDouble:
        return CONVERSION::TextToFloat(fixed);
    case FieldType::DateTime:
        return CONVERSION::MinutesToDate(CONVERSION::BytesToLong(fixed));
    default:
        return {};
    }
}

QVariant DecodeTyped(const QByteArray& text) {
    if (text.isEmpty()) {
        return {};
    }
    const auto type = static_cast<std::uint8_t>(text[0]);
    if (type == FieldType::Text || type == FieldType::LongText) {
        // Read it as an item with a dummy index, so the length form is checked like any other.
        const QByteArray item = QByteArray(1, '\0') + text;
        const Item read = ReadItem(item, 0);
        if (read.complete && read.end == item.size()) {
            return TextValue(item, read);
        }
    }
    return DecodeValue(text.mid(1), type);
}

std::optional<OpenedTitle> OpenTitleParts(CRY& cry, std::int32_t fpk, const QByteArray& sealed) {
    if (sealed.isEmpty()) {
        return std::nullopt;
    }
    const QByteArray plain = cry.Cipher(fpk, 2, sealed);
    // An empty text is a title too: the list's second column is often one.
    if (plain.size() < 2) {
        return std::nullopt;
    }
    return OpenedTitle{static_cast<std::uint8_t>(plain[0]), plain[1] != 0, codepage::FromBytes(plain.mid(2))};
}

QString VisibleText(const OpenedTitle& title, const TitleAccess& access) {
    if (title.isPrivate && access.hidePrivate) {
        return {};
    }
    if (title.owner != access.owner && !access.rightsOn.test(title.owner)) {
        return {};
    }
    return title.text;
}

QString OpenTitle(CRY& cry, std::int32_t fpk, const QByteArray& sealed, const TitleAccess& access) {
    const std::optional<OpenedTitle> title = OpenTitleParts(cry, fpk, sealed);
    return title ? VisibleText(*title, access) : QString();
}

} // namespace Record_Get

#pragma once

#include "store/field_codec.h"

#include <QString>

#include <bitset>
#include <functional>
#include <optional>

class CRY;

// Reading the field blob, and opening titles.
namespace Record_Get {

// How GetRecord gives texts: decoded for people, or as the stored bytes for keys, digests and sealed texts,
// which must come back byte for byte.
enum class Texts { Decoded, Raw };

// Reads every item of a blob into `values` and returns how many slots `values` has.
// A sized `values` is cleared to empty texts first and keeps its size; items beyond it are passed over.
// An empty `values` grows to each index as items come, leaving unset slots between.
// With `sequential`, items land at 0, 1, 2... in blob order and their index bytes are ignored.
// Values are typed: bool, int, Currency, double (floats without the zero test), QDateTime, and QString or,
// with Texts::Raw, QByteArray.
// A read stops at an item that runs past the end; what was read before stands.
std::int16_t GetRecord(FieldValues& values, const QByteArray& blob, bool sequential = false,
                       Texts texts = Texts::Decoded);

// Calls `visit` with each complete text item of a blob, decoded, in blob order, until it returns false. Each text
// is wiped once visited. Returns whether a visit returned false.
bool AnyText(const QByteArray& blob, const std::function<bool(int index, const QString& text)>& visit);

struct FieldValue {
    QVariant value;
    std::uint8_t type = 0;
    std::int32_t length = 0;   // payload bytes including a text's length form
    std::int32_t position = 0; // 1-based place of the item's index byte
};

// The first item with `index`, typed: booleans and bytes as numbers, floats with the zero test.
// Returns false, with `result` reset, when there is none.
bool GetField(FieldValue& result, const QByteArray& blob, int index);

// A payload without item head; null for an empty payload or an unknown type.
QVariant DecodeValue(const QByteArray& payload, std::uint8_t type);

// A headerless item: the first byte is the type, the rest the payload. A text's length form, as PutField
// writes it for index 255, is taken off.
QVariant DecodeTyped(const QByteArray& text);

// Who is reading: whether private rows are hidden, the reader's owner byte and the owners it may read besides.
struct TitleAccess {
    bool hidePrivate = false;
    std::uint8_t owner = 0;
    std::bitset<256> rightsOn;
};

// A title sealed by SealTitle, opened: whose it is, whether it is private, and its text.
struct OpenedTitle {
    std::uint8_t owner = 0;
    bool isPrivate = false;
    QString text;
};
// Nothing when it is unreadable.
std::optional<OpenedTitle> OpenTitleParts(CRY& cry, std::int32_t fpk, const QByteArray& sealed);
// The text of an opened title for `access`; empty when the title is hidden from this reader.
QString VisibleText(const OpenedTitle& title, const TitleAccess& access);

// The title sealed by SealTitle, or the empty text when it is unreadable or hidden from this reader.
QString OpenTitle(CRY& cry, std::int32_t fpk, const QByteArray& sealed, const TitleAccess& access);

} // namespace Record_Get

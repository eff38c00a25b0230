#pragma once

#include "store/field_codec.h"

class CRY;

// Writing items of the field blob, and sealing titles.
namespace Record_Put {

// The longest beginning of `text`, in whole characters, that a text item holds: 65,000 characters, and fewer
// where the UTF-8 form of a text outside code page 1252 needs more than the item's 65,000 bytes. `text` itself
// when it fits. PutField stores no more than this; callers tell the person before a text is cut.
QString FittingText(const QString& text);

// The item for one value: index byte (left out for index 255), type byte, payload. An invalid value, an empty
// text or empty bytes give the empty item, so a cleared field disappears from the blob.
// Texts are QString (stored through code page 1252) or QByteArray (stored as they are); numbers, bool,
// Currency, double and QDateTime/QDate as their codes ask.
QByteArray PutField(const QVariant& value, std::uint8_t type, int index);

// The blob with the item of `index` rewritten with a new value of the same type; the blob unchanged when there
// is no such item.
QByteArray ReplaceField(const QByteArray& blob, const QVariant& newValue, int index);

// The value of fT1: the owner byte, the private byte and the title, enciphered with the row's key binding;
// 12 random bytes of noise for an empty title. `owner` outside 0..255 counts as 0.
QByteArray SealTitle(CRY& cry, std::int32_t fpk, const QString& title, int owner = 0, bool isPrivate = true);

} // namespace Record_Put

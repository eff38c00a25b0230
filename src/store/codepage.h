#pragma once

#include <QByteArray>
#include <QString>

// Texts are stored as bytes of Windows code page 1252 so that files stay readable by every reader of the format.
// A text holding a character that code page 1252 cannot express is stored as UTF-8 behind a byte-order mark
// instead, so that nothing a person typed is ever lost.
namespace codepage {

// The stored bytes of a text: code page 1252, or EF BB BF and UTF-8.
QByteArray ToBytes(const QString& text);

// The text of stored bytes; the inverse of ToBytes, and a total function: every byte string decodes.
QString FromBytes(const QByteArray& bytes);

// One character per byte through code page 1252, without the UTF-8 form. Bytes 0x81, 0x8D, 0x8F, 0x90 and
// 0x9D, which the code page leaves undefined, map to the control characters of the same value, as Windows does.
QString Latin1252ToText(const QByteArray& bytes);

} // namespace codepage

#include "store/codepage.h"

#include <array>

namespace codepage {
namespace {

const QByteArray kUtf8Mark("\xEF\xBB\xBF", 3);

// Code points of bytes 0x80..0x9F; the rest of the code page equals Latin-1.
constexpr std::array<char16_t, 32> kHigh = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178,
};

int ByteOf(char16_t c) {
    if (c < 0x80 || (c >= 0xA0 && c <= 0xFF)) {
        return c;
    }
    for (int i = 0; i < 32; ++i) {
        if (kHigh[i] == c) {
            return 0x80 + i;
        }
    }
    return -1;
}

} // namespace

QByteArray ToBytes(const QString& text) {
    QByteArray out;
    out.reserve(text.size());
    for (QChar ch : text) {
        const int b = ByteOf(ch.unicode());
        if (b < 0) {
            return kUtf8Mark + text.toUtf8();
        }
        out.append(static_cast<char>(b));
    }
    // A code-page text that happens to begin like the mark would read back as UTF-8; store it as UTF-8 too.
    if (out.startsWith(kUtf8Mark)) {
        return kUtf8Mark + text.toUtf8();
    }
    return out;
}

QString Latin1252ToText(const QByteArray& bytes) {
    QString out;
    out.resize(bytes.size());
    QChar* d = out.data();
    for (qsizetype i = 0; i < bytes.size(); ++i) {
        const auto b = static_cast<unsigned char>(bytes[i]);
        d[i] = (b >= 0x80 && b < 0xA0) ? QChar(kHigh[b - 0x80]) : QChar(b);
    }
    return out;
}

QString FromBytes(const QByteArray& bytes) {
    if (bytes.startsWith(kUtf8Mark)) {
        const QByteArray rest = bytes.mid(3);
        const QString text = QString::fromUtf8(rest);
        // Only take the UTF-8 reading when it is exact; other bytes that merely start with the mark are code page.
        if (text.toUtf8() == rest) {
            return text;
        }
    }
    return Latin1252ToText(bytes);
}

} // namespace codepage

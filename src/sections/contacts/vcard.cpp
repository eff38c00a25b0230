#include "sections/contacts/vcard.h"

#include "sections/categories/categories.h"
#include "shell/export_file.h"
#include "store/codepage.h"
#include "store/sqlite.h"
#include "store/store.h"

#include <QStringDecoder>

#include <algorithm>
#include <optional>

namespace contacts {

namespace {

constexpr int kImportAborted = 9;
constexpr int kNoFreeCategory = 52;
constexpr int kAddressFields = 5;
constexpr int kFirstDateYear = 1000;
constexpr int kLastDateYear = 4500; // the year after holds the "no date" mark

// A line of the file with its continuation lines joined, and where it began.
struct Line {
    QByteArray text;
    int number = 0;
    bool tooLong = false;
};

bool IsQuotedPrintable(const QByteArray& text) {
    const qsizetype colon = text.indexOf(':');
    return text.left(colon < 0 ? text.size() : colon).toUpper().contains("QUOTED-PRINTABLE");
}

// Physical lines end in LF or CRLF. A line that starts with a blank or a tab continues the one before; so does
// the line after a quoted-printable line ending in "=", as writers of 2.1 and 3.0 break them.
class Unfolder {
public:
    explicit Unfolder(const QByteArray& bytes)
        : m_bytes(bytes) {}

    std::optional<Line> next() {
        if (m_pos >= m_bytes.size()) {
            return std::nullopt;
        }
        Line line;
        line.number = m_number + 1;
        QByteArrayView part = physical();
        append(line, part);
        // The parameters are read once the ":" after them has come, so that a long header costs one pass.
        bool headerRead = part.contains(':');
        bool quotedPrintable = headerRead && IsQuotedPrintable(line.text);
        while (m_pos < m_bytes.size()) {
            const char first = m_bytes[m_pos];
            if (first == ' ' || first == '\t') {
                part = physical().sliced(1);
            } else if (quotedPrintable && line.text.endsWith('=')) {
                line.text.chop(1);
                part = physical();
            } else {
                break;
            }
            append(line, part);
            if (!headerRead && part.contains(':')) {
                headerRead = true;
                quotedPrintable = IsQuotedPrintable(line.text);
            }
        }
        return line;
    }

private:
    QByteArrayView physical() {
        const qsizetype end = m_bytes.indexOf('\n', m_pos);
        const qsizetype stop = end < 0 ? m_bytes.size() : end;
        QByteArrayView view(m_bytes.constData() + m_pos, stop - m_pos);
        if (view.endsWith('\r')) {
            view.chop(1);
        }
        m_pos = stop + 1;
        ++m_number;
        return view;
    }

    static void append(Line& line, QByteArrayView part) {
        if (line.tooLong || line.text.size() + part.size() > kVCardMaxLineBytes) {
            line.tooLong = true;
            line.text.clear();
            return;
        }
        line.text += part;
    }

    const QByteArray& m_bytes;
    qsizetype m_pos = 0;
    int m_number = 0;
};

struct Property {
    QByteArray name;
    QByteArrayList types; // lower case
    bool preferred = false;
    QByteArray encoding;
    QByteArray charset;
    QByteArray valueType;
    QByteArray value;

    bool has(const char* type) const { return types.contains(type); }
};

bool IsNameCharacter(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-';
}

// Parameter values of 4.0 escape with "^": ^n a line break, ^' a double quote, ^^ the caret.
QByteArray CaretDecoded(const QByteArray& text) {
    QByteArray out;
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i] == '^' && i + 1 < text.size() && QByteArrayView("n'^").contains(text[i + 1])) {
            ++i;
            out += text[i] == 'n' ? '\n' : text[i] == '\'' ? '"' : '^';
        } else {
            out += text[i];
        }
    }
    return out;
}

void AddParameter(Property& p, const QByteArray& name, const QByteArray& value) {
    if (name.isEmpty()) {
        // 2.1 writes bare parameters: an encoding or a type.
        const QByteArray upper = value.toUpper();
        if (upper == "QUOTED-PRINTABLE" || upper == "BASE64" || upper == "8BIT" || upper == "7BIT") {
            p.encoding = upper;
            return;
        }
        AddParameter(p, "TYPE", value);
    } else if (name == "TYPE") {
        for (const QByteArray& type : value.split(',')) {
            const QByteArray lower = type.trimmed().toLower();
            p.preferred = p.preferred || lower == "pref";
            p.types.append(lower);
        }
    } else if (name == "PREF") {
        p.preferred = true;
    } else if (name == "ENCODING") {
        p.encoding = value.trimmed().toUpper();
    } else if (name == "CHARSET") {
        p.charset = value.trimmed().toUpper();
    } else if (name == "VALUE") {
        p.valueType = value.trimmed().toLower();
    }
}

std::optional<Property> ParseProperty(const QByteArray& line, QString& why) {
    Property p;
    const qsizetype n = line.size();
    qsizetype i = 0;
    while (i < n && line[i] != ';' && line[i] != ':') {
        ++i;
    }
    QByteArray name = line.left(i).trimmed();
    // Apple groups lines as "item1.TEL"; the group means nothing here.
    name = name.mid(name.lastIndexOf('.') + 1);
    if (name.isEmpty() || !std::all_of(name.begin(), name.end(), IsNameCharacter)) {
        why = QStringLiteral("the property name is not valid");
        return std::nullopt;
    }
    p.name = name.toUpper();
    while (i < n && line[i] == ';') {
        const qsizetype start = ++i;
        while (i < n && line[i] != '=' && line[i] != ';' && line[i] != ':') {
            ++i;
        }
        const QByteArray parameter = line.mid(start, i - start).trimmed().toUpper();
        if (parameter.isEmpty()) {
            why = QStringLiteral("a parameter has no name");
            return std::nullopt;
        }
        if (i >= n || line[i] != '=') {
            AddParameter(p, {}, parameter);
            continue;
        }
        do {
            ++i;
            if (i < n && line[i] == '"') {
                const qsizetype close = line.indexOf('"', i + 1);
                if (close < 0) {
                    why = QStringLiteral("a quoted parameter value is not closed");
                    return std::nullopt;
                }
                AddParameter(p, parameter, CaretDecoded(line.mid(i + 1, close - i - 1)));
                i = close + 1;
            } else {
                const qsizetype from = i;
                while (i < n && line[i] != ',' && line[i] != ';' && line[i] != ':') {
                    ++i;
                }
                AddParameter(p, parameter, line.mid(from, i - from));
            }
        } while (i < n && line[i] == ',');
    }
    if (i >= n || line[i] != ':') {
        why = QStringLiteral("no \":\" ends the property name and parameters");
        return std::nullopt;
    }
    p.value = line.mid(i + 1);
    return p;
}

int HexDigit(char c) {
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    if (c >= 'A' && c <= 'F') {
        return c - 'A' + 10;
    }
    if (c >= 'a' && c <= 'f') {
        return c - 'a' + 10;
    }
    return -1;
}

std::optional<QByteArray> QuotedPrintableDecoded(const QByteArray& text) {
    QByteArray out;
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i] != '=') {
            out += text[i];
            continue;
        }
        const int high = i + 2 < text.size() ? HexDigit(text[i + 1]) : -1;
        const int low = high < 0 ? -1 : HexDigit(text[i + 2]);
        if (low < 0) {
            return std::nullopt;
        }
        out += static_cast<char>(high * 16 + low);
        i += 2;
    }
    return out;
}

// The value as text, line breaks made LF; nothing when it cannot be read, with the reason in `why`.
std::optional<QString> ValueText(const Property& p, QString& why) {
    QByteArray bytes = p.value;
    if (p.encoding == "QUOTED-PRINTABLE") {
        const std::optional<QByteArray> decoded = QuotedPrintableDecoded(bytes);
        if (!decoded) {
            why = QStringLiteral("the quoted-printable value is broken");
            return std::nullopt;
        }
        bytes = *decoded;
    } else if (!p.encoding.isEmpty() && p.encoding != "8BIT" && p.encoding != "7BIT") {
        why = QStringLiteral("the value is encoded as %1, not as text").arg(QString::fromLatin1(p.encoding));
        return std::nullopt;
    }
    QString text;
    if (p.charset.isEmpty() || p.charset == "UTF-8" || p.charset == "US-ASCII") {
        QStringDecoder utf8(QStringDecoder::Utf8,
                            QStringDecoder::Flag::Stateless | QStringDecoder::Flag::ConvertInitialBom);
        text = utf8.decode(bytes);
        if (utf8.hasError()) {
            why = QStringLiteral("the value is not UTF-8");
            return std::nullopt;
        }
    } else if (p.charset == "ISO-8859-1" || p.charset == "LATIN1") {
        text = QString::fromLatin1(bytes);
    } else if (p.charset == "WINDOWS-1252" || p.charset == "CP1252") {
        text = codepage::Latin1252ToText(bytes);
    } else {
        why = QStringLiteral("the character set %1 is not supported").arg(QString::fromLatin1(p.charset.left(40)));
        return std::nullopt;
    }
    for (const QChar c : text) {
        if (c.unicode() < 0x20 && c != u'\t' && c != u'\r' && c != u'\n') {
            why = QStringLiteral("the value holds a control character");
            return std::nullopt;
        }
    }
    return text.replace(QStringLiteral("\r\n"), QStringLiteral("\n")).replace(u'\r', u'\n');
}

QString Unescaped(QStringView raw) {
    QString out;
    out.reserve(raw.size());
    for (qsizetype i = 0; i < raw.size(); ++i) {
        if (raw[i] != u'\\' || i + 1 == raw.size()) {
            out += raw[i];
            continue;
        }
        const QChar c = raw[++i];
        if (c == u'n' || c == u'N') {
            out += u'\n';
        } else if (c == u',' || c == u';' || c == u'\\' || c == u':') {
            out += c;
        } else {
            // Not an escape the formats know: keep what was written.
            out += u'\\';
            out += c;
        }
    }
    return out;
}

// The pieces of `raw` between separators that no backslash escapes, still escaped.
QList<QStringView> SplitRaw(QStringView raw, QChar separator) {
    QList<QStringView> pieces;
    qsizetype from = 0;
    for (qsizetype i = 0; i < raw.size(); ++i) {
        if (raw[i] == u'\\') {
            ++i;
        } else if (raw[i] == separator) {
            pieces.append(raw.mid(from, i - from));
            from = i + 1;
        }
    }
    pieces.append(raw.mid(from));
    return pieces;
}

// The components of a structured value (separated by ";"), each a list of values (separated by ",").
QVector<QStringList> Components(const QString& raw) {
    QVector<QStringList> components;
    for (const QStringView component : SplitRaw(raw, u';')) {
        QStringList values;
        for (const QStringView value : SplitRaw(component, u',')) {
            values.append(Unescaped(value).trimmed());
        }
        components.append(values);
    }
    return components;
}

QString Component(const QVector<QStringList>& components, int index, const QString& separator) {
    if (index >= components.size()) {
        return {};
    }
    QStringList values = components[index];
    values.removeAll(QString());
    return values.join(separator);
}

std::optional<QDate> ParseDate(const QString& text) {
    const QString day = text.left(text.indexOf(u'T')).trimmed();
    QDate date = QDate::fromString(day, QStringLiteral("yyyyMMdd"));
    if (!date.isValid()) {
        date = QDate::fromString(day, QStringLiteral("yyyy-MM-dd"));
    }
    if (!date.isValid() || date.year() < kFirstDateYear || date.year() > kLastDateYear) {
        return std::nullopt;
    }
    return date;
}

bool IsEmptyAddress(const Contact& c, int base) {
    for (int f = base; f < base + kAddressFields; ++f) {
        if (!c.texts[f].isEmpty()) {
            return false;
        }
    }
    return true;
}

// A card as its lines come in. Lines it cannot use are held back so that a card dropped whole reports once.
class CardBuilder {
public:
    explicit CardBuilder(int line) { m_entry.line = line; }

    int line() const { return m_entry.line; }
    const QByteArray& version() const { return m_version; }
    // Why the line was left out, or with `dropCard` set why the whole card is; empty when it was taken.
    QString take(const Property& p, bool& dropCard) {
        if (p.name == "VERSION") {
            m_version = p.value.trimmed();
            if (m_version != "2.1" && m_version != "3.0" && m_version != "4.0") {
                dropCard = true;
                return QStringLiteral("version %1 is not one this reader knows")
                    .arg(QString::fromLatin1(m_version.left(20)));
            }
            return {};
        }
        if (!Mapped(p.name)) {
            return {};
        }
        QString reason;
        const std::optional<QString> value = ValueText(p, reason);
        if (value) {
            reason = map(p, *value);
        }
        return reason.isEmpty() ? reason : QString::fromLatin1(p.name) + QStringLiteral(": ") + reason;
    }

    // The entry, or nothing and `why` when the card holds nothing worth a contact.
    std::optional<VCardEntry> finish(int ordinal, QString& why) {
        Contact& c = m_entry.contact;
        const bool anyText = std::any_of(c.texts.begin(), c.texts.end(), [](const QString& t) { return !t.isEmpty(); });
        if (!anyText && m_formatted.isEmpty() && !c.birthday.isValid() && !c.anniversary.isValid()) {
            why = QStringLiteral("the card holds nothing to keep");
            return std::nullopt;
        }
        c.fileAs = FileAs(ordinal);
        c.comDisplay = m_preferred >= 0 ? m_preferred : m_firstPhone >= 0 ? m_firstPhone : std::max(m_firstMail, 0);
        return m_entry;
    }

private:
    static bool Mapped(const QByteArray& name) {
        static const QByteArrayList names =
            QByteArray("N FN ORG TITLE ROLE TEL EMAIL URL ADR BDAY ANNIVERSARY X-ANNIVERSARY X-MS-ANNIVERSARY "
                       "X-EVOLUTION-ANNIVERSARY NOTE GENDER CATEGORIES CLASS")
                .split(' ');
        return names.contains(name);
    }

    QString FileAs(int ordinal) const {
        const Contact& c = m_entry.contact;
        const QString& last = c.texts[LastName];
        const QString& first = c.texts[FirstName];
        if (!last.isEmpty() && !first.isEmpty()) {
            return last + QStringLiteral(", ") + first;
        }
        for (const QString& candidate : {last, first, m_formatted, c.texts[CompanyName]}) {
            if (!candidate.isEmpty()) {
                return candidate;
            }
        }
        for (int s = 0; s < kSlotCount; ++s) {
            if (!c.slot(s).isEmpty()) {
                return c.slot(s);
            }
        }
        return QStringLiteral("Z %1").arg(ordinal);
    }

    // Sets a field that a card names once; an empty text when done, else why not.
    QString once(const QByteArray& name, int field, const QString& text) {
        if (m_seen.contains(name)) {
            return QStringLiteral("given twice");
        }
        m_seen.append(name);
        if (field >= 0) {
            m_entry.contact.texts[field] = text;
        }
        return {};
    }

    int placed(const QVector<int>& fields, const QString& text) {
        for (const int field : fields) {
            if (m_entry.contact.texts[field].isEmpty()) {
                m_entry.contact.texts[field] = text;
                return field - kFirstSlot;
            }
        }
        return -1;
    }

    static QVector<int> PhoneFields(const Property& p) {
        if (p.has("fax")) {
            if (p.has("work")) {
                return {BusinessFaxNumber, OtherFaxNumber};
            }
            return p.has("home") ? QVector<int>{HomeFaxNumber, OtherFaxNumber} : QVector<int>{OtherFaxNumber};
        }
        if (p.has("pager")) {
            return {PagerNumber};
        }
        if (p.has("cell") || p.has("mobile") || p.has("iphone")) {
            return {MobileTelephoneNumber, Mobile2TelephoneNumber, OtherTelephoneNumber};
        }
        if (p.has("x-company-main")) {
            return {CompanyMainTelephoneNumber, OtherTelephoneNumber};
        }
        if (p.has("main") || p.has("x-main")) {
            return {PrimaryTelephoneNumber, OtherTelephoneNumber};
        }
        if (p.has("work")) {
            return {BusinessTelephoneNumber, Business2TelephoneNumber, OtherTelephoneNumber};
        }
        if (p.has("home")) {
            return {HomeTelephoneNumber, Home2TelephoneNumber, OtherTelephoneNumber};
        }
        return {OtherTelephoneNumber};
    }

    static QVector<int> WebFields(const Property& p) {
        if (p.has("work")) {
            return {BusinessHomePage, WebPage, PersonalHomePage};
        }
        if (p.has("home")) {
            return {PersonalHomePage, WebPage, BusinessHomePage};
        }
        return {WebPage, BusinessHomePage, PersonalHomePage};
    }

    void noteSlot(int slot, bool preferred, int& first) {
        if (first < 0) {
            first = slot;
        }
        if (preferred && m_preferred < 0) {
            m_preferred = slot;
        }
    }

    QString address(const Property& p, const QString& raw) {
        const QVector<QStringList> parts = Components(raw);
        QStringList street;
        for (int i = 0; i < 3; ++i) {
            const QString piece = Component(parts, i, QStringLiteral(", "));
            if (!piece.isEmpty()) {
                street << piece;
            }
        }
        const QString fields[] = {street.join(u'\n'), Component(parts, 3, QStringLiteral(", ")),
                                  Component(parts, 4, QStringLiteral(", ")), Component(parts, 5, QStringLiteral(", ")),
                                  Component(parts, 6, QStringLiteral(", "))};
        if (std::all_of(std::begin(fields), std::end(fields), [](const QString& f) { return f.isEmpty(); })) {
            return {};
        }
        const int typed = p.has("home")   ? HomeAddressStreet
                          : p.has("work") ? BusinessAddressStreet
                                          : OtherAddressStreet;
        for (const int base : {typed, int(OtherAddressStreet)}) {
            if (IsEmptyAddress(m_entry.contact, base)) {
                for (int i = 0; i < kAddressFields; ++i) {
                    m_entry.contact.texts[base + i] = fields[i];
                }
                return {};
            }
        }
        return QStringLiteral("no free address for it");
    }

    QString date(const Property& p, const QString& text) {
        if (p.valueType == "text") {
            return QStringLiteral("a date given as text");
        }
        const std::optional<QDate> day = ParseDate(text);
        if (!day) {
            return QStringLiteral("not a full date from year %1 to %2").arg(kFirstDateYear).arg(kLastDateYear);
        }
        // 3.0 writers often name an anniversary twice, under two extension names.
        QDate& target = p.name == "BDAY" ? m_entry.contact.birthday : m_entry.contact.anniversary;
        if (target.isValid()) {
            return target == *day ? QString() : QStringLiteral("given twice with different dates");
        }
        target = *day;
        return {};
    }

    QString categories(const QString& raw) {
        for (const QStringView piece : SplitRaw(raw, u',')) {
            const QString name = Unescaped(piece).trimmed();
            if (name.isEmpty() || m_entry.categories.contains(name, Qt::CaseInsensitive)) {
                continue;
            }
            if (!categories::NameFitsList(name)) {
                return categories::NameRefusal();
            }
            m_entry.categories.append(name);
        }
        return {};
    }

    QString map(const Property& p, const QString& raw) {
        Contact& c = m_entry.contact;
        const QString text = Unescaped(raw).trimmed();
        if (p.name == "N") {
            const QVector<QStringList> parts = Components(raw);
            const QString reason = once("N", LastName, Component(parts, 0, QStringLiteral(" ")));
            if (reason.isEmpty()) {
                c.texts[FirstName] = Component(parts, 1, QStringLiteral(" "));
                c.texts[MiddleName] = Component(parts, 2, QStringLiteral(" "));
                c.texts[Title] = Component(parts, 3, QStringLiteral(" "));
                c.texts[Suffix] = Component(parts, 4, QStringLiteral(" "));
            }
            return reason;
        }
        if (p.name == "FN") {
            const QString reason = once("FN", -1, {});
            m_formatted = reason.isEmpty() ? text : m_formatted;
            return reason;
        }
        if (p.name == "ORG") {
            const QVector<QStringList> parts = Components(raw);
            QStringList units;
            for (int i = 1; i < parts.size(); ++i) {
                const QString unit = Component(parts, i, QStringLiteral(", "));
                if (!unit.isEmpty()) {
                    units << unit;
                }
            }
            const QString reason = once("ORG", CompanyName, Component(parts, 0, QStringLiteral(", ")));
            if (reason.isEmpty()) {
                c.texts[Department] = units.join(QStringLiteral(", "));
            }
            return reason;
        }
        if (p.name == "TITLE" || p.name == "ROLE") {
            return once(p.name, p.name == "TITLE" ? JobTitle : Profession, text);
        }
        if (p.name == "NOTE") {
            c.texts[Notes] += (c.texts[Notes].isEmpty() ? QString() : QStringLiteral("\n")) + Unescaped(raw);
            return {};
        }
        if (p.name == "GENDER") {
            const QString sex = Component(Components(raw), 0, {}).toUpper();
            return sex == u"M" || sex == u"F" ? once("GENDER", Gender, sex) : QString();
        }
        if (p.name == "CLASS") {
            c.isPrivate = c.isPrivate || text.compare(u"PRIVATE", Qt::CaseInsensitive) == 0 ||
                          text.compare(u"CONFIDENTIAL", Qt::CaseInsensitive) == 0;
            return {};
        }
        if (p.name == "CATEGORIES") {
            return categories(raw);
        }
        if (p.name == "ADR") {
            return address(p, raw);
        }
        if (p.name == "BDAY" || p.name.endsWith("ANNIVERSARY")) {
            return date(p, text);
        }
        if (text.isEmpty()) {
            return {};
        }
        if (p.name == "TEL") {
            // 4.0 gives numbers as tel: addresses unless the value is marked as text.
            const bool uri = p.valueType != "text" && text.startsWith(u"tel:", Qt::CaseInsensitive);
            const QString number = uri ? text.mid(4).trimmed() : text;
            if (number.isEmpty()) {
                return {};
            }
            const int slot = placed(PhoneFields(p), number);
            if (slot < 0) {
                return QStringLiteral("no free slot for another number of this kind");
            }
            noteSlot(slot, p.preferred, m_firstPhone);
            return {};
        }
        if (p.name == "EMAIL") {
            const int slot = placed({Email1Address, Email2Address, Email3Address}, text);
            if (slot < 0) {
                return QStringLiteral("no free slot for a fourth mail address");
            }
            noteSlot(slot, p.preferred, m_firstMail);
            return {};
        }
        return placed(WebFields(p), text) < 0 ? QStringLiteral("no free slot for a fourth web address") : QString();
    }

    VCardEntry m_entry;
    QByteArray m_version;
    QByteArrayList m_seen;
    QString m_formatted;
    int m_preferred = -1;
    int m_firstPhone = -1;
    int m_firstMail = -1;
};

class Reader {
public:
    VCardReading read(const QByteArray& input) {
        if (input.size() > kVCardMaxBytes) {
            m_reading.refusal =
                QStringLiteral("The file is larger than %1 MB: no address book is that big.").arg(kVCardMaxBytes >> 20);
            return m_reading;
        }
        const QByteArray bytes = input.startsWith("\xEF\xBB\xBF") ? input.mid(3) : input;
        Unfolder lines(bytes);
        while (const std::optional<Line> line = lines.next()) {
            if (!step(*line)) {
                m_reading.cards.clear();
                return m_reading;
            }
        }
        if (m_card) {
            drop(QStringLiteral("it has no END:VCARD"));
        }
        if (!m_begun) {
            m_reading = {};
            m_reading.refusal = QStringLiteral("The file holds no BEGIN:VCARD line: it is not a vCard file.");
        }
        return m_reading;
    }

private:
    void skip(int line, const QString& reason) {
        if (m_reading.skippedCount++ < kVCardMaxReportedSkips) {
            m_reading.skipped.append({line, reason});
        }
    }

    static bool Is(const QByteArray& text, const char* keyword) {
        return text.trimmed().compare(keyword, Qt::CaseInsensitive) == 0;
    }

    // False when the whole file is refused.
    bool step(const Line& line) {
        if (line.tooLong) {
            skip(line.number, QStringLiteral("the line is longer than %1 bytes").arg(kVCardMaxLineBytes));
            return true;
        }
        if (line.text.trimmed().isEmpty()) {
            return true;
        }
        const bool begin = Is(line.text.left(6), "BEGIN:");
        const bool end = Is(line.text.left(4), "END:");
        if (begin && Is(line.text, "BEGIN:VCARD")) {
            // A card that never ended is dropped; the next one still counts.
            m_begun = true;
            m_brokenDepth = 0;
            if (m_card) {
                drop(QStringLiteral("a card begins inside it at line %1").arg(line.number));
            }
            if (m_count == kVCardMaxCards) {
                m_reading.refusal = QStringLiteral("The file holds more than %1 cards.").arg(kVCardMaxCards);
                return false;
            }
            ++m_count;
            m_card.emplace(line.number);
            return true;
        }
        if (m_brokenDepth > 0) {
            // The rest of a dropped card, nested objects and all.
            m_brokenDepth += begin ? 1 : end ? -1 : 0;
            return true;
        }
        if (!m_card) {
            skip(line.number, begin || end
                                  ? QString::fromUtf8(line.text.left(40).trimmed()) + QStringLiteral(" outside a card")
                                  : QStringLiteral("a line outside a card"));
            return true;
        }
        if (begin) {
            drop(QStringLiteral("an object begins inside it at line %1").arg(line.number));
            m_brokenDepth = 2;
            return true;
        }
        if (end) {
            if (Is(line.text, "END:VCARD")) {
                finish();
            } else {
                drop(QStringLiteral("line %1 ends another object").arg(line.number));
                m_brokenDepth = 1;
            }
            return true;
        }
        QString why;
        const std::optional<Property> property = ParseProperty(line.text, why);
        bool dropCard = false;
        if (property) {
            why = m_card->take(*property, dropCard);
        }
        if (dropCard) {
            drop(why);
            m_brokenDepth = 1;
        } else if (!why.isEmpty()) {
            skip(line.number, why);
        }
        return true;
    }

    void drop(const QString& why) {
        skip(m_card->line(), QStringLiteral("card dropped: %1").arg(why));
        m_card.reset();
    }

    void finish() {
        QString why = QStringLiteral("it has no VERSION");
        const std::optional<VCardEntry> entry =
            m_card->version().isEmpty() ? std::nullopt : m_card->finish(m_count, why);
        if (entry) {
            m_reading.cards.append(*entry);
            m_card.reset();
        } else {
            drop(why);
        }
    }

    VCardReading m_reading;
    std::optional<CardBuilder> m_card;
    int m_brokenDepth = 0;
    int m_count = 0;
    bool m_begun = false;
};

QByteArray Escaped(const QString& text) {
    QString out = text;
    out.replace(QStringLiteral("\r\n"), QStringLiteral("\n")).replace(u'\r', u'\n');
    out.replace(u'\\', QStringLiteral("\\\\"))
        .replace(u',', QStringLiteral("\\,"))
        .replace(u';', QStringLiteral("\\;"))
        .replace(u'\n', QStringLiteral("\\n"));
    return out.toUtf8();
}

QByteArray Structured(std::initializer_list<QString> components) {
    QByteArrayList parts;
    for (const QString& c : components) {
        parts << Escaped(c);
    }
    return parts.join(';');
}

// Lines of at most 75 octets; a continuation starts with a blank and never inside a character's bytes.
void PutLine(QByteArray& out, const QByteArray& line) {
    qsizetype pos = 0;
    qsizetype room = 75;
    while (line.size() - pos > room) {
        qsizetype cut = pos + room;
        while (cut > pos && (static_cast<unsigned char>(line[cut]) & 0xC0) == 0x80) {
            --cut;
        }
        out += line.mid(pos, cut - pos);
        out += "\r\n ";
        pos = cut;
        room = 74;
    }
    out += line.mid(pos);
    out += "\r\n";
}

struct SlotParameters {
    int field;
    const char* parameters;
};

constexpr SlotParameters kSlotParameters[] = {
    {BusinessTelephoneNumber, "TEL;VALUE=text;TYPE=work,voice"},
    {Business2TelephoneNumber, "TEL;VALUE=text;TYPE=work,voice"},
    {HomeTelephoneNumber, "TEL;VALUE=text;TYPE=home,voice"},
    {Home2TelephoneNumber, "TEL;VALUE=text;TYPE=home,voice"},
    {OtherTelephoneNumber, "TEL;VALUE=text;TYPE=voice"},
    {MobileTelephoneNumber, "TEL;VALUE=text;TYPE=cell"},
    {Mobile2TelephoneNumber, "TEL;VALUE=text;TYPE=cell"},
    {BusinessFaxNumber, "TEL;VALUE=text;TYPE=work,fax"},
    {HomeFaxNumber, "TEL;VALUE=text;TYPE=home,fax"},
    {OtherFaxNumber, "TEL;VALUE=text;TYPE=fax"},
    {Email1Address, "EMAIL"},
    {Email2Address, "EMAIL"},
    {Email3Address, "EMAIL"},
    {WebPage, "URL"},
    {BusinessHomePage, "URL;TYPE=work"},
    {PersonalHomePage, "URL;TYPE=home"},
    {PagerNumber, "TEL;VALUE=text;TYPE=pager"},
    {PrimaryTelephoneNumber, "TEL;VALUE=text;TYPE=voice,x-main"},
    {CompanyMainTelephoneNumber, "TEL;VALUE=text;TYPE=work,voice,x-company-main"},
};

ListEntries ParsedList(const QString& listText) {
    ListEntries entries;
    const QStringList items = listText.split(u';');
    for (qsizetype i = 0; i + 1 < items.size(); i += 2) {
        entries.append({items[i], items[i + 1].toInt()});
    }
    return entries;
}

int FindCategory(const ListEntries& entries, const QString& name) {
    for (const ListEntry& entry : entries) {
        if (entry.text.trimmed().compare(name, Qt::CaseInsensitive) == 0) {
            return entry.itemData;
        }
    }
    return -1;
}

} // namespace

VCardReading ReadVCards(const QByteArray& bytes) {
    return Reader().read(bytes);
}

QByteArray WriteVCard(const Contact& contact, const QStringList& categoryNames) {
    const auto& t = contact.texts;
    QByteArray out;
    PutLine(out, "BEGIN:VCARD");
    PutLine(out, "VERSION:4.0");
    QStringList display{t[Title], t[FirstName], t[MiddleName], t[LastName], t[Suffix]};
    display.removeAll(QString());
    PutLine(out, "FN:" + Escaped(display.isEmpty() ? contact.fileAs : display.join(u' ')));
    if (!display.isEmpty()) {
        PutLine(out, "N:" + Structured({t[LastName], t[FirstName], t[MiddleName], t[Title], t[Suffix]}));
    }
    if (!t[CompanyName].isEmpty() || !t[Department].isEmpty()) {
        PutLine(out, "ORG:" + Structured({t[CompanyName], t[Department]}));
    }
    for (const auto& [field, name] : {std::pair{JobTitle, "TITLE:"}, std::pair{Profession, "ROLE:"}}) {
        if (!t[field].isEmpty()) {
            PutLine(out, name + Escaped(t[field]));
        }
    }
    for (const SlotParameters& slot : kSlotParameters) {
        if (!t[slot.field].isEmpty()) {
            const bool preferred = contact.comDisplay == slot.field - kFirstSlot;
            PutLine(out, QByteArray(slot.parameters) + (preferred ? ";PREF=1:" : ":") + Escaped(t[slot.field]));
        }
    }
    for (const auto& [base, type] : {std::pair{HomeAddressStreet, "home"}, std::pair{BusinessAddressStreet, "work"},
                                     std::pair{OtherAddressStreet, ""}}) {
        if (!IsEmptyAddress(contact, base)) {
            PutLine(out, (*type ? QByteArray("ADR;TYPE=") + type : QByteArray("ADR")) + ":;;" +
                             Structured({t[base], t[base + 1], t[base + 2], t[base + 3], t[base + 4]}));
        }
    }
    if (contact.birthday.isValid()) {
        PutLine(out, "BDAY:" + contact.birthday.toString(QStringLiteral("yyyyMMdd")).toLatin1());
    }
    if (contact.anniversary.isValid()) {
        PutLine(out, "ANNIVERSARY:" + contact.anniversary.toString(QStringLiteral("yyyyMMdd")).toLatin1());
    }
    if (t[Gender] == u"M" || t[Gender] == u"F") {
        PutLine(out, "GENDER:" + t[Gender].toLatin1());
    }
    if (!t[Notes].isEmpty()) {
        PutLine(out, "NOTE:" + Escaped(t[Notes]));
    }
    if (!categoryNames.isEmpty()) {
        QByteArrayList names;
        for (const QString& name : categoryNames) {
            names << Escaped(name);
        }
        PutLine(out, "CATEGORIES:" + names.join(','));
    }
    PutLine(out, "END:VCARD");
    return out;
}

QByteArray VCardFile(const QVector<Contact>& contacts, const QString& categoryList) {
    const ListEntries list = ParsedList(categoryList);
    QByteArray out;
    for (const Contact& contact : contacts) {
        QStringList names;
        for (const int category : contact.categories) {
            const int at = IndexOfItemData(list, category);
            if (at >= 0) {
                names << list[at].text.trimmed();
            }
        }
        out += WriteVCard(contact, names);
    }
    return out;
}

QString ExportVCards(Store& store, const QVector<Contact>& contacts, const QString& path) {
    return exports::WriteExportFile(path, VCardFile(contacts, categories::LoadCategoryText(store, kContactSection)));
}

VCardImport ImportVCards(Store& store, const QVector<VCardEntry>& cards,
                         const std::function<bool(int done, int total)>& progress) {
    VCardImport outcome;
    ListEntries list = ParsedList(categories::LoadCategoryText(store, kContactSection));
    sqlite::Savepoint transaction(store.connection());
    if (sqlite::Error e = transaction.begin()) {
        outcome.result = Result::Engine(e.number);
        return outcome;
    }
    QVector<QVector<int>> filed;
    int added = 0;
    for (const VCardEntry& card : cards) {
        QVector<int> ids;
        for (const QString& raw : card.categories) {
            const QString name = raw.trimmed();
            int id = FindCategory(list, name);
            if (id < 0) {
                id = categories::NewCategoryId(list);
                if (id < 0) {
                    outcome.result = Result::Message(kNoFreeCategory);
                    return outcome;
                }
                list.append({name, id});
                ++added;
            }
            if (!ids.contains(id)) {
                ids.append(id);
            }
        }
        filed.append(ids);
    }
    if (added > 0) {
        if (const int e = categories::SaveCategoryList(store, list, kContactSection)) {
            outcome.result = Result::Engine(e);
            return outcome;
        }
    }
    const int total = static_cast<int>(cards.size());
    for (int i = 0; i < total; ++i) {
        Contact contact = cards[i].contact;
        contact.key = -1;
        contact.owner = store.user.level;
        contact.categories = filed[i];
        if (const Result r = StoreContact(store, contact); !r.ok()) {
            outcome.result = r;
            return outcome;
        }
        if (progress && !progress(i + 1, total)) {
            outcome.result = Result::Message(kImportAborted);
            return outcome;
        }
    }
    if (sqlite::Error e = transaction.release()) {
        outcome.result = Result::Engine(e.number);
        return outcome;
    }
    outcome.imported = total;
    outcome.categoriesAdded = added;
    return outcome;
}

} // namespace contacts

#include "sections/categories/categories.h"
#include "sections/contacts/contact_list.h"
#include "sections/contacts/vcard.h"
#include "support/section_fixture.h"

#include <QFile>

#include <sys/stat.h>

namespace {

using namespace contacts;

// A contact whose names lie outside Latin-1 and whose texts are long enough to be folded, with a comma, a
// semicolon, a backslash and line breaks to escape.
Contact Full() {
    Contact c;
    c.fileAs = QStringLiteral("\u041f\u0435\u0442\u0440\u043e\u0432\u0430, \u0410\u043d\u043d\u0430");
    c.birthday = QDate(1985, 3, 2);
    c.anniversary = QDate(2010, 6, 12);
    c.comDisplay = MobileTelephoneNumber - kFirstSlot;
    const std::pair<int, QString> texts[] = {
        {Title, QStringLiteral("Dr.")},
        {FirstName, QStringLiteral("\u0410\u043d\u043d\u0430")},
        {MiddleName, QStringLiteral("Zo\u00eb")},
        {LastName, QStringLiteral("\u041f\u0435\u0442\u0440\u043e\u0432\u0430")},
        {Suffix, QStringLiteral("Jr.")},
        {CompanyName, QStringLiteral("\u6771\u4eac Trading; Import, Export")},
        {Department, QStringLiteral("Research")},
        {JobTitle, QString(QStringLiteral("\u00e9\u00e8\u00ea\u00eb\u4eac") + QString(30, u'\u00fc'))},
        {Profession, QStringLiteral("Violinist")},
        {Gender, QStringLiteral("F")},
        {HomeAddressStreet, QStringLiteral("\u0443\u043b. \u0422\u0432\u0435\u0440\u0441\u043a\u0430\u044f 7\nFlat 3")},
        {HomeAddressCity, QStringLiteral("\u041c\u043e\u0441\u043a\u0432\u0430")},
        {HomeAddressPostalCode, QStringLiteral("125009")},
        {BusinessAddressCity, QStringLiteral("Berlin")},
        {BusinessAddressCountry, QStringLiteral("Germany")},
        {OtherAddressStreet, QStringLiteral("Postfach 12")},
        {BusinessTelephoneNumber, QStringLiteral("+49 30 1234-0")},
        {Business2TelephoneNumber, QStringLiteral("+49 30 1234-1")},
        {HomeTelephoneNumber, QStringLiteral("+7 495 555 01 99")},
        {OtherTelephoneNumber, QStringLiteral("555 0100")},
        {MobileTelephoneNumber, QStringLiteral("+7 916 555 01 42")},
        {BusinessFaxNumber, QStringLiteral("+49 30 1234-9")},
        {HomeFaxNumber, QStringLiteral("+7 495 555 01 98")},
        {Email1Address, QStringLiteral("anna@example.org")},
        {Email2Address, QStringLiteral("a.petrova@work.example")},
        {WebPage, QStringLiteral("https://anna.example.org/")},
        {BusinessHomePage, QStringLiteral("https://work.example/")},
        {PagerNumber, QStringLiteral("0800 1234")},
        {PrimaryTelephoneNumber, QStringLiteral("+7 495 555 00 00")},
        {CompanyMainTelephoneNumber, QStringLiteral("+49 30 1234-100")},
        {Notes,
         QStringLiteral("\u6771\u4eac\u3067\u4f1a\u3063\u305f, on a Tuesday; C:\\music\n\U0001F3BB plays the violin ") +
             QString(40, u'\u00df')}};
    for (const auto& [field, text] : texts) {
        c.texts[field] = text;
    }
    return c;
}

const QByteArray kCard30 = "BEGIN:VCARD\r\n"
                           "VERSION:3.0\r\n"
                           "N:M\xc3\xbcller;Hans;Peter;Dr.;\r\n"
                           "FN:Dr. Hans Peter M\xc3\xbcller\r\n"
                           "ORG:Kessel & S\xc3\xb6hne KG;Einkauf;Stahl\r\n"
                           "TITLE:Leiter des Einkaufs f\xc3\xbcr Stahl\\, Blech und alle anderen Werkstoffe im\r\n"
                           "  Werk Nord\r\n"
                           "TEL;TYPE=WORK,VOICE:+49 89 123456\r\n"
                           "TEL;TYPE=CELL;TYPE=PREF:+49 171 9876543\r\n"
                           "TEL;TYPE=WORK,FAX:+49 89 123457\r\n"
                           "TEL;TYPE=HOME:0911 1\r\n"
                           "TEL;TYPE=HOME:0911 2\r\n"
                           "TEL;TYPE=HOME:0911 3\r\n"
                           "TEL:0911 4\r\n"
                           "EMAIL;TYPE=INTERNET:hans.mueller@kessel.example\r\n"
                           "item1.ADR;TYPE=WORK:;;Industriestra\xc3\x9f"
                           "e 12;M\xc3\xbcnchen;Bayern;80331;Deutschland\r\n"
                           "ADR;TYPE=HOME;CHARSET=ISO-8859-1;ENCODING=QUOTED-PRINTABLE:;;Lindenallee 3=0D=0A=\r\n"
                           "Hinterhaus;N=FCrnberg;;90402;Deutschland\r\n"
                           "NOTE;ENCODING=QUOTED-PRINTABLE;CHARSET=UTF-8:Kennt Gie=C3=9Fereien.=0D=0A=\r\n"
                           "Zweite Zeile.\r\n"
                           "BDAY:1968-07-21T00:00:00Z\r\n"
                           "X-EVOLUTION-ANNIVERSARY:1990-05-01\r\n"
                           "X-ANNIVERSARY:1990-05-01\r\n"
                           "CLASS:PRIVATE\r\n"
                           "CATEGORIES:Lieferanten,Gesch\xc3\xa4\x66tlich,lieferanten\r\n"
                           "END:VCARD\r\n";

const QByteArray kCard40 =
    "BEGIN:VCARD\n"
    "VERSION:4.0\n"
    "FN:\xd0\x90\xd0\xbd\xd0\xbd\xd0\xb0 \xd0\x9f\xd0\xb5\xd1\x82\xd1\x80\xd0\xbe\xd0\xb2\xd0\xb0\n"
    "TEL;VALUE=uri;TYPE=\"voice,home\":tel:+7-495-555-0199\n"
    "TEL;VALUE=uri;TYPE=\"cell,voice\";PREF=1:tel:+7-495-555-0142\n"
    "TEL;TYPE=pager:0800 1\n"
    "TEL;TYPE=fax:0800 2\n"
    "EMAIL;TYPE=work:anna@example.org\n"
    "URL;TYPE=work:https://work.example/\n"
    "URL:https://anna.example.org/\n"
    "ADR;LABEL=\"Moskva^nRussia\":;;ul. Tverskaya\\, 7;Moskva;;125009;Russia\n"
    "BDAY:19850302\n"
    "GENDER:F\n"
    "END:VCARD\n";

QString Reasons(const VCardReading& r) {
    QStringList lines;
    for (const VCardSkip& s : r.skipped) {
        lines << QStringLiteral("%1: %2").arg(s.line).arg(s.reason);
    }
    return lines.join(u'\n');
}

QByteArray Card(const QByteArray& body, const QByteArray& version = "3.0") {
    return "BEGIN:VCARD\r\nVERSION:" + version + "\r\nFN:Someone\r\n" + body + "END:VCARD\r\n";
}

} // namespace

class TestVCard : public SectionFixture {
    Q_OBJECT

    QVector<std::int32_t> contactKeys() {
        QVector<std::int32_t> keys;
        sqlite::Statement select = store().connection().prepare("SELECT fPK FROM tt WHERE fSec=? ORDER BY fPK");
        select.bind(1, static_cast<std::int64_t>(kContactSection));
        while (select.step()) {
            keys << static_cast<std::int32_t>(select.int64(0));
        }
        return keys;
    }

private Q_SLOTS:
    void init() { QVERIFY(freshFile()); }

    // What goes out comes back: every field the format carries, through folding and escaping.
    void roundTrip() {
        const Contact c = Full();
        const QStringList names{QStringLiteral("Friends"),
                                QStringLiteral("\u0414\u0440\u0443\u0437\u044c\u044f, \u0438")};
        const QByteArray card = WriteVCard(c, names);
        QVERIFY(card.endsWith("END:VCARD\r\n"));
        QList<QByteArray> lines = card.split('\n');
        QCOMPARE(lines.takeLast(), QByteArray());
        bool folded = false;
        for (const QByteArray& line : lines) {
            QVERIFY2(line.endsWith('\r'), line.constData());
            QVERIFY2(line.size() - 1 <= 75, line.constData());
            // No character is cut: every physical line is UTF-8 by itself.
            QVERIFY(QString::fromUtf8(line).toUtf8() == line);
            folded = folded || line.startsWith(' ');
        }
        QVERIFY(folded);
        const VCardReading read = ReadVCards(card);
        QCOMPARE(Reasons(read), QString());
        QCOMPARE(read.cards.size(), 1);
        const Contact& back = read.cards[0].contact;
        for (int field = 0; field < kFieldCount; ++field) {
            QCOMPARE(back.texts[field], c.texts[field]);
        }
        QCOMPARE(back.fileAs, c.fileAs);
        QCOMPARE(back.birthday, c.birthday);
        QCOMPARE(back.anniversary, c.anniversary);
        QCOMPARE(back.comDisplay, c.comDisplay);
        QCOMPARE(read.cards[0].categories, names);
    }

    void samples_data() {
        QTest::addColumn<QByteArray>("file");
        QTest::addColumn<int>("field");
        QTest::addColumn<QString>("expected");
        const auto row = [](const char* name, const QByteArray& file, int field, const QString& expected) {
            QTest::newRow(name) << file << field << expected;
        };
        row("3.0 family name", kCard30, LastName, QStringLiteral("M\u00fcller"));
        row("3.0 given name", kCard30, FirstName, QStringLiteral("Hans"));
        row("3.0 middle name", kCard30, MiddleName, QStringLiteral("Peter"));
        row("3.0 prefix", kCard30, Title, QStringLiteral("Dr."));
        row("3.0 company", kCard30, CompanyName, QStringLiteral("Kessel & S\u00f6hne KG"));
        row("3.0 units", kCard30, Department, QStringLiteral("Einkauf, Stahl"));
        row("3.0 folded title", kCard30, JobTitle,
            QStringLiteral("Leiter des Einkaufs f\u00fcr Stahl, Blech und alle anderen Werkstoffe im Werk Nord"));
        row("3.0 work phone", kCard30, BusinessTelephoneNumber, QStringLiteral("+49 89 123456"));
        row("3.0 cell", kCard30, MobileTelephoneNumber, QStringLiteral("+49 171 9876543"));
        row("3.0 work fax", kCard30, BusinessFaxNumber, QStringLiteral("+49 89 123457"));
        row("3.0 home", kCard30, HomeTelephoneNumber, QStringLiteral("0911 1"));
        row("3.0 second home", kCard30, Home2TelephoneNumber, QStringLiteral("0911 2"));
        row("3.0 third home to other", kCard30, OtherTelephoneNumber, QStringLiteral("0911 3"));
        row("3.0 mail", kCard30, Email1Address, QStringLiteral("hans.mueller@kessel.example"));
        row("3.0 grouped work street", kCard30, BusinessAddressStreet, QStringLiteral("Industriestra\u00dfe 12"));
        row("3.0 work city", kCard30, BusinessAddressCity, QStringLiteral("M\u00fcnchen"));
        row("3.0 work state", kCard30, BusinessAddressState, QStringLiteral("Bayern"));
        row("3.0 work code", kCard30, BusinessAddressPostalCode, QStringLiteral("80331"));
        row("3.0 work country", kCard30, BusinessAddressCountry, QStringLiteral("Deutschland"));
        row("3.0 quoted-printable Latin-1 street", kCard30, HomeAddressStreet,
            QStringLiteral("Lindenallee 3\nHinterhaus"));
        row("3.0 quoted-printable Latin-1 city", kCard30, HomeAddressCity, QStringLiteral("N\u00fcrnberg"));
        row("3.0 quoted-printable note", kCard30, Notes, QStringLiteral("Kennt Gie\u00dfereien.\nZweite Zeile."));
        row("4.0 no N: names stay empty", kCard40, FirstName, QString());
        row("4.0 home uri", kCard40, HomeTelephoneNumber, QStringLiteral("+7-495-555-0199"));
        row("4.0 cell uri", kCard40, MobileTelephoneNumber, QStringLiteral("+7-495-555-0142"));
        row("4.0 pager", kCard40, PagerNumber, QStringLiteral("0800 1"));
        row("4.0 untyped fax", kCard40, OtherFaxNumber, QStringLiteral("0800 2"));
        row("4.0 mail", kCard40, Email1Address, QStringLiteral("anna@example.org"));
        row("4.0 work web", kCard40, BusinessHomePage, QStringLiteral("https://work.example/"));
        row("4.0 web", kCard40, WebPage, QStringLiteral("https://anna.example.org/"));
        row("4.0 untyped address to other", kCard40, OtherAddressStreet, QStringLiteral("ul. Tverskaya, 7"));
        row("4.0 other country", kCard40, OtherAddressCountry, QStringLiteral("Russia"));
        row("4.0 gender", kCard40, Gender, QStringLiteral("F"));
    }
    void samples() {
        QFETCH(QByteArray, file);
        QFETCH(int, field);
        QFETCH(QString, expected);
        const VCardReading read = ReadVCards(file);
        QCOMPARE(read.cards.size(), 1);
        QCOMPARE(read.cards[0].contact.texts[field], expected);
    }

    void sampleCardWide() {
        const VCardReading v3 = ReadVCards(kCard30);
        QCOMPARE(v3.cards.size(), 1);
        const VCardEntry& hans = v3.cards[0];
        // The fourth voice number has no free slot: it alone is left out, and says where.
        QCOMPARE(Reasons(v3), QStringLiteral("14: TEL: no free slot for another number of this kind"));
        QCOMPARE(hans.contact.fileAs, QStringLiteral("M\u00fcller, Hans"));
        QCOMPARE(hans.contact.birthday, QDate(1968, 7, 21));
        QCOMPARE(hans.contact.anniversary, QDate(1990, 5, 1));
        QVERIFY(hans.contact.isPrivate);
        QCOMPARE(hans.contact.comDisplay, MobileTelephoneNumber - kFirstSlot);
        QCOMPARE(hans.categories, (QStringList{QStringLiteral("Lieferanten"), QStringLiteral("Gesch\u00e4\x66tlich")}));

        const VCardReading v4 = ReadVCards(kCard40);
        QCOMPARE(Reasons(v4), QString());
        const Contact& anna = v4.cards[0].contact;
        QCOMPARE(anna.fileAs, QStringLiteral("\u0410\u043d\u043d\u0430 \u041f\u0435\u0442\u0440\u043e\u0432\u0430"));
        QCOMPARE(anna.birthday, QDate(1985, 3, 2));
        QCOMPARE(anna.comDisplay, MobileTelephoneNumber - kFirstSlot);
        QVERIFY(!anna.isPrivate);
    }

    void escaping_data() {
        QTest::addColumn<QByteArray>("line");
        QTest::addColumn<int>("field");
        QTest::addColumn<QString>("expected");
        QTest::newRow("line break") << QByteArray("NOTE:a\\nb\\Nc") << int(Notes) << QStringLiteral("a\nb\nc");
        QTest::newRow("comma, semicolon, backslash")
            << QByteArray("NOTE:a\\,b\\;c\\\\d") << int(Notes) << QStringLiteral("a,b;c\\d");
        QTest::newRow("unknown escape kept") << QByteArray("NOTE:C:\\temp") << int(Notes) << QStringLiteral("C:\\temp");
        QTest::newRow("escaped separator in a component")
            << QByteArray("N:Smith\\;Jones;Ann") << int(LastName) << QStringLiteral("Smith;Jones");
        QTest::newRow("component after it")
            << QByteArray("N:Smith\\;Jones;Ann") << int(FirstName) << QStringLiteral("Ann");
        QTest::newRow("values of a component")
            << QByteArray("N:Ng;Mei;Ling,Yu;;") << int(MiddleName) << QStringLiteral("Ling Yu");
        QTest::newRow("quoted parameter with separators")
            << QByteArray("TEL;X-LABEL=\"a;b:c\";TYPE=cell:1") << int(MobileTelephoneNumber) << QStringLiteral("1");
        QTest::newRow("tel marked as text keeps its scheme")
            << QByteArray("TEL;VALUE=text:tel:5") << int(OtherTelephoneNumber) << QStringLiteral("tel:5");
        QTest::newRow("2.1 bare types") << QByteArray("TEL;WORK;FAX:7") << int(BusinessFaxNumber)
                                        << QStringLiteral("7");
        QTest::newRow("windows-1252") << QByteArray("NOTE;CHARSET=WINDOWS-1252:\x80 5") << int(Notes)
                                      << QStringLiteral("\u20ac 5");
        // A value may begin with the byte-order mark's character; it is text like any other, not a file's mark.
        QTest::newRow("leading U+FEFF kept")
            << QByteArray("NOTE:\xEF\xBB\xBFx") << int(Notes) << QStringLiteral("\uFEFFx");
    }
    void escaping() {
        QFETCH(QByteArray, line);
        QFETCH(int, field);
        QFETCH(QString, expected);
        const VCardReading read = ReadVCards(Card(line + "\r\n"));
        QCOMPARE(Reasons(read), QString());
        QCOMPARE(read.cards.size(), 1);
        QCOMPARE(read.cards[0].contact.texts[field], expected);
    }

    void writerEscapes() {
        Contact c;
        c.fileAs = QStringLiteral("x");
        c.texts[Notes] = QStringLiteral("a,b;c\\d\r\ne");
        c.texts[CompanyName] = QStringLiteral("A;B");
        const QByteArray card = WriteVCard(c, {QStringLiteral("x,y")});
        QVERIFY(card.contains("\r\nNOTE:a\\,b\\;c\\\\d\\ne\r\n"));
        QVERIFY(card.contains("\r\nORG:A\\;B;\r\n"));
        QVERIFY(card.contains("\r\nCATEGORIES:x\\,y\r\n"));
        QVERIFY(card.contains("\r\nFN:x\r\n"));
        QVERIFY(!card.contains("\r\nN:"));
    }

    void hostile_data() {
        QTest::addColumn<QByteArray>("file");
        QTest::addColumn<int>("cards");
        QTest::addColumn<QString>("refusal");
        QTest::addColumn<QString>("skipped");
        const QByteArray good = Card("EMAIL:a@b.example\r\n");
        QTest::newRow("too big") << QByteArray(kVCardMaxBytes + 1, ' ') << 0
                                 << QStringLiteral("The file is larger than 32 MB: no address book is that big.")
                                 << QString();
        QTest::newRow("too many cards")
            << QByteArray("BEGIN:VCARD\nVERSION:4.0\nFN:a\nEND:VCARD\n").repeated(kVCardMaxCards + 1) << 0
            << QStringLiteral("The file holds more than 50000 cards.") << QString();
        QTest::newRow("no card") << QByteArray("\x89PNG\r\n\x1a\n\0\0garbage", 17) << 0
                                 << QStringLiteral("The file holds no BEGIN:VCARD line: it is not a vCard file.")
                                 << QString();
        QTest::newRow("line too long") << Card("NOTE:" + QByteArray(kVCardMaxLineBytes, 'x') + "\r\n") << 1 << QString()
                                       << QStringLiteral("4: the line is longer than 1048576 bytes");
        QTest::newRow("folded past the limit")
            << Card("NOTE:x\r\n" + QByteArray(" xxxxxxxxxxxxxxx\r\n").repeated(kVCardMaxLineBytes / 15)) << 1
            << QString() << QStringLiteral("4: the line is longer than 1048576 bytes");
        QTest::newRow("no end") << good + "BEGIN:VCARD\r\nVERSION:3.0\r\nFN:x\r\n"
                                << 1 << QString() << QStringLiteral("6: card dropped: it has no END:VCARD");
        QTest::newRow("card inside a card") << "BEGIN:VCARD\r\nVERSION:3.0\r\nFN:outer\r\n" + good << 1 << QString()
                                            << QStringLiteral("1: card dropped: a card begins inside it at line 4");
        QTest::newRow("other object inside")
            << "BEGIN:VCARD\r\nVERSION:3.0\r\nBEGIN:VEVENT\r\nEND:VEVENT\r\nFN:x\r\nEND:VCARD\r\n" + good << 1
            << QString() << QStringLiteral("1: card dropped: an object begins inside it at line 3");
        QTest::newRow("end without begin")
            << "END:VCARD\r\n" + good << 1 << QString() << QStringLiteral("1: END:VCARD outside a card");
        QTest::newRow("unknown version") << Card("", "5.0") << 0 << QString()
                                         << QStringLiteral("1: card dropped: version 5.0 is not one this reader knows");
        QTest::newRow("no version") << QByteArray("BEGIN:VCARD\r\nFN:x\r\nEND:VCARD\r\n") << 0 << QString()
                                    << QStringLiteral("1: card dropped: it has no VERSION");
        QTest::newRow("nothing to keep") << QByteArray("BEGIN:VCARD\r\nVERSION:4.0\r\nUID:1\r\nEND:VCARD\r\n") << 0
                                         << QString()
                                         << QStringLiteral("1: card dropped: the card holds nothing to keep");
        QTest::newRow("not UTF-8") << Card("NOTE:\xc3\x28\r\n") << 1 << QString()
                                   << QStringLiteral("4: NOTE: the value is not UTF-8");
        QTest::newRow("overlong UTF-8") << Card("NOTE:\xc0\xaf\r\n") << 1 << QString()
                                        << QStringLiteral("4: NOTE: the value is not UTF-8");
        QTest::newRow("broken quoted-printable") << Card("NOTE;ENCODING=QUOTED-PRINTABLE:a=Zb\r\n") << 1 << QString()
                                                 << QStringLiteral("4: NOTE: the quoted-printable value is broken");
        QTest::newRow("binary") << Card("NOTE;ENCODING=b:AAAA\r\n") << 1 << QString()
                                << QStringLiteral("4: NOTE: the value is encoded as B, not as text");
        QTest::newRow("unknown charset") << Card("NOTE;CHARSET=KOI8-R:x\r\n") << 1 << QString()
                                         << QStringLiteral("4: NOTE: the character set KOI8-R is not supported");
        QTest::newRow("control character") << Card("NOTE:a\x01z\r\n") << 1 << QString()
                                           << QStringLiteral("4: NOTE: the value holds a control character");
        QTest::newRow("unclosed quote") << Card("TEL;TYPE=\"cell:1\r\n") << 1 << QString()
                                        << QStringLiteral("4: a quoted parameter value is not closed");
        QTest::newRow("no colon") << Card("NOTE\r\n") << 1 << QString()
                                  << QStringLiteral("4: no \":\" ends the property name and parameters");
        QTest::newRow("bad name") << Card("NO TE:x\r\n") << 1 << QString()
                                  << QStringLiteral("4: the property name is not valid");
        QTest::newRow("date without year") << Card("BDAY:--0314\r\n") << 1 << QString()
                                           << QStringLiteral("4: BDAY: not a full date from year 1000 to 4500");
        QTest::newRow("impossible date") << Card("BDAY:2001-02-30\r\n") << 1 << QString()
                                         << QStringLiteral("4: BDAY: not a full date from year 1000 to 4500");
        QTest::newRow("fourth mail") << Card("EMAIL:a@x\r\nEMAIL:b@x\r\nEMAIL:c@x\r\nEMAIL:d@x\r\n") << 1 << QString()
                                     << QStringLiteral("7: EMAIL: no free slot for a fourth mail address");
        QTest::newRow("category with a separator") << Card("CATEGORIES:a\\;b\r\n") << 1 << QString()
                                                   << QStringLiteral("4: CATEGORIES: ") + categories::NameRefusal();
        QTest::newRow("N twice") << Card("N:a;b\r\nN:c;d\r\n") << 1 << QString() << QStringLiteral("5: N: given twice");
    }
    void hostile() {
        QFETCH(QByteArray, file);
        QFETCH(int, cards);
        QFETCH(QString, refusal);
        QFETCH(QString, skipped);
        const VCardReading read = ReadVCards(file);
        QCOMPARE(read.refusal, refusal);
        QCOMPARE(Reasons(read), skipped);
        QCOMPARE(read.cards.size(), cards);
    }

    void skipsAreCapped() {
        const VCardReading read = ReadVCards(Card(QByteArray("NOTE\r\n").repeated(kVCardMaxReportedSkips + 7)));
        QCOMPARE(read.skipped.size(), kVCardMaxReportedSkips);
        QCOMPARE(read.skippedCount, kVCardMaxReportedSkips + 7);
        QCOMPARE(read.cards.size(), 1);
    }

    // Names match the reader's list trimmed and regardless of case; a new one is added once.
    void importIntoFreshFile() {
        QCOMPARE(categories::SaveCategoryText(store(), QStringLiteral(" Lieferanten ;4;Family;2"), kContactSection), 0);
        const VCardReading read = ReadVCards(kCard30 + kCard40 + Card("CATEGORIES:gesch\xc3\xa4\x66tlich\r\n"));
        QCOMPARE(read.cards.size(), 3);
        QVector<int> steps;
        const VCardImport done = ImportVCards(store(), read.cards, [&](int n, int total) {
            steps << n * 10 + total;
            return true;
        });
        QVERIFY(done.result.ok());
        QCOMPARE(done.imported, 3);
        QCOMPARE(done.categoriesAdded, 1);
        QCOMPARE(steps, (QVector<int>{13, 23, 33}));
        QCOMPARE(categories::LoadCategoryText(store(), kContactSection),
                 QStringLiteral(" Lieferanten ;4;Family;2;Gesch\u00e4\x66tlich;1"));
        const QVector<std::int32_t> keys = contactKeys();
        QCOMPARE(keys.size(), 3);
        const std::optional<Contact> hans = LoadContact(store(), keys[0]);
        QVERIFY(hans);
        QCOMPARE(hans->fileAs, QStringLiteral("M\u00fcller, Hans"));
        QCOMPARE(hans->categories, (QVector<int>{4, 1}));
        QCOMPARE(hans->owner, store().user.level);
        QCOMPARE(hans->texts[HomeAddressCity], QStringLiteral("N\u00fcrnberg"));
        QCOMPARE(hans->birthday, QDate(1968, 7, 21));
        QVERIFY(hans->isPrivate);
        QCOMPARE(LoadContact(store(), keys[1])->categories, QVector<int>{});
        QCOMPARE(LoadContact(store(), keys[2])->categories, QVector<int>{1});
        showPrivate(true);
        QCOMPARE(ListContacts(store(), 1).size(), 2);
    }

    void failedImport_data() {
        QTest::addColumn<int>("how");
        QTest::addColumn<int>("kind");
        QTest::addColumn<int>("number");
        QTest::newRow("stopped at the second card") << 0 << int(Result::Kind::Message) << 9;
        QTest::newRow("engine fails at the second card") << 1 << int(Result::Kind::Engine) << 3146;
        QTest::newRow("no free category number") << 2 << int(Result::Kind::Message) << 52;
    }
    // Whatever stops an import, the file is as it was: no contact and no category of it stays.
    void failedImport() {
        QFETCH(int, how);
        QFETCH(int, kind);
        QFETCH(int, number);
        QString list = QStringLiteral("Family;2");
        if (how == 2) {
            QStringList items;
            for (int id = 1; id <= 9998; ++id) {
                items << QStringLiteral("c%1").arg(id) << QString::number(id);
            }
            list = items.join(u';');
        }
        QCOMPARE(categories::SaveCategoryText(store(), list, kContactSection), 0);
        Contact kept;
        kept.fileAs = QStringLiteral("Already here");
        QVERIFY(StoreContact(store(), kept).ok());
        if (how == 1) {
            QVERIFY(!store().connection().exec(
                "CREATE TEMP TRIGGER nct_full BEFORE INSERT ON tt WHEN (SELECT COUNT(*) FROM tt WHERE fSec=11) >= 2 "
                "BEGIN SELECT RAISE(ABORT, 'full'); END"));
        }
        const VCardReading read = ReadVCards(kCard30 + kCard40);
        const VCardImport done = ImportVCards(store(), read.cards, [&](int n, int) { return how != 0 || n < 2; });
        QCOMPARE(int(done.result.kind()), kind);
        QCOMPARE(done.result.number(), number);
        QCOMPARE(done.imported, 0);
        QCOMPARE(contactKeys(), QVector<std::int32_t>{kept.key});
        QCOMPARE(categories::LoadCategoryText(store(), kContactSection), list);
    }

    void exportOwnerOnly() {
        Contact c = Full();
        c.categories = {2, 9};
        const QString path = m_dir->filePath(QStringLiteral("out.vcf"));
        QCOMPARE(categories::SaveCategoryText(store(), QStringLiteral("Family;2;Work;7"), kContactSection), 0);
        QCOMPARE(ExportVCards(store(), {c, c}, path), QString());
        struct stat info {};
        QCOMPARE(::stat(QFile::encodeName(path).constData(), &info), 0);
        QCOMPARE(info.st_mode & 0777, 0600u);
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadOnly));
        const VCardReading read = ReadVCards(file.readAll());
        QCOMPARE(read.cards.size(), 2);
        QCOMPARE(read.cards[1].categories, QStringList{QStringLiteral("Family")});
        QCOMPARE(read.cards[1].contact.texts, c.texts);
    }
};

NCT_TEST_MAIN(TestVCard)
#include "tst_vcard.moc"

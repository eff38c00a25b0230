#include "sections/categories/categories.h"
#include "sections/contacts/contact.h"
#include "sections/contacts/contact_classify.h"
#include "sections/contacts/contact_list.h"
#include "sections/contacts/contact_pane.h"
#include "store/field_descriptor.h"
#include "store/random_source.h"
#include "support/section_fixture.h"

namespace {

using namespace contacts;

const QString kRule(38, u'_');

// A contact as a person fills one in: not every field, some texts outside code page 1252, a user field past
// the fourth and a reserved slot, which the pane never shows.
Contact Full() {
    Contact c;
    c.fileAs = QStringLiteral("Dubois, Zo\u00eb");
    c.isPrivate = true;
    c.birthday = QDate(1980, 3, 14);
    c.comDisplay = MobileTelephoneNumber - kFirstSlot;
    c.categories = {4, 9, 2};
    const std::pair<int, const char16_t*> texts[] = {{Title, u"Dr."},
                                                     {FirstName, u"Zo\u00eb"},
                                                     {LastName, u"Dubois"},
                                                     {Suffix, u"Jr."},
                                                     {JobTitle, u"Cryptographer"},
                                                     {CompanyName, u"Marrowline GmbH"},
                                                     {Department, u"Research"},
                                                     {HomeAddressStreet, u"Rue de la Paix 5"},
                                                     {HomeAddressCity, u"Paris"},
                                                     {HomeAddressState, u"IDF"},
                                                     {HomeAddressPostalCode, u"75002"},
                                                     {HomeAddressCountry, u"France"},
                                                     {BusinessAddressCity, u"Berlin"},
                                                     {BusinessAddressCountry, u"Germany"},
                                                     {BusinessTelephoneNumber, u"+49 30 1234-0"},
                                                     {MobileTelephoneNumber, u"0171 555 12 34"},
                                                     {Email1Address, u"zoe@marrowline.example"},
                                                     {Email3Address, u"Zo\u00eb <z.dubois@mail.example>"},
                                                     {WebPage, u"www.marrowline.example"},
                                                     {reserveCom0, u"reserved"},
                                                     {GovernmentIDNumber, u"X-123"},
                                                     {Spouse, u"\u0410\u043d\u043d\u0430"},
                                                     {User1, u"42"},
                                                     {User5, u"never on the pane"},
                                                     {Notes, u"Met at the conference.\nLikes tea.\n"}};
    for (const auto& [field, text] : texts) {
        c.texts[field] = QString::fromUtf16(text);
    }
    return c;
}

const QStringList kUserLabels{"Shoe size", "Pet", "Club", "Locker", "Fifth", "Sixth", "Seventh", "Eighth", "Ninth"};
const QString kCategoryList = QStringLiteral("Family;2;Friends;4;Work;7");

QStringList Names(const QVector<ListItem>& items) {
    QStringList names;
    for (const ListItem& item : items) {
        names << item.name;
    }
    return names;
}

} // namespace

class TestContacts : public SectionFixture {
    Q_OBJECT

    std::int32_t stored(Contact contact) {
        contact.owner = store().user.level;
        return StoreContact(store(), contact).ok() ? contact.key : -1;
    }
    std::int32_t named(const QString& fileAs, QVector<int> categories = {}) {
        Contact c;
        c.fileAs = fileAs;
        c.categories = std::move(categories);
        return stored(c);
    }
    void setColumns(std::int32_t key, const char* assignments, const QVariant& a, const QVariant& b = {}) {
        sqlite::Statement update =
            store().connection().prepare(QByteArray("UPDATE tt SET ") + assignments + " WHERE fPK=?3");
        update.bindVariant(1, a).bindVariant(2, b).bind(3, static_cast<std::int64_t>(key));
        QVERIFY(update.step() || !update.error());
    }
    QByteArray opened(std::int32_t key, Col column) {
        return store().cry.Cipher(key, 2, ReadRow(store().connection(), key)->bytes(column));
    }

private Q_SLOTS:
    void init() { QVERIFY(freshFile()); }

    // Names and types at their indexes, as every reader of the format expects them.
    void descriptor() {
        const FieldDescriptor d = ParseFieldDescriptor(ContactDescriptor());
        const QStringList names =
            QStringLiteral(
                "Owner Private Priority Title FirstName MiddleName LastName Suffix CompanyName Department JobTitle "
                "BusinessAddressStreet BusinessAddressCity BusinessAddressState BusinessAddressPostalCode "
                "BusinessAddressCountry HomeAddressStreet HomeAddressCity HomeAddressState HomeAddressPostalCode "
                "HomeAddressCountry OtherAddressStreet OtherAddressCity OtherAddressState OtherAddressPostalCode "
                "OtherAddressCountry Account Anniversary BillingInformation Birthday Children Gender "
                "GovernmentIDNumber Profession Spouse OrganizationalIDNumber CustomerID User1 User2 User3 User4 "
                "User5 User6 User7 User8 User9 BusinessTelephoneNumber Business2TelephoneNumber "
                "HomeTelephoneNumber Home2TelephoneNumber OtherTelephoneNumber MobileTelephoneNumber "
                "Mobile2TelephoneNumber BusinessFaxNumber HomeFaxNumber OtherFaxNumber Email1Address Email2Address "
                "Email3Address WebPage BusinessHomePage PersonalHomePage Chat1 Chat2 PagerNumber "
                "PrimaryTelephoneNumber CompanyMainTelephoneNumber reserveCom0 reserveCom1 reserveCom2 ComDisplay "
                "ComSort Notes OutlookItemID")
                .split(u' ');
        QCOMPARE(d.names, names);
        const QMap<int, int> notText{{Owner, 2},     {Private, 1},    {Priority, 2}, {Anniversary, 25},
                                     {Birthday, 25}, {ComDisplay, 2}, {Notes, 12}};
        for (int field = 0; field < kFieldCount; ++field) {
            QCOMPARE(int(d.types[field]), notText.value(field, 10));
        }
        QCOMPARE(d.names[kFirstSlot + kShownSlots - 1], QStringLiteral("CompanyMainTelephoneNumber"));
        QCOMPARE(d.names[kFirstMailSlot], QStringLiteral("Email1Address"));
        QCOMPARE(SlotLabel(kFirstMailSlot - kFirstSlot), QStringLiteral("E-Mail"));
    }

    // Every field comes back from the file as it went in, and the plain columns hold exactly what the list and
    // the mail list read; an edit rewrites them all.
    void roundTripThroughTheFile() {
        Contact c = Full();
        const FieldDescriptor d = ParseFieldDescriptor(ContactDescriptor());
        for (int field = 0; field < kFieldCount; ++field) {
            const bool text = d.types[field] == FieldType::Text || d.types[field] == FieldType::LongText;
            if (text && c.texts[field].isEmpty()) {
                c.texts[field] = QStringLiteral("\u6771\u4eac %1").arg(field);
            }
        }
        c.anniversary = QDate(2001, 6, 30);
        c.priority = 1;
        const std::int32_t key = stored(c);
        QVERIFY(key > 0);
        QVERIFY(reopen(kFirstUser));
        Result result;
        const std::optional<Contact> back = LoadContact(store(), key, &result);
        QCOMPARE(result, Result());
        QVERIFY(back);
        QCOMPARE(back->texts, c.texts);
        QCOMPARE(back->fileAs, c.fileAs);
        QCOMPARE(back->birthday, c.birthday);
        QCOMPARE(back->anniversary, c.anniversary);
        QCOMPARE(back->categories, c.categories);
        QVERIFY(back->isPrivate && back->priority == 1 && back->comDisplay == 5 && back->owner == 0);

        const Row row = *ReadRow(store().connection(), key);
        QCOMPARE(row.integer(Col::fSec), kContactSection);
        QCOMPARE(row.bytes(Col::fT5), QByteArray("4 9 2"));
        QCOMPARE(row.integer(Col::fG1), 4);
        QCOMPARE(row.integer(Col::fF3), 1);
        QCOMPARE(row.integer(Col::fR5), 0);
        QCOMPARE(row.integer(Col::AE) & 1, 1);
        QVERIFY(row.integer(Col::fR1) | row.integer(Col::fR2) | row.integer(Col::fR3) | row.integer(Col::fR4));
        QCOMPARE(opened(key, Col::fT1), QByteArray("\x00\x01", 2) + codepage::ToBytes(c.fileAs));
        QCOMPARE(opened(key, Col::fT2), QByteArray("\x00\x01"
                                                   "0171 555 12 34  [Mobile]",
                                                   26));
        QCOMPARE(opened(key, Col::fT3), QByteArray("\x02zoe@marrowline.example;z.dubois@mail.example"));
        const QByteArray blob = opened(key, Col::fEtx);
        QCOMPARE(blob, ContactBlob(c));
        // Birthday before the calendar's minute base counts back from it.
        QVERIFY(blob.contains(QByteArray::fromHex("1d19a07077ff")));
        QVERIFY(!plainInRow(key, QStringLiteral("Dubois")) && !plainInRow(key, QStringLiteral("marrowline")));

        Contact edit = *back;
        edit.categories.clear();
        edit.birthday = QDate();
        edit.comDisplay = 2;
        for (const int mail : {Email1Address, Email2Address, Email3Address}) {
            edit.texts[mail] = QStringLiteral("no address");
        }
        edit.texts[HomeTelephoneNumber].clear();
        setColumns(key, "fR5=?1", 7);
        QCOMPARE(StoreContact(store(), edit), Result());
        QCOMPARE(edit.key, key);
        const Row after = *ReadRow(store().connection(), key);
        QCOMPARE(after.bytes(Col::fT5), QByteArray(""));
        QCOMPARE(after.integer(Col::fG1), 0);
        QCOMPARE(after.integer(Col::fF3), 0);
        QCOMPARE(after.integer(Col::fR5), 0);
        QVERIFY(Record_Get::OpenTitle(store().cry, key, after.bytes(Col::fT2), store().titleAccess()).isEmpty());
        const QByteArray noMail = opened(key, Col::fT3);
        QVERIFY(noMail.startsWith('\0') && noMail.size() >= 10 && noMail.size() <= 17);
        // The blank date is kept as the far date and read as none.
        QVERIFY(opened(key, Col::fEtx).contains(QByteArray::fromHex("1d19a0c07d4e")));
        QCOMPARE(LoadContact(store(), key)->birthday, QDate());
        QCOMPARE(NoDate(), QDate(4501, 1, 1));
    }

    void loadResults() {
        const std::int32_t key = named(QStringLiteral("Anouk"));
        Contact untitled;
        QCOMPARE(StoreContact(store(), untitled), Result::Message(15));
        Result result;
        QVERIFY(!LoadContact(store(), key + 100, &result));
        QCOMPARE(result, Result::Message(31));
        setColumns(key, "fEtx=?1", QByteArray("\x01"));
        QVERIFY(!LoadContact(store(), key, &result));
        QCOMPARE(result, Result::Message(31));
        // A row with fG1 but no category list is read as filed by fG1.
        const std::int32_t legacy = named(QStringLiteral("Bram"));
        setColumns(legacy, "fT5=?1, fG1=?2", QByteArray(""), 3);
        QCOMPARE(LoadContact(store(), legacy)->categories, QVector<int>{3});
    }

    void pane() {
        const ContactPane pane = ShowContactPane(Full(), kUserLabels, kCategoryList);
        QCOMPARE(pane.name, QStringLiteral("Dr. Dubois, Zo\u00eb Jr."));
        const QString golden = QStringLiteral("Cryptographer\n"
                                              "Marrowline GmbH\n"
                                              "Research\n") +
                               kRule +
                               QStringLiteral("\nWork:\t+49 30 1234-0\n"
                                              "Mobile:\t0171 555 12 34\n"
                                              "E-Mail:\tzoe@marrowline.example\n"
                                              "E-Mail 3:\tZo\u00eb <z.dubois@mail.example>\n"
                                              "Website:\twww.marrowline.example\n"
                                              "Home   :\n"
                                              "Rue de la Paix 5\n"
                                              "Paris, IDF 75002\n"
                                              "France\n"
                                              "Work   :\n"
                                              "Berlin\n"
                                              "Germany\n"
                                              "Gov. ID:\tX-123\n"
                                              "Birthday:\t3/14/1980\n"
                                              "Spouse:\t\u0410\u043d\u043d\u0430\n"
                                              "Shoe size:\t42\n"
                                              "Note:\n"
                                              "Met at the conference.\n"
                                              "Likes tea.\n") +
                               kRule + QStringLiteral("\nCategory:    Friends, Family");
        QCOMPARE(pane.text(), golden);
        QStringList headings;
        for (const PaneLine& line : pane.lines) {
            if (!line.heading.isEmpty()) {
                headings << line.heading;
            }
        }
        QCOMPARE(headings,
                 (QStringList{kRule, "Work:", "Mobile:", "E-Mail:", "E-Mail 3:", "Website:", "Home   :", "Work   :",
                              "Gov. ID:", "Birthday:", "Spouse:", "Shoe size:", "Note:", kRule, "Category:"}));

        Contact bare;
        bare.fileAs = QStringLiteral("Bram");
        bare.texts[Suffix] = QStringLiteral("Sr.");
        bare.texts[Title] = QStringLiteral(" ");
        bare.texts[OtherAddressCountry] = QStringLiteral("Belgium");
        const ContactPane empty = ShowContactPane(bare, kUserLabels, {});
        QCOMPARE(empty.name, QStringLiteral("Bram Sr."));
        QCOMPARE(empty.text(),
                 QStringLiteral("Other   :\nBelgium\n") + kRule + QStringLiteral("\nCategory:    Unfiled"));
    }

    void classifiers_data() {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("mail");
        QTest::addColumn<bool>("web");
        QTest::addColumn<bool>("alnum");
        QTest::addColumn<bool>("phone");
        QTest::addColumn<int>("kind");
        QTest::newRow("mail") << " anouk.d_b-2@mail.example.org " << true << false << false << false << int(MailText);
        QTest::newRow("mail without dot after @")
            << "a.b@example" << false << false << false << false << int(OtherText);
        QTest::newRow("mail dot before @") << "a.@b.org" << false << false << false << false << int(OtherText);
        QTest::newRow("mail @@") << "a@@b.org" << false << false << false << false << int(OtherText);
        QTest::newRow("mail ends in a dot") << "a@b.org." << false << false << false << false << int(OtherText);
        QTest::newRow("mail non-ASCII") << "zo\u00eb@b.org" << false << false << false << false << int(OtherText);
        QTest::newRow("web") << "WWW.Example.org/path" << false << true << false << false << int(WebText);
        QTest::newRow("web one dot") << "www.example" << false << false << false << false << int(OtherText);
        QTest::newRow("web -.") << "www.a-.org" << false << false << false << false << int(OtherText);
        QTest::newRow("web without www") << "example.org" << false << false << false << false << int(OtherText);
        QTest::newRow("name") << "Anouk de Vries 2" << false << false << true << false << int(AlnumText);
        QTest::newRow("digits are text first") << "0301234" << false << false << true << true << int(AlnumText);
        QTest::newRow("phone") << "(030) 123-45/6" << false << false << false << true << int(PhoneText);
        QTest::newRow("international phone") << "+49 30 1234" << false << false << false << true << int(OtherText);
        QTest::newRow("phone --") << "030--1234" << false << false << false << false << int(OtherText);
        QTest::newRow("phone ) before (") << "030) 12 (34" << false << false << false << false << int(OtherText);
        QTest::newRow("phone ends in )") << "(030)" << false << false << false << false << int(OtherText);
        QTest::newRow("phone inner +") << "030+1234" << false << false << false << false << int(OtherText);
        QTest::newRow("blanks") << "   " << false << false << false << false << int(OtherText);
    }
    void classifiers() {
        QFETCH(QString, text);
        QFETCH(bool, mail);
        QFETCH(bool, web);
        QFETCH(bool, alnum);
        QFETCH(bool, phone);
        QFETCH(int, kind);
        QCOMPARE(IsMail(text), mail);
        QCOMPARE(IsWeb(text), web);
        QCOMPARE(IsAlnumText(text), alnum);
        QCOMPARE(IsPhone(text), phone);
        const PaneSelection s = SelectAndClassify(QStringLiteral("Head\n") + text + u'\n', 5, text.size() + 1);
        QCOMPARE(s.text, text);
        QCOMPARE(s.kind, kind);
    }

    void selectionAroundTheCaret_data() {
        QTest::addColumn<int>("start");
        QTest::addColumn<int>("length");
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("kind");
        QTest::addColumn<QString>("stripped");
        // "Work:\t+49 30 1234\nE-Mail:\t a@b.org; c@d.org\n\n"
        QTest::newRow("in a number") << 9 << 0 << "+49 30 1234" << int(OtherText) << "+49301234";
        QTest::newRow("at the number's end") << 17 << 0 << "+49 30 1234" << int(OtherText) << "+49301234";
        QTest::newRow("selected with its line break") << 6 << 12 << "+49 30 1234" << int(OtherText) << "+49301234";
        QTest::newRow("on a label") << 2 << 0 << "Work:" << int(OtherText) << "Work:";
        QTest::newRow("first of a list, blank left out") << 27 << 0 << "a@b.org" << int(MailText) << "a@b.org";
        QTest::newRow("second of a list") << 40 << 0 << "c@d.org" << int(MailText) << "c@d.org";
        QTest::newRow("two lines") << 6 << 19 << "+49 30 1234\nE-Mail:" << int(SeveralLines) << "+49301234\nE-Mail:";
        QTest::newRow("on an empty line") << 45 << 0 << "" << int(NoText) << "";
    }
    void selectionAroundTheCaret() {
        QFETCH(int, start);
        QFETCH(int, length);
        QFETCH(QString, text);
        QFETCH(int, kind);
        QFETCH(QString, stripped);
        const QString pane = QStringLiteral("Work:\t+49 30 1234\nE-Mail:\t a@b.org; c@d.org\n\n");
        const PaneSelection s = SelectAndClassify(pane, start, length);
        QCOMPARE(s.text, text);
        QCOMPARE(s.kind, kind);
        QCOMPARE(StrippedCopy(s.text), stripped);
        if (length == 0) {
            QCOMPARE(pane.mid(s.start, s.length), text);
        }
    }

    void mailList_data() {
        QTest::addColumn<QStringList>("mails");
        QTest::addColumn<QByteArray>("list");
        QTest::newRow("none: count 0 and filler")
            << QStringList{"", "no address", "@example.org"} << QByteArray("\0\1\2\3\4\5\6\7\x08\x09", 10);
        QTest::newRow("one, taken out of its text") << QStringList{"", "Anouk <an-ouk_2@x.example>;", ""}
                                                    << QByteArray("\x01"
                                                                  "an-ouk_2@x.example");
        QTest::newRow("three") << QStringList{"a@b.org", "c@d.org", "e@f.org"}
                               << QByteArray("\x03"
                                             "a@b.org;c@d.org;e@f.org");
    }
    void mailList() {
        QFETCH(QStringList, mails);
        QFETCH(QByteArray, list);
        Contact c;
        for (int i = 0; i < kMailSlots; ++i) {
            c.texts[kFirstMailSlot + i] = mails[i];
        }
        // Addresses elsewhere are not the mail list's.
        c.texts[User5] = QStringLiteral("user@five.org");
        c.texts[BusinessTelephoneNumber] = QStringLiteral("phone@work.org");
        ScriptedRandom random;
        QCOMPARE(MailList(c, random), list);
    }

    void listFilter_data() {
        QTest::addColumn<QByteArray>("fT5");
        QTest::addColumn<int>("fG1");
        QTest::addColumn<int>("category");
        QTest::addColumn<bool>("listed");
        QTest::newRow("all") << QByteArray("3") << 3 << -1 << true;
        QTest::newRow("all as the setting keeps it") << QByteArray() << 0 << 9999 << true;
        QTest::newRow("unfiled") << QByteArray() << 0 << 0 << true;
        QTest::newRow("filed is not unfiled") << QByteArray("3") << 3 << 0 << false;
        QTest::newRow("primary") << QByteArray("3 12") << 3 << 3 << true;
        QTest::newRow("second") << QByteArray("3 12") << 3 << 12 << true;
        QTest::newRow("a number is not a part of one") << QByteArray("3 12") << 3 << 1 << false;
        QTest::newRow("old row by fG1") << QByteArray("") << 5 << 5 << true;
        QTest::newRow("old row is not unfiled") << QByteArray("") << 5 << 0 << false;
    }
    void listFilter() {
        QFETCH(QByteArray, fT5);
        QFETCH(int, fG1);
        QFETCH(int, category);
        QFETCH(bool, listed);
        QCOMPARE(ListedIn(fT5, fG1, category), listed);
    }

    // Sorted by name as the locale sorts, ignoring case; private rows only while shown; another owner's rows and
    // unreadable titles never.
    void listSortsAndHides() {
        named(QStringLiteral("zo\u00eb"), {2});
        named(QStringLiteral("\u00c9mile"));
        Contact anouk = Full();
        anouk.fileAs = QStringLiteral("anouk");
        anouk.key = stored(anouk);
        const std::int32_t bram = named(QStringLiteral("Bram"), {4, 2});
        named(QStringLiteral("de Vries"));
        store().user.level = 7;
        named(QStringLiteral("Theirs"));
        store().user.level = 0;
        setColumns(named(QStringLiteral("Broken")), "fT1=?1", QByteArray(16, 'x'));

        showPrivate(true);
        const QVector<ListItem> all = ListContacts(store(), categories::kAll);
        QCOMPARE(Names(all), (QStringList{"anouk", "Bram", "de Vries", "\u00c9mile", "zo\u00eb"}));
        QCOMPARE(all[0].contactInfo, QStringLiteral("0171 555 12 34  [Mobile]"));
        QCOMPARE(all[1].contactInfo, QString());
        QCOMPARE(Names(ListContacts(store(), 2)), (QStringList{"anouk", "Bram", "zo\u00eb"}));
        QCOMPARE(Names(ListContacts(store(), 4)), (QStringList{"anouk", "Bram"}));
        QCOMPARE(Names(ListContacts(store(), categories::kUnfiled)), (QStringList{"de Vries", "\u00c9mile"}));
        // Written again, a contact lists under its new name, though its old title was opened before; equal names
        // keep their keys' order, whichever of them was opened before.
        anouk.fileAs = QStringLiteral("Zelda");
        stored(anouk);
        QCOMPARE(Names(ListContacts(store(), 4)), (QStringList{"Bram", "Zelda"}));
        Contact twin;
        twin.fileAs = QStringLiteral("BRAM");
        twin.categories = {4};
        twin.comDisplay = MobileTelephoneNumber - kFirstSlot;
        twin.texts[MobileTelephoneNumber] = QStringLiteral("0171 2");
        stored(twin);
        QCOMPARE(Names(ListContacts(store(), 4)), (QStringList{"Bram", "BRAM", "Zelda"}));
        Contact first = *LoadContact(store(), bram);
        first.fileAs = QStringLiteral("bram");
        stored(first);
        const QVector<ListItem> mixed = ListContacts(store(), 4);
        QCOMPARE(Names(mixed), (QStringList{"bram", "BRAM", "Zelda"}));
        QCOMPARE(ListContacts(store(), 4), mixed);
        showPrivate(false);
        QCOMPARE(Names(ListContacts(store(), 4)), (QStringList{"bram", "BRAM"}));
        QCOMPARE(ListStatus(3, QStringLiteral("Friends")), QStringLiteral("3 contacts in  <Friends>"));
    }

    // Numbers of deleted categories leave the reader's own contacts; another user's filing is theirs.
    void refreshCategories() {
        QCOMPARE(categories::SaveCategoryText(store(), kCategoryList, kContactSection), 0);
        const std::int32_t mixed = named(QStringLiteral("Mixed"), {9, 4, 2});
        const std::int32_t kept = named(QStringLiteral("Kept"), {7});
        const std::int32_t gone = named(QStringLiteral("Gone"), {9});
        const std::int32_t legacy = named(QStringLiteral("Legacy"));
        setColumns(legacy, "fT5=?1, fG1=?2", QByteArray(""), 9);
        store().user.level = 7;
        const std::int32_t theirs = named(QStringLiteral("Theirs"), {9});
        store().user.level = 0;
        const QVariantList keptRow = rawRow(kept);
        const QVariantList theirRow = rawRow(theirs);

        QCOMPARE(RefreshCategories(store()), Result());
        const Row row = *ReadRow(store().connection(), mixed);
        QCOMPARE(row.bytes(Col::fT5), QByteArray("4 2"));
        QCOMPARE(row.integer(Col::fG1), 4);
        for (const std::int32_t key : {gone, legacy}) {
            const Row unfiled = *ReadRow(store().connection(), key);
            QCOMPARE(unfiled.bytes(Col::fT5), QByteArray(""));
            QCOMPARE(unfiled.integer(Col::fG1), 0);
            QCOMPARE(unfiled.integer(Col::fF3), 0);
        }
        QCOMPARE(rawRow(kept), keptRow);
        QCOMPARE(rawRow(theirs), theirRow);
        QCOMPARE(LoadContact(store(), mixed)->categories, (QVector<int>{4, 2}));
    }

    void deleteAll() {
        QCOMPARE(categories::SaveCategoryText(store(), kCategoryList, kContactSection), 0);
        const std::int32_t secondary = named(QStringLiteral("Secondary"), {2, 4});
        named(QStringLiteral("Primary"), {4});
        named(QStringLiteral("Unfiled"));
        store().user.level = 1;
        QCOMPARE(DeleteAllContacts(store(), false, categories::kAll), Result::Message(250));
        store().user.level = 0;
        QCOMPARE(rowsOf(kContactSection), 3);
        // A category's deletion takes the contacts filed first in it.
        QCOMPARE(DeleteAllContacts(store(), true, 4), Result());
        QCOMPARE(Names(ListContacts(store(), categories::kAll)), (QStringList{"Secondary", "Unfiled"}));
        QCOMPARE(DeleteContact(store(), secondary), Result());
        QVERIFY(DeletesEverything(true, categories::kUnfiled) && DeletesEverything(false, 4));
        QCOMPARE(DeleteAllContacts(store(), true, categories::kUnfiled), Result());
        QCOMPARE(rowsOf(kContactSection), 0);
        QCOMPARE(rowsOf(categories::kCategoryRowSection, kContactSection), 0);
    }
};

NCT_TEST_MAIN(TestContacts)
#include "tst_contacts.moc"

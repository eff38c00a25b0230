#include "sections/contacts/contact.h"
#include "sections/contacts/contact_export.h"
#include "store/field_descriptor.h"
#include "support/files.h"
#include "support/section_fixture.h"

namespace {

using namespace contacts;

// The line of a contact whose fields are the defaults but `values`, as the export writes it.
QByteArray Line(const QMap<int, QString>& values) {
    QByteArray line;
    for (int field = Private; field < kFieldCount; ++field) {
        QString text = values.value(field);
        if (!values.contains(field) && (field == Private || field == Priority || field == ComDisplay)) {
            text = field == Private ? QStringLiteral("False") : QStringLiteral("0");
        }
        line += text.toUtf8() + '\t';
    }
    return line + "\r\n";
}

QByteArray Header() {
    return ParseFieldDescriptor(ContactDescriptor()).names.mid(Private).join(u'\t').toUtf8() + "\t\r\n";
}

} // namespace

class TestContactExport : public SectionFixture {
    Q_OBJECT

    std::int32_t stored(const QString& last, const QString& first, bool isPrivate = false) {
        Contact c;
        c.owner = store().user.level;
        c.texts[LastName] = last;
        c.texts[FirstName] = first;
        c.fileAs = last + QStringLiteral(", ") + first;
        c.isPrivate = isPrivate;
        return StoreContact(store(), c).ok() ? c.key : -1;
    }
    QString out() const { return m_dir->filePath(QStringLiteral("nctAddress_Tab.txt")); }

private Q_SLOTS:
    void init() {
        QVERIFY(freshFile());
        showPrivate(true);
    }

    void emptyFileGivesTheHeaderAlone() {
        qsizetype count = -1;
        QCOMPARE(ExportAddressTabDelimited(store(), out(), &count), QString());
        QCOMPARE(count, 0);
        const QByteArray header = FileBytes(out());
        QCOMPARE(header, Header());
        QVERIFY(header.startsWith("Private\tPriority\tTitle\tFirstName\t"));
        QVERIFY(header.endsWith("ComSort\tNotes\tOutlookItemID\t\r\n"));
        QCOMPARE(header.count('\t'), kFieldCount - 1);
    }

    // Every value after the owner in the descriptor's order, dates as ISO dates and none for the blank date; a
    // note's line break stays in it, and a row that does not decipher is passed over.
    void oneLinePerReadableContact() {
        Contact full;
        full.owner = store().user.level;
        full.fileAs = QStringLiteral("M\u00fcller, J\u00fcrgen");
        full.texts[FirstName] = QStringLiteral("J\u00fcrgen");
        full.texts[LastName] = QStringLiteral("M\u00fcller");
        full.texts[MobileTelephoneNumber] = QStringLiteral("0171 555");
        full.texts[Email2Address] = QStringLiteral("j@example.org");
        full.texts[Notes] = QStringLiteral("Met at the fair.\nLikes tea.");
        full.texts[Spouse] = QStringLiteral("\u0410\u043d\u043d\u0430");
        full.birthday = QDate(1980, 3, 14);
        full.comDisplay = MobileTelephoneNumber - kFirstSlot;
        full.priority = 2;
        full.categories = {3};
        QVERIFY(StoreContact(store(), full).ok());
        const std::int32_t plain = stored(QStringLiteral("Abel"), QStringLiteral("Ann"));
        const std::int32_t broken = stored(QStringLiteral("Broken"), QStringLiteral("Bea"));
        QVERIFY(plain > full.key && broken > plain);
        sqlite::Statement spoil = store().connection().prepare("UPDATE tt SET fEtx=? WHERE fPK=?");
        spoil.bind(1, QByteArray(24, 'x')).bind(2, static_cast<std::int64_t>(broken));
        QVERIFY(!spoil.step() && !spoil.error());

        qsizetype count = 0;
        QCOMPARE(ExportAddressTabDelimited(store(), out(), &count), QString());
        QCOMPARE(count, 2);
        const QByteArray text = FileBytes(out());
        QCOMPARE(text, Header() +
                           Line({{Priority, "2"},
                                 {FirstName, full.texts[FirstName]},
                                 {LastName, full.texts[LastName]},
                                 {Birthday, "1980-03-14"},
                                 {Spouse, full.texts[Spouse]},
                                 {MobileTelephoneNumber, "0171 555"},
                                 {Email2Address, "j@example.org"},
                                 {ComDisplay, "5"},
                                 {Notes, "Met at the fair.\nLikes tea."}}) +
                           Line({{FirstName, "Ann"}, {LastName, "Abel"}}));
        QCOMPARE(text.count("\r\n"), 3);
        QVERIFY(text.contains("Met at the fair.\nLikes tea.\t"));
    }

    // Private contacts go out only while private records are shown, and the count says what went out.
    void privateContactsOnlyWhileShown() {
        QVERIFY(stored(QStringLiteral("Open"), QStringLiteral("Olga")) > 0);
        QVERIFY(stored(QStringLiteral("Secret"), QStringLiteral("Sam"), true) > 0);
        showPrivate(false);
        TabExport hidden = AddressTabDelimited(store());
        QCOMPARE(hidden.count, 1);
        QVERIFY(hidden.text.contains("\tOlga\t"));
        QVERIFY(!hidden.text.contains("Secret"));
        showPrivate(true);
        const TabExport shown = AddressTabDelimited(store());
        QCOMPARE(shown.count, 2);
        QVERIFY(shown.text.contains("True\t0\t\tSam\t\tSecret\t"));
    }

    // An older file of that name is replaced whole, and the new one is for its owner's eyes alone.
    void replacesTheFileReadableByItsOwnerAlone() {
        QVERIFY(stored(QStringLiteral("Open"), QStringLiteral("Olga")) > 0);
        QVERIFY(WriteFile(out(), QByteArray(4096, 'z')));
        QVERIFY(QFile::setPermissions(out(), QFile::permissions(out()) | QFile::ReadOther | QFile::ReadGroup));
        QCOMPARE(ExportAddressTabDelimited(store(), out()), QString());
        QCOMPARE(QFile::permissions(out()) & ~(QFile::ReadUser | QFile::WriteUser),
                 QFile::ReadOwner | QFile::WriteOwner);
        QCOMPARE(FileBytes(out()), Header() + Line({{FirstName, "Olga"}, {LastName, "Open"}}));
    }

    void failureLeavesNothing() {
        QVERIFY(stored(QStringLiteral("Open"), QStringLiteral("Olga")) > 0);
        const QString path = m_dir->filePath(QStringLiteral("missing/nctAddress_Tab.txt"));
        qsizetype count = -1;
        QVERIFY(!ExportAddressTabDelimited(store(), path, &count).isEmpty());
        QCOMPARE(count, 0);
        QVERIFY(!QFile::exists(path));
    }

    void noticeSaysHowManyAndThatItIsPlain() {
        const QString one = TabExportNotice(QStringLiteral("/tmp/a.txt"), 1);
        QVERIFY(one.startsWith(QLatin1String("1 contact was exported to /tmp/a.txt.")));
        QVERIFY(one.contains(QLatin1String("not encrypted")));
        QVERIFY(TabExportNotice(QStringLiteral("a.txt"), 12).startsWith(QLatin1String("12 contacts were exported")));
    }
};

NCT_TEST_MAIN(TestContactExport)
#include "tst_contact_export.moc"

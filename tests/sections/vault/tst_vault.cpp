#include "sections/vault/vault.h"
#include "store/record_get.h"
#include "support/section_fixture.h"

using namespace vault;

class TestVault : public SectionFixture {
    Q_OBJECT

    std::int32_t seed(int subCategory, const QString& title, const QStringList& values, bool isPrivate = false) {
        Entry entry = NewEntry(store().user.level, subCategory);
        entry.isPrivate = isPrivate;
        entry.values[0] = title;
        for (int i = 0; i < values.size(); ++i) {
            entry.values[static_cast<std::size_t>(i + 1)] = values[i];
        }
        return StoreEntry(store(), entry, QDateTime(QDate(2026, 11, 2), QTime(8, 15))).ok() ? entry.key : 0;
    }

private Q_SLOTS:
    void init() { QVERIFY(freshFile()); }

    // Every sub-category's labels, which of them are masked, and the notes label, as a person reads them.
    void labelsAndMasks_data() {
        QTest::addColumn<int>("number");
        QTest::addColumn<QStringList>("labels");
        QTest::addColumn<QString>("masked"); // one character a field: '*' masked
        QTest::addColumn<QString>("notes");
        const QString note = QStringLiteral("Note");
        QTest::newRow("web login") << 1 << QStringList{"Name", "URL", "User ID", "Password"} << "...*" << note;
        QTest::newRow("email") << 2 << QStringList{"Name", "Email Address", "User ID", "Password", "POP/SMTP Server"}
                               << "...*." << note;
        QTest::newRow("isp") << 3 << QStringList{"Name", "URL", "Login / User ID", "Password"} << "...*" << note;
        QTest::newRow("ftp") << 4 << QStringList{"Name", "URL", "User ID", "Password"} << "...*" << note;
        QTest::newRow("bank") << 5
                              << QStringList{"Bank", "Address", "Bank Routing Number", "Account Holder",
                                             "Account Number"}
                              << "....." << QStringLiteral("Other Info");
        QTest::newRow("online banking") << 6 << QStringList{"Bank", "URL", "User ID", "Password"} << "...*" << note;
        QTest::newRow("credit card") << 7
                                     << QStringList{"Card Name", "Number", "Exp. Date", "Security Code", "PIN Code"}
                                     << "....*" << note;
        QTest::newRow("atm card") << 8 << QStringList{"Card Name", "Card Number", "Bank", "ATM/PIN Code"} << "...*"
                                  << note;
        QTest::newRow("serial numbers") << 9 << QStringList{"Product Name", "Description", "Serial Number", "URL"}
                                        << "...." << note;
        QTest::newRow("software keys") << 10
                                       << QStringList{"Product Name", "Serial Number", "Licensed To", "Software Key"}
                                       << "...." << note;
        QTest::newRow("sim") << 11 << QStringList{"Phone Company", "Phone Number", "PIN", "PUK"} << "..*." << note;
        QTest::newRow("documents") << 12 << QStringList{"Document", "Owner", "Number", "Place/Date Issued"} << "...."
                                   << note;
        QTest::newRow("membership") << 13 << QStringList{"Organization", "Member", "Membership Number", "URL"} << "...."
                                    << note;
        QTest::newRow("insurance") << 14 << QStringList{"Description", "Company", "Police Number", "Contact"} << "...."
                                   << note;
        QTest::newRow("other") << 15 << QStringList{"Name", "Description", "Other Info", "Password/PIN"} << "...*"
                               << note;
        QTest::newRow("e-commerce") << 16 << QStringList{"Company", "URL", "User ID", "Password", "Customer Number"}
                                    << "...*." << note;
    }
    void labelsAndMasks() {
        QFETCH(int, number);
        QFETCH(QStringList, labels);
        QFETCH(QString, masked);
        QFETCH(QString, notes);
        QCOMPARE(Labels(number), labels);
        QString marks;
        for (const QString& label : labels) {
            marks += IsPasswordLabel(label) ? u'*' : u'.';
        }
        QCOMPARE(marks, masked);
        QCOMPARE(HasPasswordLabel(number), masked.contains(u'*'));
        QCOMPARE(NotesLabel(number), notes);
    }

    // Sixteen sub-categories in five columns, and nothing for the state before a choice.
    void columns() {
        QCOMPARE(SubCategories().size(), std::size_t{16});
        QList<int> perColumn(kMainCategoryCount, 0);
        for (const SubCategory& sub : SubCategories()) {
            ++perColumn[sub.mainCategory];
        }
        QCOMPARE(perColumn, (QList<int>{4, 4, 4, 2, 2}));
        QCOMPARE(MainCategoryCaption(2), QStringLiteral(" PRODUCTS"));
        QVERIFY(FindSubCategory(0) == nullptr && Labels(0).isEmpty() && Labels(17).isEmpty());
    }

    // The fields sit under the descriptor's numbers and the sub-category is the row's fG1.
    void storedFields() {
        const std::int32_t key = seed(5, QStringLiteral("Harbour Bank"), {"", "12-34", "A. Keller", "0042 7731"});
        QVERIFY(key > 0);
        const Row row = *ReadRow(store().connection(), key);
        QCOMPARE(row.integer(Col::fG1), 5);
        FieldValues values(9);
        Record_Get::GetRecord(values, store().cry.Cipher(key, 2, row.bytes(Col::fEtx)));
        QCOMPARE(values[N0].toString(), QStringLiteral("Harbour Bank"));
        QVERIFY(values[N1].toString().isEmpty());
        QCOMPARE(values[N4].toString(), QStringLiteral("0042 7731"));
        QCOMPARE(values[DateLastModified].toDateTime(), QDateTime(QDate(2026, 11, 2), QTime(8, 15)));
        QVERIFY(!plainInRow(key, QStringLiteral("0042 7731")));
        QCOMPARE(ListEntries(store(), 5).size(), 1);
        QVERIFY(ListEntries(store(), 1).isEmpty());
    }

    // Weak passwords and passwords two records share are found; a value repeated outside a password field, a card's
    // short PIN and a private record while hidden are not.
    void weakOrReused() {
        const std::int32_t mail = seed(1, QStringLiteral("Mail"), {"", "anouk", "sunshine"});
        const std::int32_t shop = seed(16, QStringLiteral("Shop"), {"", "anouk", "Vq7#rT-92kLp!xz4Wm"});
        const std::int32_t forum = seed(1, QStringLiteral("Forum"), {"", "anouk", "Vq7#rT-92kLp!xz4Wm"});
        seed(15, QStringLiteral("Locker"), {"", "", "h8$Kq2!vRw9zL0pY", "h8$Kq2!vRw9zL0pY"});
        const std::int32_t card = seed(7, QStringLiteral("Visa"), {"", "", "", "4711"});
        const std::int32_t atm = seed(8, QStringLiteral("Giro"), {"", "", "4711"});
        seed(6, QStringLiteral("Secret bank"), {"", "anouk", "password1"}, true);

        showPrivate(false);
        QVector<PasswordFinding> found = WeakOrReusedPasswords(store());
        QStringList seen;
        for (const PasswordFinding& f : found) {
            seen << QStringLiteral("%1 %2 %3 %4").arg(f.title, f.label).arg(f.weak).arg(f.sharedWith);
        }
        QCOMPARE(seen, (QStringList{"Forum Password 0 1", "Mail Password 1 0", "Visa PIN Code 0 1",
                                    "Giro ATM/PIN Code 0 1", "Shop Password 0 1"}));
        QVERIFY(found[1].bits < 36 && found[1].key == mail);
        QVERIFY(found[0].key == forum && found[4].key == shop && found[2].key == card && found[3].key == atm);

        showPrivate(true);
        QCOMPARE(WeakOrReusedPasswords(store()).size(), 6);
    }
};

NCT_TEST_MAIN(TestVault)
#include "tst_vault.moc"

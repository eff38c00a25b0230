#include "sections/categories/categories.h"
#include "sections/contacts/contact.h"
#include "sections/contacts/ui/frm_address.h"
#include "sections/contacts/ui/frm_edit_address.h"
#include "sections/record_store.h"
#include "shell/ui/modal.h"
#include "support/gui.h"
#include "support/section_fixture.h"

#include <memory>

using Reply = Prompter::Reply;
using namespace contacts;

namespace {

constexpr int kFriends = 1;
constexpr int kWork = 2;

Contact Person(const QString& fileAs, std::initializer_list<std::pair<int, QString>> texts) {
    Contact c;
    c.fileAs = fileAs;
    for (const auto& [field, text] : texts) {
        c.texts[field] = text;
    }
    return c;
}

} // namespace

class TestFrmAddress : public SectionFixture {
    Q_OBJECT

    std::unique_ptr<frmAddress> m_form;
    QList<QUrl> m_opened;

    void build() {
        m_form.reset();
        m_form = std::make_unique<frmAddress>(m_run->session);
        m_form->openUrl = [this](const QUrl& url) {
            m_opened.append(url);
            return true;
        };
        m_form->resize(1000, 600);
        m_form->show();
    }
    std::int32_t seed(Contact c, QVector<int> categories = {}, bool isPrivate = false) {
        c.owner = store().user.level;
        c.categories = std::move(categories);
        c.isPrivate = isPrivate;
        if (!StoreContact(store(), c).ok()) {
            return 0;
        }
        m_form->ShowListItems(c.key);
        return c.key;
    }
    // The rows a person sees: name and contact info.
    QStringList listed() const {
        QStringList rows;
        for (int i = 0; i < m_form->ListSelect->topLevelItemCount(); ++i) {
            const QTreeWidgetItem* item = m_form->ListSelect->topLevelItem(i);
            if (!item->isHidden()) {
                rows << item->text(0) + u'|' + item->text(1);
            }
        }
        return rows;
    }
    void select(int row) { m_form->ListSelect->setCurrentItem(m_form->ListSelect->topLevelItem(row)); }
    void showCategory(int id) {
        QComboBox* filter = m_form->cboCategories;
        filter->setCurrentIndex(filter->findData(id));
        Q_EMIT filter->activated(filter->currentIndex());
    }
    // Puts the pane's caret into `text`, or selects it, as a right click would find it.
    void pointAt(const QString& text, bool selected) {
        const QString pane = m_form->showContact->toPlainText();
        const qsizetype at = pane.indexOf(text);
        QVERIFY2(at >= 0, qPrintable(pane));
        QTextCursor cursor = m_form->showContact->textCursor();
        cursor.setPosition(static_cast<int>(at + (selected ? 0 : 1)));
        if (selected) {
            cursor.setPosition(static_cast<int>(at + text.size()), QTextCursor::KeepAnchor);
        }
        m_form->showContact->setTextCursor(cursor);
    }

private Q_SLOTS:
    void init() {
        QVERIFY(freshFile());
        QCOMPARE(categories::SaveCategoryText(store(), QStringLiteral("Friends;1;Work;2"), kContactSection), 0);
        showPrivate(true);
        m_opened.clear();
        build();
    }
    void cleanup() {
        ForgetModalWaits();
        m_form.reset();
        m_run.reset();
    }

    // Two columns sorted by name, a category showing the contacts filed in it anywhere in their list, and the
    // pane with its headings in bold; hiding private contacts takes them off the list.
    void listPaneAndFilter() {
        seed(Person(QStringLiteral("Zeller"), {{LastName, "Zeller"}}));
        seed(Person(QStringLiteral("Berg, Anna"), {{LastName, "Berg"}, {MobileTelephoneNumber, "0171 555"}}),
             {kWork, kFriends});
        seed(Person(QStringLiteral("Ölz, Eva"), {{LastName, "Ölz"}}), {kWork}, true);
        QCOMPARE(listed(), (QStringList{"Berg, Anna|", "Ölz, Eva|", "Zeller|"}));
        select(0);
        QCOMPARE(m_form->showName->text(), QStringLiteral("Berg, Anna"));
        const QString pane = m_form->showContact->toPlainText();
        QVERIFY2(pane.contains(QLatin1String("Mobile:\t0171 555")) && pane.endsWith(QLatin1String("Work, Friends")),
                 qPrintable(pane));
        QTextCursor heading(m_form->showContact->document());
        heading.setPosition(static_cast<int>(pane.indexOf(QLatin1String("Mobile:"))) + 1);
        QCOMPARE(heading.charFormat().fontWeight(), int(QFont::Bold));
        heading.setPosition(static_cast<int>(pane.indexOf(QLatin1String("0171"))) + 1);
        QCOMPARE(heading.charFormat().fontWeight(), int(QFont::Normal));

        showCategory(kFriends);
        QCOMPARE(listed(), QStringList{"Berg, Anna|"});
        showCategory(categories::kUnfiled);
        QCOMPARE(listed(), QStringList{"Zeller|"});
        showCategory(kWork);
        QCOMPARE(listed().size(), 2);
        showPrivate(false);
        m_form->privateSwitched();
        QCOMPARE(listed(), QStringList{"Berg, Anna|"});
        m_form->txtSearch->setText(QStringLiteral("nobody"));
        QVERIFY(m_form->showName->text().isEmpty() && m_form->showContact->toPlainText().isEmpty());
        QVERIFY(!m_form->cmdEdit->isEnabled() && !m_form->cmdDelete->isEnabled());
    }

    // What a right click offers on each kind of text, and what the commands hand to the desktop.
    void paneCommands_data() {
        QTest::addColumn<QString>("target");
        QTest::addColumn<bool>("selected");
        QTest::addColumn<QString>("offered");
        QTest::addColumn<QString>("answer"); // to the dial box
        QTest::addColumn<QString>("opened");
        QTest::addColumn<int>("message");
        QTest::newRow("mail under the caret") << "anna@berg.example" << false << "mail"
                                              << ""
                                              << "mailto:anna@berg.example" << 0;
        QTest::newRow("web page") << "www.berg.example" << true << "web"
                                  << ""
                                  << "http://www.berg.example" << 0;
        QTest::newRow("national number") << "0171 555-12" << false << "dial"
                                         << "0171 555-12"
                                         << "tel:017155512" << 0;
        QTest::newRow("dial box emptied") << "0171 555-12" << false << "dial"
                                          << " - "
                                          << "" << 165;
        QTest::newRow("two lines") << "Berg\nWork" << true << ""
                                   << ""
                                   << "" << 0;
    }
    void paneCommands() {
        QFETCH(QString, target);
        QFETCH(bool, selected);
        QFETCH(QString, offered);
        QFETCH(QString, answer);
        QFETCH(QString, opened);
        QFETCH(int, message);
        seed(Person(QStringLiteral("Berg, Anna"), {{LastName, "Berg"},
                                                   {JobTitle, "Berg"},
                                                   {CompanyName, "Work"},
                                                   {MobileTelephoneNumber, "0171 555-12"},
                                                   {Email1Address, "anna@berg.example"},
                                                   {WebPage, "www.berg.example"}}));
        pointAt(target, selected);
        QVERIFY(m_form->preparePaneMenu());
        QCOMPARE(m_form->mnuAddressBoxRCSendMail->isVisible(), offered == QLatin1String("mail"));
        QCOMPARE(m_form->mnuAddressBoxRCwww->isVisible(), offered == QLatin1String("web"));
        QCOMPARE(m_form->mnuAddressBoxRCDialPhone->isVisible(), offered == QLatin1String("dial"));
        QCOMPARE(m_form->mnuAddressBoxRCStripped->isVisible(), !offered.isEmpty());
        if (offered.isEmpty()) {
            return;
        }
        prompter().inputs << answer;
        QAction* command = offered == QLatin1String("mail")  ? m_form->mnuAddressBoxRCSendMail
                           : offered == QLatin1String("web") ? m_form->mnuAddressBoxRCwww
                                                             : m_form->mnuAddressBoxRCDialPhone;
        command->trigger();
        QCOMPARE(m_opened, opened.isEmpty() ? QList<QUrl>{} : QList<QUrl>{QUrl(opened)});
        QCOMPARE(prompter().numbers(), message == 0 ? QList<int>{} : QList<int>{message});
        m_form->mnuAddressBoxRCStripped->trigger();
        QCOMPARE(QGuiApplication::clipboard()->text(), QString(target).remove(u' '));
    }

    // The editor stores a new contact in the category in view; one filed private while hidden is announced.
    void addThroughTheEditor() {
        showCategory(kWork);
        showPrivate(false);
        m_form->privateSwitched();
        AnswerDialog<frmEditAddress>([](frmEditAddress& editor) {
            QCOMPARE(Find<QComboBox>(editor, QStringLiteral("cboCategory"))->currentData().toInt(), kWork);
            Find<QLineEdit>(editor, QStringLiteral("ctlLastName"))->setText(QStringLiteral("Quist"));
            Find<QLineEdit>(editor, QStringLiteral("ctlCompanyName"))->setText(QStringLiteral("Quist & Söhne"));
        });
        Click(*m_form, QStringLiteral("cmdAdd"));
        QCOMPARE(listed(), QStringList{"Quist|"});
        QCOMPARE(rowsOf(kContactSection), 1);
        QVERIFY(!plainInRow(m_form->selectedKey(), QStringLiteral("Quist")));
        AnswerDialog<frmEditAddress>([](frmEditAddress& editor) {
            Find<QLineEdit>(editor, QStringLiteral("ctlLastName"))->setText(QStringLiteral("Hidden"));
            Find<QCheckBox>(editor, QStringLiteral("ctlPrivate"))->setChecked(true);
        });
        Click(*m_form, QStringLiteral("cmdAdd"));
        QCOMPARE(rowsOf(kContactSection), 2);
        QCOMPARE(listed(), QStringList{"Quist|"});
        QVERIFY(prompter().shown.last().text.contains(QLatin1String("private records are hidden")));
    }

    // Deleting asks with the name and moves to the next row; deleting all asks twice and takes the categories
    // along when everything goes.
    void deleting() {
        seed(Person(QStringLiteral("Alpha"), {{LastName, "Alpha"}}), {kWork});
        seed(Person(QStringLiteral("Beta"), {{LastName, "Beta"}}), {kFriends});
        seed(Person(QStringLiteral("Gamma"), {{LastName, "Gamma"}}));
        select(1);
        prompter().replies << Reply::Cancel << Reply::Ok;
        Click(*m_form, QStringLiteral("cmdDelete"));
        QCOMPARE(listed().size(), 3);
        Click(*m_form, QStringLiteral("cmdDelete"));
        QCOMPARE(prompter().shown.last().text, QStringLiteral("Confirm deletion of Beta"));
        QCOMPARE(listed(), (QStringList{"Alpha|", "Gamma|"}));
        QCOMPARE(m_form->showName->text(), QStringLiteral("Gamma"));

        showCategory(kWork);
        prompter().replies << Reply::Ok << Reply::Ok;
        m_form->mnuAddressDeleteCategory->trigger();
        QCOMPARE(prompter().numbers().mid(2), (QList<int>{102, 81}));
        QCOMPARE(rowsOf(kContactSection), 1);
        QCOMPARE(rowsOf(records::kCategoryRowSection, kContactSection), 1);
        // Nothing is asked over an empty list.
        m_form->mnuAddressDeleteAllItems->trigger();
        QCOMPARE(prompter().numbers().size(), 4);
        showCategory(categories::kAll);
        prompter().replies << Reply::Ok << Reply::Ok;
        m_form->mnuAddressDeleteAllItems->trigger();
        QCOMPARE(prompter().numbers().mid(4), (QList<int>{80, 81}));
        QCOMPARE(rowsOf(kContactSection), 0);
        QCOMPARE(rowsOf(records::kCategoryRowSection, kContactSection), 0);
        QVERIFY(m_form->showContact->toPlainText().isEmpty());
    }

    // Cards out of the list in view and back in: asked with the count, filed by category name, and the lines
    // that could not be read named in the closing words.
    void vCardsOutAndIn() {
        seed(Person(QStringLiteral("Berg, Anna"), {{FirstName, "Anna"}, {LastName, "Berg"}}), {kFriends});
        seed(Person(QStringLiteral("Dubois, Zoë"), {{FirstName, "Zoë"}, {LastName, "Dubois"}}), {kWork});
        showCategory(kFriends);
        const QString out = m_dir->filePath(QStringLiteral("friends.vcf"));
        prompter().newFile = out;
        m_form->mnuAddressExportVCard->trigger();
        QFile file(out);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QByteArray cards = file.readAll();
        QCOMPARE(cards.count("BEGIN:VCARD"), 1);
        QCOMPARE(file.permissions() & ~(QFile::ReadUser | QFile::WriteUser), QFile::ReadOwner | QFile::WriteOwner);
        QVERIFY(prompter().shown.last().text.contains(QLatin1String("not encrypted")));
        file.close();

        cards += "BEGIN:VCARD\r\nVERSION:3.0\r\nN:Ng;Li;;;\r\nFN:Li Ng\r\nCATEGORIES:Chess\r\nBOGUS\r\nEND:VCARD\r\n";
        const QString in = m_dir->filePath(QStringLiteral("in.vcf"));
        QFile write(in);
        QVERIFY(write.open(QIODevice::WriteOnly) && write.write(cards) == cards.size());
        write.close();
        prompter().openFile = in;
        prompter().replies << Reply::No << Reply::Yes;
        m_form->mnuAddressImportVCard->trigger();
        QCOMPARE(rowsOf(kContactSection), 2);
        m_form->mnuAddressImportVCard->trigger();
        QCOMPARE(prompter().shown.at(prompter().shown.size() - 2).text,
                 QStringLiteral("2 records found. Start importing?"));
        const QString report = prompter().shown.last().text;
        QVERIFY2(report.startsWith(QLatin1String("2 contacts were imported.")) &&
                     report.endsWith(QLatin1String("line 12: no \":\" ends the property name and parameters")),
                 qPrintable(report));
        QCOMPARE(rowsOf(kContactSection), 4);
        showCategory(categories::kAll);
        QCOMPARE(listed(), (QStringList{"Berg, Anna|", "Berg, Anna|", "Dubois, Zoë|", "Ng, Li|"}));
        QVERIFY(m_form->cboCategories->findText(QStringLiteral("Chess"), Qt::MatchContains) >= 0);
    }
};

NCT_GUI_TEST_MAIN(TestFrmAddress)
#include "tst_frm_address.moc"

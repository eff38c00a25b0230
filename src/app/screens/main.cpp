// Renders the main windows and dialogs of the shell into PNG files, so that a person can look at them without
// clicking through the program: noctaria-screens OUTPUT_FOLDER. Runs on a throw-away database and settings.

#include "budget/transaction.h"
#include "budget/ui/frm_budget.h"
#include "budget/ui/frm_edit_budget.h"
#include "budget/ui/frm_edit_budget_names.h"
#include "budget/ui/frm_edit_budget_paymode.h"
#include "sections/all_sections.h"
#include "sections/categories/categories.h"
#include "sections/categories/ui/frm_edit_categories.h"
#include "sections/contacts/contact.h"
#include "sections/contacts/ui/frm_address.h"
#include "sections/contacts/ui/frm_edit_address.h"
#include "sections/diary/diary.h"
#include "sections/diary/ui/frm_diary.h"
#include "sections/find/ui/frm_find.h"
#include "sections/memos/memo.h"
#include "sections/memos/ui/frm_edit_notepad.h"
#include "sections/memos/ui/frm_notepad.h"
#include "shell/backup_commands.h"
#include "shell/open_sequence.h"
#include "shell/section_list.h"
#include "shell/session.h"
#include "shell/ui/frm_mdi.h"
#include "shell/ui/frm_options.h"
#include "shell/ui/frm_pw.h"
#include "shell/ui/frm_restore.h"

#include <QApplication>
#include <QDir>
#include <QLineEdit>
#include <QPushButton>
#include <QSettings>
#include <QStandardPaths>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QTextStream>
#include <QTimer>
#include <QTreeWidget>

namespace {

const QString kDemoPassphrase = QStringLiteral("Demo passphrase 1");

// Answers every question with the demo passphrase or the first choice.
class DemoPrompter final : public Prompter {
public:
    QString folder;
    Reply message(int, const QString&, Buttons buttons, Icon) override {
        return buttons == Buttons::YesNo ? Reply::Yes : Reply::Ok;
    }
    PassphraseReply passphrase(const PassphraseRequest&) override { return {false, kDemoPassphrase}; }
    QString chooseNewFile(const QString&, const QString&) override { return {}; }
    QString chooseExistingFile(const QString&, const QString&) override { return {}; }
    QString chooseFolder(const QString&, const QString&) override { return folder; }
    void status(const QString&) override {}
    void penaltyWait(int) override {}
};

bool Save(QWidget* widget, const QString& folder, const QString& name) {
    widget->show();
    widget->raise();
    QApplication::processEvents();
    QTimer::singleShot(150, [] {});
    for (int i = 0; i < 10; ++i) {
        QApplication::processEvents();
    }
    const QString path = QDir(folder).filePath(name + QStringLiteral(".png"));
    const bool ok = widget->grab().save(path);
    QTextStream(stdout) << (ok ? "wrote " : "failed ") << path << "\n";
    return ok;
}

// A month of a household budget, so that the Budget's windows show what they are for.
void AddDemoBudget(Store& store) {
    categories::SaveCategoryText(store, QStringLiteral("Food;1;Rent;2;Salary;3;Travel;4"), 17, 0);
    const QDate today = QDate::currentDate();
    const struct {
        int day;
        const char* item;
        const char* amount;
        int dcwb;
        int category;
        int payMode;
        const char* partner;
    } rows[] = {
        {1, "Salary", "3250", 0, 3, 2, "Employer Ltd"}, {2, "Rent", "1100", 1, 2, 2, "Landlord"},
        {3, "Groceries", "84.35", 1, 1, 1, "Market"},   {5, "Train tickets", "46.8", 1, 4, 3, "Railways"},
        {8, "Groceries", "61.2", 1, 1, 9, "Market"},    {9, "Birthday present", "120", 3, 0, 1, ""},
        {12, "Refund", "19.99", 0, 0, 4, "Web shop"},   {14, "Dinner", "72.5", 1, 1, 3, "Trattoria"},
    };
    for (const auto& r : rows) {
        budget::Transaction t = budget::ClearTransaction(store.user.level, r.category,
                                                         QDate(today.year(), today.month(), std::min(r.day, 28)));
        t.description = QString::fromUtf8(r.item);
        t.amount = *Currency::FromText(QString::fromLatin1(r.amount));
        t.dcwb = r.dcwb;
        t.isPrivate = (r.dcwb & budget::kPrivateBit) != 0;
        t.payMode = r.payMode;
        t.partner = QString::fromUtf8(r.partner);
        budget::StoreTransaction(store, 0, t);
    }
}

// A few memos in two categories and a week of diary entries.
void AddDemoMemosAndDiary(Store& store) {
    categories::SaveCategoryText(store, QStringLiteral("Home;1;Work;2"), memos::kMemoSection);
    const QDateTime now = QDateTime::currentDateTime();
    const std::tuple<int, const char*, const char*> demo[] = {
        {1, "Garden plan", "Tomatoes along the south fence, beans behind them.\nOrder seeds before March."},
        {1, "Gift ideas", "Anna: a field guide to mosses. Tom: a good pocket knife."},
        {2, "Meeting notes 12 November",
         "Budget review moved to Thursday. Ask Karin for the supplier figures; the second quarter looks better "
         "than planned, but freight costs keep rising and the estimate for next year should say so plainly."},
        {2, "Travel checklist", "Passport, charger, the blue folder, train tickets printed."},
    };
    for (const auto& [category, subject, text] : demo) {
        memos::Memo memo = memos::NewMemo(store.user.level, category, QString::fromUtf8(subject), now);
        memo.text = QString::fromUtf8(text);
        memos::StoreMemo(store, memo, now);
    }
    const QDate start = diary::WeekStart(QDate::currentDate(), QLocale().firstDayOfWeek());
    const char* const days[] = {"Long walk by the river. Cold, clear, the first frost on the meadows.",
                                "Finished the quarterly report at last.", "",
                                "Dinner with Anna and Tom; we talked about the garden until midnight."};
    for (int i = 0; i < 4; ++i) {
        if (*days[i] != '\0') {
            diary::DiaryEntry entry{
                .owner = store.user.level, .date = start.addDays(i), .text = QString::fromUtf8(days[i])};
            diary::StoreDiaryDay(store, entry);
        }
    }
}

// Three contacts in two categories, one of them filled in widely.
void AddDemoContacts(Store& store) {
    categories::SaveCategoryText(store, QStringLiteral("Family;1;Work;2"), contacts::kContactSection);
    struct Demo {
        const char* fileAs;
        std::vector<std::pair<int, const char*>> texts;
        QVector<int> categories;
    };
    const Demo demo[] = {
        {"Berg, Anna",
         {{contacts::FirstName, "Anna"},
          {contacts::LastName, "Berg"},
          {contacts::CompanyName, "Harbour Works"},
          {contacts::JobTitle, "Head of Design"},
          {contacts::MobileTelephoneNumber, "+49 171 555 1234"},
          {contacts::Email1Address, "anna@harbour.example"},
          {contacts::WebPage, "www.harbour.example"},
          {contacts::HomeAddressStreet, "Lindenweg 4"},
          {contacts::HomeAddressCity, "Bremen"},
          {contacts::HomeAddressPostalCode, "28195"},
          {contacts::Notes, "Prefers calls after six."}},
         {1, 2}},
        {"Dubois, Zo\u00eb",
         {{contacts::FirstName, "Zo\u00eb"},
          {contacts::LastName, "Dubois"},
          {contacts::Email1Address, "zoe@dubois.example"}},
         {2}},
        {"Okafor, Tom",
         {{contacts::FirstName, "Tom"}, {contacts::LastName, "Okafor"}, {contacts::HomeTelephoneNumber, "0421 555 98"}},
         {1}},
    };
    for (const Demo& d : demo) {
        contacts::Contact contact;
        contact.owner = store.user.level;
        contact.fileAs = QString::fromUtf8(d.fileAs);
        for (const auto& [field, text] : d.texts) {
            contact.texts[field] = QString::fromUtf8(text);
        }
        contact.comDisplay = contact.slot(contacts::MobileTelephoneNumber - contacts::kFirstSlot).isEmpty()
                                 ? contacts::Email1Address - contacts::kFirstSlot
                                 : contacts::MobileTelephoneNumber - contacts::kFirstSlot;
        contact.birthday = d.categories.size() > 1 ? QDate(1984, 6, 2) : QDate();
        contact.categories = d.categories;
        contacts::StoreContact(store, contact);
    }
}

} // namespace

int main(int argc, char* argv[]) {
    QApplication app(argc, argv);
    QApplication::setApplicationVersion(QStringLiteral("2.5.0"));
    const QStringList args = QApplication::arguments();
    if (args.size() != 2) {
        QTextStream(stderr) << "usage: noctaria-screens OUTPUT_FOLDER\n";
        return 2;
    }
    const QString out = args[1];
    QDir().mkpath(out);
    QTemporaryDir scratch;
    QSettings::setDefaultFormat(QSettings::IniFormat);
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, scratch.filePath(QStringLiteral("settings")));
    QSettings(QStringLiteral("Marrowline"), QStringLiteral("Noctaria"))
        .setValue(QStringLiteral("Startup/ShowTipsAtStartup"), 0);

    DemoPrompter prompter;
    const QString database = scratch.filePath(QStringLiteral("mydata.nct"));
    {
        Session maker(prompter);
        maker.DbPath = database;
        maker.CreatingDefault = true;
        if (open_sequence::NewDatabase(maker) != 0) {
            QTextStream(stderr) << "noctaria-screens: the demo database could not be made\n";
            return 1;
        }
        open_sequence::CloseDatabase(maker);
    }
    QSettings(QStringLiteral("Marrowline"), QStringLiteral("Noctaria"))
        .setValue(QStringLiteral("MostRecentFiles/1"), database);

    bool ok = true;
    Session session(prompter);
    frmMDI::Options options;
    options.sectionForms = AllSectionForms();
    options.sectionList = QStringLiteral("0");
    options.instanceLockPath = scratch.filePath(QStringLiteral("lock"));
    frmMDI frame(session, prompter, options);
    session.setFrame(&frame);
    frame.Load();
    frame.resize(1000, 680);
    ok = Save(&frame, out, QStringLiteral("start-screen")) && ok;
    AddDemoBudget(session.store());
    session.ShowPrivate = true;
    frame.GotoSection(17);
    ok = Save(&frame, out, QStringLiteral("main-frame")) && ok;
    if (auto* budget = frame.findChild<frmBudget*>()) {
        budget->tbsOptions->setCurrentIndex(1);
        ok = Save(&frame, out, QStringLiteral("budget-balance")) && ok;
        budget->tbsOptions->setCurrentIndex(0);
        const std::optional<budget::Transaction> first =
            budget::LoadTransaction(session.store(), budget->LV1->topLevelItem(0)->data(0, Qt::UserRole).toInt());
        frmEditBudget editor(session.store(), 0, {{QStringLiteral("< All >"), -1}}, &frame);
        editor.TransactionToEditor(first.value_or(budget::Transaction{}));
        ok = Save(&editor, out, QStringLiteral("budget-transaction")) && ok;
        editor.hide();
        frmEditBudget chooser(session.store(), 0, {}, &frame);
        chooser.TransactionToEditor(budget::Transaction{}, 0);
        ok = Save(&chooser, out, QStringLiteral("budget-transaction-new")) && ok;
        chooser.hide();
    }
    frmEditBudgetNames names(session.store(), &frame);
    ok = Save(&names, out, QStringLiteral("budget-names")) && ok;
    names.hide();
    frmEditBudgetPaymode modes(session.store(), &frame);
    ok = Save(&modes, out, QStringLiteral("budget-payment-modes")) && ok;
    modes.hide();
    frmEditCategories categoryEditor(session.store(), 17, 0, &frame);
    ok = Save(&categoryEditor, out, QStringLiteral("categories")) && ok;
    categoryEditor.hide();
    AddDemoMemosAndDiary(session.store());
    frame.GotoSection(sections::Number(SectionId::Memos));
    ok = Save(&frame, out, QStringLiteral("memos")) && ok;
    if (auto* notepad = frame.findChild<frmNotepad*>()) {
        const std::optional<memos::Memo> memo = memos::LoadMemo(session.store(), notepad->selectedKey());
        frmEditNotepad memoEditor(session.store(), memo.value_or(memos::Memo{}), &frame);
        ok = Save(&memoEditor, out, QStringLiteral("memo-editor")) && ok;
        memoEditor.hide();
    }
    frame.GotoSection(sections::Number(SectionId::Diary));
    ok = Save(&frame, out, QStringLiteral("diary-week")) && ok;
    if (auto* diaryForm = frame.findChild<frmDiary*>()) {
        diaryForm->diaPeriod_Click(0);
        ok = Save(&frame, out, QStringLiteral("diary-day")) && ok;
        diaryForm->diaPeriod_Click(1);
    }
    AddDemoContacts(session.store());
    frame.GotoSection(sections::Number(SectionId::Contacts));
    ok = Save(&frame, out, QStringLiteral("contacts")) && ok;
    if (auto* address = frame.findChild<frmAddress*>()) {
        const std::optional<contacts::Contact> contact = contacts::LoadContact(session.store(), address->selectedKey());
        frmEditAddress contactEditor(session.store(), contact.value_or(contacts::Contact{}), &frame);
        auto* pages = contactEditor.findChild<QTabWidget*>();
        for (int i = 0; pages != nullptr && i < 3; ++i) {
            pages->setCurrentIndex(i);
            ok = Save(&contactEditor, out, QStringLiteral("contact-editor-%1").arg(i + 1)) && ok;
        }
        contactEditor.hide();
    }
    frame.GotoSection(0);

    // Find over everything the demo holds, with hits from several sections.
    frmFind finder(session, SectionList(QStringLiteral("0")), &frame);
    finder.txtFind->setText(QStringLiteral("an"));
    finder.cmdFind->click();
    while (finder.searching()) {
        QApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    ok = Save(&finder, out, QStringLiteral("find")) && ok;
    finder.hide();

    frmPW pw(prompter, {.confirmWanted = true,
                        .prompt = QStringLiteral("New Passphrase (minimum 8 characters):"),
                        .fileName = QStringLiteral("MYDATA.NCT"),
                        .folder = scratch.path()});
    ok = Save(&pw, out, QStringLiteral("passphrase")) && ok;
    pw.hide();

    frmOptions preferences(session, &frame, SectionList(QStringLiteral("0")).sections());
    auto* tabs = preferences.findChild<QTabWidget*>(QStringLiteral("tbsOptions"));
    for (int i = 0; tabs != nullptr && i < tabs->count(); ++i) {
        tabs->setCurrentIndex(i);
        ok = Save(&preferences, out, QStringLiteral("preferences-%1").arg(i + 1)) && ok;
    }
    preferences.hide();

    const QString backups = scratch.filePath(QStringLiteral("backups"));
    QDir().mkpath(backups);
    prompter.folder = backups;
    backup_commands::BackupCommand(session, backups);
    QSettings(QStringLiteral("Marrowline"), QStringLiteral("Noctaria")).setValue(QStringLiteral("BackupPath"), backups);
    frmRestore restore(session, &frame);
    ok = Save(&restore, out, QStringLiteral("restore")) && ok;
    restore.hide();
    frame.ShutDown();
    return ok ? 0 : 1;
}

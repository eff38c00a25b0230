#include "sections/contacts/ui/frm_address.h"

#include "base/messages.h"
#include "sections/categories/categories.h"
#include "sections/contacts/contact_export.h"
#include "sections/contacts/contact_list.h"
#include "sections/contacts/contact_pane.h"
#include "sections/contacts/ui/frm_edit_address.h"
#include "sections/contacts/vcard.h"
#include "sections/ui/category_filter.h"
#include "sections/ui/record_list_form.h"
#include "shell/options.h"
#include "shell/session.h"
#include "shell/show_result.h"
#include "shell/ui/apply_captions.h"
#include "shell/ui/modal.h"
#include "store/store.h"

#include <QApplication>
#include <QClipboard>
#include <QComboBox>
#include <QDesktopServices>
#include <QDir>
#include <QFile>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPointer>
#include <QProgressDialog>
#include <QTextCursor>
#include <QTextEdit>
#include <QToolButton>
#include <QTreeWidget>
#include <QVBoxLayout>

using namespace contacts;

namespace {

constexpr int kNameColumn = 0;
constexpr int kInfoColumn = 1;
constexpr const char* kVCardFilter = "vCard files (*.vcf *.vcard);;All files (*)";

QAction* NamedAction(const char* name, QObject* parent) {
    auto* action = new QAction(parent);
    action->setObjectName(QLatin1String(name));
    return action;
}

std::int32_t KeyOf(const QTreeWidgetItem* item) {
    return item != nullptr ? item->data(kNameColumn, Qt::UserRole).toInt() : 0;
}

// The closing words of an import: what came in, and each line left out with its reason.
QString ImportReport(int imported, int categoriesAdded, const VCardReading& reading) {
    QString text = imported == 1 ? QObject::tr("1 contact was imported.")
                                 : QObject::tr("%1 contacts were imported.").arg(imported);
    if (categoriesAdded > 0) {
        text += u' ' + (categoriesAdded == 1 ? QObject::tr("1 category was added.")
                                             : QObject::tr("%1 categories were added.").arg(categoriesAdded));
    }
    if (reading.skippedCount > 0) {
        text +=
            QStringLiteral("\n\n") +
            (reading.skippedCount == 1 ? QObject::tr("1 part of the file was left out:")
                                       : QObject::tr("%1 parts of the file were left out:").arg(reading.skippedCount));
        constexpr int kShown = 12;
        for (qsizetype i = 0; i < reading.skipped.size() && i < kShown; ++i) {
            text += QObject::tr("\nline %1: %2").arg(reading.skipped[i].line).arg(reading.skipped[i].reason);
        }
        if (reading.skippedCount > kShown) {
            text += QStringLiteral("\n…");
        }
    }
    return text;
}

} // namespace

frmAddress::frmAddress(Session& session, QWidget* parent)
    : SectionForm(parent)
    , openUrl([](const QUrl& url) { return QDesktopServices::openUrl(url); })
    , m_session(session)
    , m_filter(new CategoryFilter(session, kContactSection, this)) {
    setObjectName(QStringLiteral("frmAddress"));
    cboCategories = m_filter->combo;
    cmdEditCat = m_filter->editButton;
    txtSearch = new QLineEdit(this);
    txtSearch->setObjectName(QStringLiteral("txtSearch"));
    txtSearch->setClearButtonEnabled(true);
    txtSearch->setPlaceholderText(tr("Search names and contact info"));

    ListSelect = new QTreeWidget(this);
    ListSelect->setObjectName(QStringLiteral("ListSelect"));
    ListSelect->setColumnCount(2);
    ListSelect->setHeaderLabels({MsgText(301), MsgText(354)});
    ListSelect->setRootIsDecorated(false);
    ListSelect->setUniformRowHeights(true);
    ListSelect->setSelectionMode(QAbstractItemView::ExtendedSelection);
    ListSelect->setContextMenuPolicy(Qt::CustomContextMenu);
    ListSelect->header()->setStretchLastSection(true);
    ListSelect->setColumnWidth(kNameColumn, 200);

    const RecordButtons buttons = recordButtons(tr("New Contact"));
    cmdAdd = buttons.add;
    cmdEdit = buttons.edit;
    cmdDelete = buttons.remove;
    m_newTool = buttons.newTool;

    showName = new QLabel(this);
    showName->setObjectName(QStringLiteral("showName"));
    showName->setTextInteractionFlags(Qt::TextSelectableByMouse);
    QFont nameFont = showName->font();
    nameFont.setBold(true);
    nameFont.setPointSizeF(nameFont.pointSizeF() * 1.3);
    showName->setFont(nameFont);
    showContact = new QTextEdit(this);
    showContact->setObjectName(QStringLiteral("showContact"));
    showContact->setReadOnly(true);
    showContact->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    showContact->setContextMenuPolicy(Qt::CustomContextMenu);
    showContact->setTabStopDistance(showContact->fontMetrics().horizontalAdvance(QLatin1Char('x')) * 18);

    mnuAddressDeleteCategory = NamedAction("mnuAddressDeleteCategory", this);
    mnuAddressDeleteAllItems = NamedAction("mnuAddressDeleteAll", this);
    mnuAddressImportVCard = NamedAction("mnuAddressImportVCard", this);
    mnuAddressExportVCard = NamedAction("mnuAddressExportVCard", this);
    mnuAddressExportTab = NamedAction("mnuAddressExportTab", this);

    mnuAddressBoxRC = new QMenu(this);
    mnuAddressBoxRC->setObjectName(QStringLiteral("mnuAddressBoxRC"));
    mnuAddressBoxRCcopy = NamedAction("mnuAddressBoxRCcopy", mnuAddressBoxRC);
    mnuAddressBoxRCStripped = NamedAction("mnuAddressBoxRCStripped", mnuAddressBoxRC);
    mnuAddressBoxRCSendMail = NamedAction("mnuAddressBoxRCSendMail", mnuAddressBoxRC);
    mnuAddressBoxRCwww = NamedAction("mnuAddressBoxRCwww", mnuAddressBoxRC);
    mnuAddressBoxRCDialPhone = NamedAction("mnuAddressBoxRCDialPhone", mnuAddressBoxRC);
    mnuAddressBoxRC->addActions({mnuAddressBoxRCcopy, mnuAddressBoxRCStripped});
    mnuAddressBoxRC->addSeparator();
    mnuAddressBoxRC->addActions({mnuAddressBoxRCSendMail, mnuAddressBoxRCwww, mnuAddressBoxRCDialPhone});

    mnuAddressListRC = new QMenu(this);
    mnuAddressListRC->setObjectName(QStringLiteral("mnuAddressListRC"));
    mnuAddressListRCEdit = NamedAction("mnuAddressListRCEdit", mnuAddressListRC);
    mnuAddressListRCDelete = NamedAction("mnuAddressListRCDelete", mnuAddressListRC);
    mnuAddressListRCExport = NamedAction("mnuAddressListRCExport", mnuAddressListRC);
    mnuAddressListRC->addActions({mnuAddressListRCEdit, mnuAddressListRCDelete, mnuAddressListRCExport});

    auto* paneSide = new QWidget(this);
    auto* right = new QVBoxLayout(paneSide);
    right->setContentsMargins(0, 0, 0, 0);
    right->addWidget(showName);
    right->addWidget(showContact, 1);
    LayOutListAndPane(this, *m_filter, txtSearch, ListSelect, buttons.row, paneSide, 3, 2);

    connect(m_filter, &CategoryFilter::changed, this, [this] {
        // A category deleted in the editor leaves its number in contacts' lists.
        ShowResult(m_session.store().prompter, RefreshCategories(m_session.store()));
        ShowListItems(selectedKey());
    });
    connect(txtSearch, &QLineEdit::textChanged, this, &frmAddress::applySearch);
    connect(ListSelect, &QTreeWidget::currentItemChanged, this, &frmAddress::ListSelect_ItemClick);
    connect(ListSelect, &QTreeWidget::itemDoubleClicked, this, &frmAddress::cmdEdit_Click);
    connect(ListSelect, &QWidget::customContextMenuRequested, this, [this](const QPoint& at) {
        QTreeWidgetItem* item = ListSelect->itemAt(at);
        if (item == nullptr) {
            return;
        }
        if (!item->isSelected()) {
            ListSelect->setCurrentItem(item);
        }
        mnuAddressListRC->popup(ListSelect->viewport()->mapToGlobal(at));
    });
    connect(showContact, &QWidget::customContextMenuRequested, this, [this](const QPoint& at) {
        // The right button does not move the caret by itself; a click outside the selection points at its word.
        const QTextCursor clicked = showContact->cursorForPosition(at);
        const QTextCursor current = showContact->textCursor();
        if (!current.hasSelection() || clicked.position() < current.selectionStart() ||
            clicked.position() > current.selectionEnd()) {
            showContact->setTextCursor(clicked);
        }
        if (preparePaneMenu()) {
            mnuAddressBoxRC->popup(showContact->viewport()->mapToGlobal(at));
        }
    });
    connect(cmdAdd, &QPushButton::clicked, this, &frmAddress::cmdAdd_Click);
    connect(cmdEdit, &QPushButton::clicked, this, &frmAddress::cmdEdit_Click);
    connect(cmdDelete, &QPushButton::clicked, this, &frmAddress::cmdDelete_Click);
    connect(mnuAddressDeleteCategory, &QAction::triggered, this, [this] { mnuAddressDeleteAll(true); });
    connect(mnuAddressDeleteAllItems, &QAction::triggered, this, [this] { mnuAddressDeleteAll(false); });
    connect(mnuAddressImportVCard, &QAction::triggered, this, &frmAddress::ImportVCards);
    connect(mnuAddressExportVCard, &QAction::triggered, this, [this] { ExportVCards(false); });
    connect(mnuAddressExportTab, &QAction::triggered, this, &frmAddress::ExportAddressTabDelimited);
    connect(mnuAddressListRCEdit, &QAction::triggered, this, &frmAddress::cmdEdit_Click);
    connect(mnuAddressListRCDelete, &QAction::triggered, this, &frmAddress::cmdDelete_Click);
    connect(mnuAddressListRCExport, &QAction::triggered, this, [this] { ExportVCards(true); });
    connect(mnuAddressBoxRCcopy, &QAction::triggered, this,
            [this] { QGuiApplication::clipboard()->setText(m_selection.text); });
    connect(mnuAddressBoxRCStripped, &QAction::triggered, this,
            [this] { QGuiApplication::clipboard()->setText(StrippedCopy(m_selection.text)); });
    connect(mnuAddressBoxRCSendMail, &QAction::triggered, this, &frmAddress::sendMail);
    connect(mnuAddressBoxRCwww, &QAction::triggered, this, [this] {
        // A page that does not open is the browser's business.
        openUrl(QUrl(QStringLiteral("http://") + m_selection.text.trimmed(), QUrl::TolerantMode));
    });
    connect(mnuAddressBoxRCDialPhone, &QAction::triggered, this, &frmAddress::dialPhone);

    ApplyCaptions(this);
    ShowResult(m_session.store().prompter, RefreshCategories(m_session.store()));
    m_filter->restore();
    ShowListItems();
    ListSelect->setFocus();
}

QList<QAction*> frmAddress::menuActions() {
    return {mnuAddressImportVCard,    mnuAddressExportVCard,   mnuAddressExportTab, nullptr,
            mnuAddressDeleteCategory, mnuAddressDeleteAllItems};
}

QList<QAction*> frmAddress::toolActions() {
    return {m_newTool};
}

void frmAddress::privateSwitched() {
    ShowListItems(selectedKey());
}

void frmAddress::showFound(const FoundRecord& found) {
    txtSearch->clear();
    ShowListItems(found.key);
    if (selectedKey() != found.key && m_filter->selected() != categories::kAll) {
        m_filter->fill(categories::kAll);
        ShowListItems(found.key);
    }
}

std::int32_t frmAddress::selectedKey() const {
    const QTreeWidgetItem* item = ListSelect->currentItem();
    return item != nullptr && !item->isHidden() ? KeyOf(item) : 0;
}

void frmAddress::ShowListItems(std::int32_t key) {
    m_filter->remember();
    Store& store = m_session.store();
    const int category = m_filter->selected();
    // Read once a list rather than at every row the person selects; both change only with a list read again.
    m_userLabels = options::LoadUserFieldLabels(store);
    m_categoryText = categories::LoadCategoryText(store, kContactSection);
    {
        const QSignalBlocker quiet(ListSelect);
        ListSelect->clear();
        QList<QTreeWidgetItem*> items;
        for (const ListItem& row : ListContacts(store, category)) {
            auto* item = new QTreeWidgetItem({row.name, row.contactInfo});
            item->setData(kNameColumn, Qt::UserRole, row.key);
            items.append(item);
        }
        ListSelect->addTopLevelItems(items);
        QTreeWidgetItem* chosen = nullptr;
        for (QTreeWidgetItem* item : items) {
            if (KeyOf(item) == key) {
                chosen = item;
            }
        }
        ListSelect->setCurrentItem(chosen != nullptr ? chosen : ListSelect->topLevelItem(0));
    }
    // "All" and "Unfiled" stand in the filter between angle brackets of their own.
    QString categoryText = cboCategories->currentText().trimmed();
    if (categoryText.startsWith(u'<') && categoryText.endsWith(u'>')) {
        categoryText = categoryText.mid(1, categoryText.size() - 2).trimmed();
    }
    m_session.frame.ShowStatusComment(ListStatus(ListSelect->topLevelItemCount(), categoryText));
    applySearch();
    ListSelect_ItemClick();
}

void frmAddress::applySearch() {
    const QString text = txtSearch->text().trimmed();
    QTreeWidgetItem* first = nullptr;
    for (int i = 0; i < ListSelect->topLevelItemCount(); ++i) {
        QTreeWidgetItem* item = ListSelect->topLevelItem(i);
        item->setHidden(!text.isEmpty() && !item->text(kNameColumn).contains(text, Qt::CaseInsensitive) &&
                        !item->text(kInfoColumn).contains(text, Qt::CaseInsensitive));
        if (first == nullptr && !item->isHidden()) {
            first = item;
        }
    }
    QTreeWidgetItem* current = ListSelect->currentItem();
    if (current == nullptr || current->isHidden()) {
        ListSelect->setCurrentItem(first);
        if (first == nullptr) {
            clearPane();
        }
    }
    updateCommands();
}

void frmAddress::updateCommands() {
    const bool shown = selectedKey() != 0;
    cmdEdit->setEnabled(shown);
    cmdDelete->setEnabled(shown);
    const bool any = ListSelect->topLevelItemCount() > 0;
    mnuAddressExportVCard->setEnabled(any);
    mnuAddressDeleteCategory->setEnabled(any);
    mnuAddressDeleteAllItems->setEnabled(any);
}

void frmAddress::clearPane() {
    m_shown.reset();
    showName->clear();
    showContact->clear();
}

void frmAddress::ListSelect_ItemClick() {
    updateCommands();
    const std::int32_t key = selectedKey();
    if (key == 0) {
        clearPane();
        return;
    }
    Result result;
    std::optional<Contact> contact = LoadContact(m_session.store(), key, &result);
    if (!contact) {
        clearPane();
        ShowResult(m_session.store().prompter, result);
        return;
    }
    ShowContactPane(*contact);
    m_shown = std::move(contact);
}

void frmAddress::ShowContactPane(const Contact& contact) {
    const ContactPane pane = contacts::ShowContactPane(contact, m_userLabels, m_categoryText);
    showName->setText(pane.name);
    showContact->clear();
    QTextCursor cursor(showContact->document());
    QTextCharFormat plain;
    QTextCharFormat bold;
    bold.setFontWeight(QFont::Bold);
    bool first = true;
    bool endsInBreak = false;
    for (const PaneLine& line : pane.lines) {
        if (!first && !endsInBreak) {
            cursor.insertText(QStringLiteral("\n"), plain);
        }
        first = false;
        cursor.insertText(line.heading, bold);
        cursor.insertText(line.text, plain);
        const QString last = line.text.isEmpty() ? line.heading : line.text;
        endsInBreak = last.endsWith(u'\n');
    }
    showContact->moveCursor(QTextCursor::Start);
}

bool frmAddress::preparePaneMenu() {
    const QString text = showContact->toPlainText();
    if (text.isEmpty()) {
        return false;
    }
    QTextCursor cursor = showContact->textCursor();
    const qsizetype start = cursor.hasSelection() ? cursor.selectionStart() : cursor.position();
    const qsizetype length = cursor.selectionEnd() - cursor.selectionStart();
    m_selection = SelectAndClassify(text, start, length);
    if (m_selection.kind == NoText) {
        return false;
    }
    if (m_selection.length > 0) {
        cursor.setPosition(static_cast<int>(m_selection.start));
        cursor.setPosition(static_cast<int>(m_selection.start + m_selection.length), QTextCursor::KeepAnchor);
        showContact->setTextCursor(cursor);
    }
    const bool oneLine = m_selection.kind != SeveralLines;
    mnuAddressBoxRCcopy->setVisible(true);
    mnuAddressBoxRCStripped->setVisible(oneLine);
    mnuAddressBoxRCSendMail->setVisible(m_selection.kind == MailText);
    mnuAddressBoxRCwww->setVisible(m_selection.kind == WebText);
    mnuAddressBoxRCDialPhone->setVisible(m_selection.kind == AlnumText || m_selection.kind == PhoneText ||
                                         m_selection.kind == OtherText);
    return true;
}

void frmAddress::sendMail() {
    const QString address = m_selection.text.trimmed();
    if (!IsMail(address)) {
        m_session.store().prompter.message(164, MsgText(164), Prompter::Buttons::Ok, Prompter::Icon::Warning);
        return;
    }
    openUrl(QUrl(QStringLiteral("mailto:") + address));
}

void frmAddress::dialPhone() {
    const QString text = m_selection.text.trimmed();
    QString prompt = MsgText(357);
    if (text.startsWith(u'+')) {
        prompt += u' ' + MsgText(358);
    }
    Prompter& prompter = m_session.store().prompter;
    const QString answer = prompter.input(MsgText(359), prompt, text);
    if (answer.isNull()) {
        return;
    }
    QString number;
    for (const QChar c : answer) {
        if (c >= u'0' && c <= u'9') {
            number += c;
        }
    }
    if (number.isEmpty()) {
        prompter.message(165, MsgText(165), Prompter::Buttons::Ok, Prompter::Icon::Warning);
        return;
    }
    // The desktop hands tel: to whatever dials here: a softphone, a paired phone.
    openUrl(QUrl(QStringLiteral("tel:") + number));
}

void frmAddress::cmdAdd_Click() {
    Contact contact;
    contact.owner = m_session.store().user.level;
    const int category = m_filter->forNewRecord();
    if (category != categories::kUnfiled) {
        contact.categories = {category};
    }
    editContact(contact);
}

void frmAddress::cmdEdit_Click() {
    const std::int32_t key = selectedKey();
    if (key == 0) {
        return;
    }
    // The pane holds the selected contact as read; one that did not read is asked for again, to say why.
    if (m_shown && m_shown->key == key) {
        editContact(Contact(*m_shown));
        return;
    }
    Result result;
    const std::optional<Contact> contact = LoadContact(m_session.store(), key, &result);
    if (!contact) {
        ShowResult(m_session.store().prompter, result);
        return;
    }
    editContact(*contact);
}

void frmAddress::editContact(const Contact& contact) {
    Store& store = m_session.store();
    const modal::Scoped<frmEditAddress> dialog(store, contact, this);
    dialog.exec();
    if (dialog.get() == nullptr || dialog->cancelled()) {
        return;
    }
    const Contact stored = dialog->contact();
    const int inView = m_filter->selected();
    // The editor may have made a category just now, so the filter reads the list again.
    m_filter->fill(inView == categories::kAll ? inView : stored.primaryCategory());
    txtSearch->clear();
    ShowListItems(stored.key);
    if (stored.isPrivate && store.hidePrivate) {
        // Otherwise the contact would vanish from the list without a word.
        store.prompter.message(
            0, tr("The contact is stored. It is private, and private records are hidden: show them to see it."));
    }
}

void frmAddress::cmdDelete_Click() {
    const QTreeWidgetItem* item = ListSelect->currentItem();
    const std::int32_t key = selectedKey();
    if (key == 0) {
        return;
    }
    Prompter& prompter = m_session.store().prompter;
    if (prompter.message(14, MsgText(14) + u' ' + item->text(kNameColumn), Prompter::Buttons::OkCancel,
                         Prompter::Icon::Warning) != Prompter::Reply::Ok) {
        return;
    }
    const int row = ListSelect->indexOfTopLevelItem(ListSelect->currentItem());
    const Result result = DeleteContact(m_session.store(), key);
    ShowResult(prompter, result);
    ShowListItems();
    // The next row, or the last one when the deleted row was the last.
    const int count = ListSelect->topLevelItemCount();
    if (count > 0) {
        ListSelect->setCurrentItem(ListSelect->topLevelItem(std::min(row, count - 1)));
    }
}

void frmAddress::mnuAddressDeleteAll(bool onlyCategory) {
    Store& store = m_session.store();
    Prompter& prompter = store.prompter;
    if (!MayDeleteAll(store)) {
        prompter.message(250, MsgText(250), Prompter::Buttons::Ok, Prompter::Icon::Warning);
        return;
    }
    if (ListSelect->topLevelItemCount() == 0) {
        return;
    }
    const int category = m_filter->selected();
    const bool everything = DeletesEverything(onlyCategory, category);
    const int question = everything ? 80 : 102;
    if (prompter.message(question, MsgText(question), Prompter::Buttons::OkCancel, Prompter::Icon::Warning) !=
            Prompter::Reply::Ok ||
        prompter.message(81, MsgText(81), Prompter::Buttons::OkCancel, Prompter::Icon::Warning) !=
            Prompter::Reply::Ok) {
        return;
    }
    ShowResult(prompter, DeleteAllContacts(store, onlyCategory, category));
    ShowResult(prompter, RefreshCategories(store));
    m_filter->fill(everything ? categories::kAll : category);
    ShowListItems();
}

void frmAddress::ExportAddressTabDelimited() {
    Prompter& prompter = m_session.store().prompter;
    const QString path = prompter.chooseNewFile(tr("Export Contacts"), tr("Text files (*.txt);;All files (*)"));
    if (path.isEmpty()) {
        return;
    }
    qsizetype count = 0;
    const QString failure = contacts::ExportAddressTabDelimited(m_session.store(), path, &count);
    if (!failure.isEmpty()) {
        prompter.message(
            0, tr("The contacts could not be written to %1:\n%2").arg(QDir::toNativeSeparators(path), failure),
            Prompter::Buttons::Ok, Prompter::Icon::Critical);
        return;
    }
    prompter.message(0, TabExportNotice(QDir::toNativeSeparators(path), count), Prompter::Buttons::Ok,
                     Prompter::Icon::Warning);
}

void frmAddress::ExportVCards(bool selectedOnly) {
    Store& store = m_session.store();
    QVector<std::int32_t> keys;
    for (int i = 0; i < ListSelect->topLevelItemCount(); ++i) {
        const QTreeWidgetItem* item = ListSelect->topLevelItem(i);
        if (!item->isHidden() && (!selectedOnly || item->isSelected())) {
            keys.append(KeyOf(item));
        }
    }
    if (keys.isEmpty()) {
        return;
    }
    Prompter& prompter = store.prompter;
    const QString path = prompter.chooseNewFile(tr("Export vCard"), QLatin1String(kVCardFilter));
    if (path.isEmpty()) {
        return;
    }
    // The list holds only what this reader may see now, so private contacts leave only while they are shown.
    QVector<Contact> chosen;
    for (const std::int32_t key : keys) {
        if (std::optional<Contact> contact = LoadContact(store, key)) {
            chosen.append(std::move(*contact));
        }
    }
    const QString failure = contacts::ExportVCards(store, chosen, path);
    if (!failure.isEmpty()) {
        prompter.message(
            0, tr("The contacts could not be written to %1:\n%2").arg(QDir::toNativeSeparators(path), failure),
            Prompter::Buttons::Ok, Prompter::Icon::Critical);
        return;
    }
    prompter.message(0, TabExportNotice(QDir::toNativeSeparators(path), chosen.size()), Prompter::Buttons::Ok,
                     Prompter::Icon::Warning);
}

void frmAddress::ImportVCards() {
    Store& store = m_session.store();
    Prompter& prompter = store.prompter;
    const QString path = prompter.chooseExistingFile(tr("Import vCard"), QLatin1String(kVCardFilter));
    if (path.isEmpty()) {
        return;
    }
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        prompter.message(0, tr("%1 could not be read:\n%2").arg(QDir::toNativeSeparators(path), file.errorString()),
                         Prompter::Buttons::Ok, Prompter::Icon::Critical);
        return;
    }
    const QByteArray bytes = file.read(kVCardMaxBytes + 1);
    const VCardReading reading = ReadVCards(bytes);
    if (!reading.refusal.isEmpty()) {
        prompter.message(0, tr("%1 was not imported: %2").arg(QDir::toNativeSeparators(path), reading.refusal),
                         Prompter::Buttons::Ok, Prompter::Icon::Warning);
        return;
    }
    if (reading.cards.isEmpty()) {
        prompter.message(170, MsgText(170) + QStringLiteral("\n\n") + ImportReport(0, 0, reading),
                         Prompter::Buttons::Ok, Prompter::Icon::Warning);
        return;
    }
    if (prompter.message(169, QString::number(reading.cards.size()) + u' ' + MsgText(169), Prompter::Buttons::YesNo,
                         Prompter::Icon::Question) != Prompter::Reply::Yes) {
        return;
    }
    // On the heap: a form that goes while the import runs takes its progress window along, and the import stops.
    const QPointer<QProgressDialog> progress =
        new QProgressDialog(tr("Importing contacts..."), tr("Cancel"), 0, static_cast<int>(reading.cards.size()), this);
    progress->setObjectName(QStringLiteral("prgImport"));
    progress->setWindowModality(Qt::WindowModal);
    progress->setMinimumDuration(300);
    VCardImport result;
    {
        const modal::Loop loop;
        result = contacts::ImportVCards(store, reading.cards, [&progress](int done, int total) {
            if (progress.isNull()) {
                return false;
            }
            progress->setMaximum(total);
            progress->setValue(done);
            return !progress.isNull() && !progress->wasCanceled();
        });
    }
    if (progress.isNull()) {
        return;
    }
    delete progress.data();
    if (!result.result.ok()) {
        ShowResult(prompter, result.result);
        return;
    }
    m_filter->fill(m_filter->selected());
    ShowListItems(selectedKey());
    prompter.message(0, ImportReport(result.imported, result.categoriesAdded, reading));
}

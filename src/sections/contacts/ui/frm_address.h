#pragma once

#include "sections/contacts/contact.h"
#include "sections/contacts/contact_classify.h"
#include "shell/ui/section_form.h"

#include <QString>
#include <QStringList>
#include <QUrl>

#include <cstdint>
#include <functional>
#include <optional>

class CategoryFilter;
class QComboBox;
class QLabel;
class QLineEdit;
class QMenu;
class QTextEdit;
class QToolButton;
class QTreeWidget;
class Session;

// The Contacts section: names and their primary contact in two columns, filtered by category, and everything
// known about the selected contact in a read-only pane whose context menu copies, mails, opens or dials what
// the pointer is on.
class frmAddress : public SectionForm {
    Q_OBJECT

public:
    explicit frmAddress(Session& session, QWidget* parent = nullptr);

    QList<QAction*> menuActions() override;
    QList<QAction*> toolActions() override;
    void privateSwitched() override;
    // Selects the contact, under "All" when the category in view does not list it.
    void showFound(const FoundRecord& found) override;

    // Reads the list of the category in view again and selects `key`, or the first row.
    void ShowListItems(std::int32_t key = 0);
    std::int32_t selectedKey() const;
    void cmdAdd_Click();
    void cmdEdit_Click();
    void cmdDelete_Click();
    void mnuAddressDeleteAll(bool onlyCategory);
    void ExportAddressTabDelimited();
    // The selected rows, or every row of the list in view.
    void ExportVCards(bool selectedOnly);
    void ImportVCards();
    // Classifies what the pane's selection or caret points at and shows the commands that fit; false when the
    // pane has nothing to offer.
    bool preparePaneMenu();

    QComboBox* cboCategories = nullptr;
    QToolButton* cmdEditCat = nullptr;
    QLineEdit* txtSearch = nullptr;
    QTreeWidget* ListSelect = nullptr;
    QPushButton* cmdAdd = nullptr;
    QPushButton* cmdEdit = nullptr;
    QPushButton* cmdDelete = nullptr;
    QLabel* showName = nullptr;
    QTextEdit* showContact = nullptr;

    QAction* mnuAddressDeleteCategory = nullptr;
    QAction* mnuAddressDeleteAllItems = nullptr;
    QAction* mnuAddressImportVCard = nullptr;
    QAction* mnuAddressExportVCard = nullptr;
    QAction* mnuAddressExportTab = nullptr;

    QMenu* mnuAddressBoxRC = nullptr;
    QAction* mnuAddressBoxRCcopy = nullptr;
    QAction* mnuAddressBoxRCStripped = nullptr;
    QAction* mnuAddressBoxRCSendMail = nullptr;
    QAction* mnuAddressBoxRCwww = nullptr;
    QAction* mnuAddressBoxRCDialPhone = nullptr;

    QMenu* mnuAddressListRC = nullptr;
    QAction* mnuAddressListRCEdit = nullptr;
    QAction* mnuAddressListRCDelete = nullptr;
    QAction* mnuAddressListRCExport = nullptr;

    // Hands mailto:, http: and tel: addresses to the desktop; replaced in tests.
    std::function<bool(const QUrl&)> openUrl;

private:
    void ListSelect_ItemClick();
    void ShowContactPane(const contacts::Contact& contact);
    void clearPane();
    void applySearch();
    void updateCommands();
    void editContact(const contacts::Contact& contact);
    void sendMail();
    void dialPhone();

    Session& m_session;
    CategoryFilter* m_filter;
    QAction* m_newTool = nullptr;
    // What the pane's context menu works on.
    contacts::PaneSelection m_selection;
    // The contact the pane shows, and what the pane needs besides it.
    std::optional<contacts::Contact> m_shown;
    QStringList m_userLabels;
    QString m_categoryText;
};

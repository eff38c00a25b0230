#pragma once

#include "sections/vault/vault.h"
#include "shell/ui/section_form.h"

#include <array>
#include <cstdint>

class QCheckBox;
class QFrame;
class QLabel;
class QLineEdit;
class QListWidget;
class QPlainTextEdit;
class QRadioButton;
class Session;

// The vault: its sub-categories in five columns, the records of the chosen one, and the selected record with its
// labelled fields. Passwords stay masked until the person shows them, and showing them takes the passphrase.
class frmClassified : public SectionForm {
    Q_OBJECT
public:
    explicit frmClassified(Session& session, QWidget* parent = nullptr);

    QList<QAction*> toolActions() override;
    // Hiding private records also masks the passwords again and empties the pane.
    void privateSwitched() override;
    // Chooses the record's sub-category, as a click on it would, and selects the record.
    void showFound(const FoundRecord& found) override;

    // Chooses sub-category `index` (0: none), lists its records and selects `key` if it is listed.
    void cat_Click(int index, std::int32_t key = 0);
    // Lists the records of the chosen sub-category again and selects `key` if it is listed.
    void listSelect_Initialize(std::int32_t key = 0);
    void cmdAdd_Click();
    void cmdEdit_Click();
    void cmdDelete_Click();
    // Shows plain passwords once the passphrase was given again; masks them again at once.
    void chkPlainPW_Click(bool on);
    // Shows the records whose passwords are weak or shared, and leads to one of them.
    void ShowWeakPasswords();

    int subCategory() const { return m_subCategory; }
    std::int32_t shownKey() const { return m_shownKey; }

    std::array<QRadioButton*, 17> cat{};
    std::array<QLabel*, vault::kMainCategoryCount> lblMainCategory{};
    QLabel* lblCategory = nullptr;
    QListWidget* ListSelect = nullptr;
    QFrame* padFrame = nullptr;
    std::array<QLabel*, vault::kValueCount> lblTxt{};
    std::array<QLineEdit*, vault::kValueCount> txtCtl{};
    QCheckBox* chkPlainPW = nullptr;
    QCheckBox* ctlPrivate = nullptr;
    QLabel* lblNotes = nullptr;
    QPlainTextEdit* txtNotes = nullptr;
    QLabel* lblLastModified = nullptr;
    QPushButton* cmdAdd = nullptr;
    QPushButton* cmdEdit = nullptr;
    QPushButton* cmdDelete = nullptr;
    QAction* tbrWeakPasswords = nullptr;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void showRecord(std::int32_t key);
    void clearPad();
    void applyMasks();
    void updateCommands();
    void showCopyMenu(int field, const QPoint& at);
    void editEntry(const vault::Entry& entry);
    std::int32_t selectedKey() const;

    Session& m_session;
    QAction* m_newTool = nullptr;
    int m_subCategory = 0;
    std::int32_t m_shownKey = 0;
};

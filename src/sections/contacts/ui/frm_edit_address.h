#pragma once

#include "sections/contacts/contact_editor.h"
#include "shell/ui/editor_dialog.h"

#include <array>
#include <utility>
#include <vector>

class CategoryPicker;
class QButtonGroup;
class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QListWidget;
class QListWidgetItem;
class QPlainTextEdit;
class QStackedWidget;
class QTabWidget;
class Store;

// Edits one contact on six pages and stores it on OK, with its birthday and anniversary in the calendar when
// asked; a store that fails keeps the dialog open with everything typed. Fields the editor has no control for
// are written back as they were read.
class frmEditAddress : public EditorDialog {
    Q_OBJECT
public:
    frmEditAddress(Store& store, const contacts::Contact& contact, QWidget* parent = nullptr);

    // The contact as stored by OK, with its key.
    const contacts::Contact& contact() const { return m_contact; }

protected:
    QVariantList values() const override;
    bool accepted() override;

private:
    QWidget* buildName();
    QWidget* buildAddress();
    QWidget* buildCom();
    QWidget* buildPersonal();
    QWidget* buildUser();
    QWidget* buildNotes();
    void buildCategories();
    QLineEdit* textField(QWidget* page, int field, const QString& name);

    contacts::Contact typed() const;
    QString gender() const;
    // The FileAs candidates of the names as typed, keeping `chosenBefore` while it is one of them.
    void rebuildFileAs(const QString& chosenBefore);
    void askDate(QLineEdit* field, const QString& title);
    void updateCalendarBoxes();
    bool datesAreDates();
    void fillCategoryList();
    void categoryTicked(QListWidgetItem* item);
    void showCategories();

    Store& m_store;
    contacts::Contact m_contact;
    contacts::ComRows m_rows;
    // The plain text fields and the line edit of each.
    std::vector<std::pair<int, QLineEdit*>> m_texts;
    std::array<QLineEdit*, contacts::kComRows> m_com{};
    // The further categories in the order they were ticked, those loaded first.
    QVector<int> m_chosen;

    QTabWidget* m_tabs = nullptr;
    QComboBox* m_fileAs = nullptr;
    QStackedWidget* m_addressSets = nullptr;
    QButtonGroup* m_gender = nullptr;
    QLineEdit* m_birthday = nullptr;
    QLineEdit* m_anniversary = nullptr;
    QCheckBox* m_birthdayToCalendar = nullptr;
    QCheckBox* m_anniversaryToCalendar = nullptr;
    QPlainTextEdit* m_notes = nullptr;
    QCheckBox* m_private = nullptr;
    CategoryPicker* m_category = nullptr;
    QListWidget* m_categoryList = nullptr;
    QLabel* m_categoryNames = nullptr;
};

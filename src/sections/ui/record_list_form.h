#pragma once

#include "shell/section_table.h"
#include "shell/ui/section_form.h"

#include <QVector>

#include <cstdint>

class CategoryFilter;
class QComboBox;
class QHBoxLayout;
class QLayout;
class QLineEdit;
class QListWidget;
class QListWidgetItem;
class QPushButton;
class QToolButton;
class Session;

// Lays a section form out as its list side (the category filter with its button, the search, the list and the
// commands) beside `pane`, the two sides sharing the width by their stretch factors.
void LayOutListAndPane(QWidget* form, const CategoryFilter& filter, QLineEdit* search, QWidget* list, QLayout* commands,
                       QWidget* pane, int listStretch, int paneStretch);

// The form of a section that lists its records by title in categories: the category filter (remembered while
// the file is open), a search over the titles shown, the list, and Add, Edit and Delete with Ctrl+N, Ctrl+E and
// Ctrl+D. The section supplies the pane that shows the selected record and the two editing commands.
class RecordListForm : public SectionForm {
    Q_OBJECT
public:
    // `newTip` names the command bar's button for a new record.
    RecordListForm(Session& session, SectionId section, const QString& newTip, QWidget* parent = nullptr);

    // Reads the list of the selected category again and selects `key` (or the first entry).
    void ReloadList(std::int32_t key = 0);
    std::int32_t selectedKey() const;
    // The category in view; categories::kAll for "All".
    int selectedCategory() const;
    void privateSwitched() override;
    // The filter takes the record's category and the search is emptied, so that the record is listed.
    void showFound(const FoundRecord& found) override;
    QList<QAction*> toolActions() override;

    void cmdDelete_Click();
    // Deletes the records of the category in view, or all of them with the section's category lists.
    void DeleteAll(bool category);

    QComboBox* cboCategories = nullptr;
    QToolButton* cmdEditCat = nullptr;
    QLineEdit* txtSearch = nullptr;
    QListWidget* ListSelect = nullptr;
    QPushButton* cmdAdd = nullptr;
    QPushButton* cmdEdit = nullptr;
    QPushButton* cmdDelete = nullptr;

protected:
    // Builds the list side and puts `pane` beside it.
    void setPane(QWidget* pane);
    // Shows the record `key`, or nothing for 0.
    virtual void showRecord(std::int32_t key) = 0;
    virtual void cmdAdd_Click() = 0;
    virtual void cmdEdit_Click() = 0;
    // The question before one record is deleted.
    virtual int deleteMessage() const = 0;
    // After a store: the filter follows a record filed in another category, and the record is selected.
    void ShowStored(std::int32_t key, int category);
    // The category a new record is filed in: the one in view, "Unfiled" for "All".
    int newRecordCategory() const;
    // The text of a question about a record: the message, two line breaks, three blanks and the title.
    static QString AboutRecord(int message, const QString& title);

    Session& m_session;
    const SectionInfo& m_info;
    CategoryFilter* m_filter;

private:
    void applySearch();
    // The entry of `key` if the search lets it through, else the first entry it lets through.
    QListWidgetItem* shownItem(std::int32_t key) const;
    void updateCommands();
    void showCount();
    QAction* m_newTool = nullptr;
    QHBoxLayout* m_commands = nullptr;
};

#include "sections/ui/record_list_form.h"

#include "base/messages.h"
#include "sections/categories/categories.h"
#include "sections/record_store.h"
#include "sections/ui/category_filter.h"
#include "shell/session.h"
#include "shell/show_result.h"
#include "shell/ui/list_controls.h"
#include "shell/ui/modal.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QSplitter>
#include <QToolButton>
#include <QVBoxLayout>

RecordListForm::RecordListForm(Session& session, SectionId section, const QString& newTip, QWidget* parent)
    : SectionForm(parent)
    , m_session(session)
    , m_info(sections::Info(section))
    , m_filter(new CategoryFilter(session, sections::Number(section), this)) {
    cboCategories = m_filter->combo;
    cmdEditCat = m_filter->editButton;
    setObjectName(QLatin1String(m_info.formName));
    txtSearch = new QLineEdit(this);
    txtSearch->setObjectName(QStringLiteral("txtSearch"));
    txtSearch->setClearButtonEnabled(true);
    txtSearch->setPlaceholderText(tr("Search titles"));
    ListSelect = new QListWidget(this);
    ListSelect->setObjectName(QStringLiteral("ListSelect"));
    const RecordButtons buttons = recordButtons(newTip);
    cmdAdd = buttons.add;
    cmdEdit = buttons.edit;
    cmdDelete = buttons.remove;
    m_newTool = buttons.newTool;
    m_commands = buttons.row;

    connect(m_filter, &CategoryFilter::changed, this, [this] { ReloadList(selectedKey()); });
    connect(txtSearch, &QLineEdit::textChanged, this, &RecordListForm::applySearch);
    connect(ListSelect, &QListWidget::currentRowChanged, this, [this] {
        showRecord(selectedKey());
        updateCommands();
    });
    connect(ListSelect, &QListWidget::itemDoubleClicked, this, [this] { cmdEdit_Click(); });
    connect(cmdAdd, &QPushButton::clicked, this, [this] { cmdAdd_Click(); });
    connect(cmdEdit, &QPushButton::clicked, this, [this] { cmdEdit_Click(); });
    connect(cmdDelete, &QPushButton::clicked, this, &RecordListForm::cmdDelete_Click);
}

void LayOutListAndPane(QWidget* form, const CategoryFilter& filter, QLineEdit* search, QWidget* list, QLayout* commands,
                       QWidget* pane, int listStretch, int paneStretch) {
    auto* filterRow = new QHBoxLayout;
    filterRow->addWidget(filter.combo, 1);
    filterRow->addWidget(filter.editButton);
    auto* listSide = new QWidget(form);
    auto* left = new QVBoxLayout(listSide);
    left->setContentsMargins(0, 0, 0, 0);
    left->addLayout(filterRow);
    left->addWidget(search);
    left->addWidget(list, 1);
    left->addLayout(commands);
    auto* splitter = new QSplitter(form);
    splitter->addWidget(listSide);
    splitter->addWidget(pane);
    splitter->setStretchFactor(0, listStretch);
    splitter->setStretchFactor(1, paneStretch);
    auto* layout = new QVBoxLayout(form);
    layout->addWidget(splitter);
}

void RecordListForm::setPane(QWidget* pane) {
    LayOutListAndPane(this, *m_filter, txtSearch, ListSelect, m_commands, pane, 0, 2);
    m_filter->restore();
    ReloadList();
    ListSelect->setFocus();
}

int RecordListForm::selectedCategory() const {
    return m_filter->selected();
}

int RecordListForm::newRecordCategory() const {
    return m_filter->forNewRecord();
}

std::int32_t RecordListForm::selectedKey() const {
    const QListWidgetItem* item = ListSelect->currentItem();
    return item != nullptr && !item->isHidden() ? item->data(Qt::UserRole).toInt() : 0;
}

void RecordListForm::ReloadList(std::int32_t key) {
    m_filter->remember();
    const QSignalBlocker quiet(ListSelect);
    ListSelect->clear();
    for (const records::ListedTitle& row :
         records::ListTitles(m_session.store(), sections::Number(m_info.id), selectedCategory())) {
        auto* item = new QListWidgetItem(row.title, ListSelect);
        item->setData(Qt::UserRole, row.key);
    }
    ListSelect->sortItems();
    applySearch();
    ListSelect->setCurrentItem(shownItem(key));
    showRecord(selectedKey());
    updateCommands();
    showCount();
}

QListWidgetItem* RecordListForm::shownItem(std::int32_t key) const {
    QListWidgetItem* first = nullptr;
    for (int i = 0; i < ListSelect->count(); ++i) {
        QListWidgetItem* item = ListSelect->item(i);
        if (!item->isHidden() && item->data(Qt::UserRole).toInt() == key) {
            return item;
        }
        if (!item->isHidden() && first == nullptr) {
            first = item;
        }
    }
    return first;
}

void RecordListForm::applySearch() {
    const QString text = txtSearch->text().trimmed();
    for (int i = 0; i < ListSelect->count(); ++i) {
        QListWidgetItem* item = ListSelect->item(i);
        item->setHidden(!text.isEmpty() && !item->text().contains(text, Qt::CaseInsensitive));
    }
    if (ListSelect->currentItem() == nullptr || ListSelect->currentItem()->isHidden()) {
        QListWidgetItem* first = shownItem(0);
        ListSelect->setCurrentItem(first);
        if (first == nullptr) {
            showRecord(0);
        }
    }
    updateCommands();
}

void RecordListForm::updateCommands() {
    const bool shown = selectedKey() != 0;
    cmdEdit->setEnabled(shown);
    cmdDelete->setEnabled(shown);
}

void RecordListForm::showCount() {
    m_session.frame.ShowStatusComment(
        QStringLiteral("%1: %2").arg(sections::Name(sections::Number(m_info.id))).arg(ListSelect->count()));
}

QList<QAction*> RecordListForm::toolActions() {
    return {m_newTool};
}

void RecordListForm::privateSwitched() {
    ReloadList(selectedKey());
}

void RecordListForm::showFound(const FoundRecord& found) {
    m_filter->fill(categories::GetRecordCategory(m_session.store(), found.key));
    txtSearch->clear();
    ReloadList(found.key);
}

QString RecordListForm::AboutRecord(int message, const QString& title) {
    return MsgText(message) + QStringLiteral("\n\n   ") + title;
}

void RecordListForm::ShowStored(std::int32_t key, int category) {
    const int inView = selectedCategory();
    // The editor may have made the category just now, so the filter reads the list again.
    m_filter->fill(inView == categories::kAll ? inView : category);
    txtSearch->clear();
    ReloadList(key);
}

void RecordListForm::cmdDelete_Click() {
    const std::int32_t key = selectedKey();
    if (key == 0) {
        return;
    }
    Prompter& prompter = m_session.store().prompter;
    if (prompter.message(deleteMessage(), AboutRecord(deleteMessage(), ListSelect->currentItem()->text()),
                         Prompter::Buttons::OkCancel, Prompter::Icon::Warning) != Prompter::Reply::Ok) {
        return;
    }
    const Result result = records::DeleteRecord(m_session.store(), sections::Number(m_info.id), key);
    ShowResult(prompter, result);
    const int row = ListSelect->currentRow();
    ReloadList();
    // The next entry the search lets through, else the last one before the deleted one.
    int chosen = -1;
    for (int i = 0; i < ListSelect->count() && chosen < row; ++i) {
        if (!ListSelect->item(i)->isHidden()) {
            chosen = i;
        }
    }
    if (chosen >= 0) {
        ListSelect->setCurrentRow(chosen);
    }
}

void RecordListForm::DeleteAll(bool category) {
    const int inView = selectedCategory();
    // With "All" in view a category's deletion is a deletion of all.
    const bool all = !category || inView == categories::kAll;
    Prompter& prompter = m_session.store().prompter;
    const int question = all ? 80 : 102;
    if (prompter.message(question, MsgText(question), Prompter::Buttons::OkCancel, Prompter::Icon::Warning) !=
            Prompter::Reply::Ok ||
        prompter.message(81, MsgText(81), Prompter::Buttons::OkCancel, Prompter::Icon::Warning) !=
            Prompter::Reply::Ok) {
        return;
    }
    const Result result =
        records::DeleteRecords(m_session.store(), sections::Number(m_info.id), all ? records::kAllCategories : inView);
    ShowResult(prompter, result);
    m_filter->fill(all ? categories::kAll : inView);
    ReloadList();
}

#pragma once

#include "sections/find/record_search.h"
#include "shell/section_list.h"
#include "shell/ui/section_form.h"

#include <QDialog>
#include <QHash>

#include <array>
#include <atomic>
#include <optional>
#include <thread>

class QCheckBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QTreeWidget;
class QTreeWidgetItem;
class Session;

// Find: the records of the chosen sections are deciphered on worker threads and those holding the search text are
// listed as they come; Go To leads to the one chosen. While the search runs the form stays responsive, but only
// Cancel acts, as the search has the store's connection to itself.
class frmFind : public QDialog {
    Q_OBJECT
public:
    frmFind(Session& session, const SectionList& sections, QWidget* parent = nullptr);
    ~frmFind() override;

    // Runs the dialog modally; the record Go To chose, if any. The caller goes there once the dialog is gone.
    static std::optional<FoundRecord> Run(Session& session, const SectionList& sections, QWidget* parent);

    // However the dialog closes, a search running is stopped and waited for first.
    void done(int result) override;

    bool searching() const { return m_searching; }
    const std::optional<FoundRecord>& chosen() const { return m_chosen; }

    std::array<QCheckBox*, 7> PinApp{};
    QPushButton* cmdSelectAll = nullptr;
    QPushButton* cmdDeselect = nullptr;
    QCheckBox* chkCaseSensitive = nullptr;
    QLineEdit* txtFind = nullptr;
    QPushButton* cmdFind = nullptr;
    QTreeWidget* LV = nullptr;
    QLabel* lblSummary = nullptr;
    QPushButton* cmdCancel = nullptr;
    QPushButton* cmdGoto = nullptr;

private:
    void cmdFind_Click();
    void cmdCancel_Click();
    void cmdGoto_Click();
    void setAllBoxes(bool checked);
    void updateFind();
    // A batch of hits from the search, on the interface thread.
    void addHits(QVector<find::Hit> hits);
    void searchEnded(const find::Outcome& outcome);
    void stopSearch();
    void setSearching(bool on);
    QTreeWidgetItem* newRow(const find::Hit& hit) const;
    void showSummary();
    // Empties the list and overwrites the deciphered texts behind it.
    void wipeList();

    Session& m_session;
    // Everything but Cancel, Go To and the summary, disabled as one while the search runs.
    QWidget* m_body = nullptr;
    std::thread m_search;
    std::atomic<bool> m_stop{false};
    bool m_searching = false;
    QList<int> m_order;
    QVector<find::Hit> m_hits;
    QHash<int, QString> m_budgetNames;
    std::optional<FoundRecord> m_chosen;
};

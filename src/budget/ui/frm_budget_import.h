#pragma once

#include "budget/statement_import.h"
#include "shell/list_entry.h"

#include <QByteArray>
#include <QDialog>

#include <array>

class Store;
class QCheckBox;
class QComboBox;
class QGroupBox;
class QLabel;
class QPushButton;
class QSpinBox;
class QTableWidget;

// A bank statement shown before it goes into a budget: for a CSV file how it is read (changeable, and
// remembered for the bank on this machine), then every booking with its category, duplicates unticked and refused
// rows with their reason. Import writes the ticked rows, all or none.
class frmBudgetImport : public QDialog {
    Q_OBJECT
public:
    enum class Format { Csv, Qif, Ofx };
    // The format a file's name or first bytes tell.
    static Format FormatOf(const QString& path, const QByteArray& bytes);

    // `categories` are the budget's filter entries, `payments` the payment entries with "All" first.
    frmBudgetImport(Store& store, int budget, const QString& path, QByteArray bytes, Format format,
                    const ListEntries& categories, const ListEntries& payments, QWidget* parent = nullptr);
    ~frmBudgetImport() override;

    // What the import did once it ran.
    const budget::statements::ImportResult& result() const { return m_result; }

    QLabel* lblFile = nullptr;
    QGroupBox* fraCsv = nullptr;
    QComboBox* cboSeparator = nullptr;
    QComboBox* cboEncoding = nullptr;
    QComboBox* cboDecimal = nullptr;
    QComboBox* cboDateFormat = nullptr;
    QSpinBox* spnSkip = nullptr;
    QCheckBox* chkHeader = nullptr;
    // date, item, partner, amount, credit, debit, note; object names cboColumn_0 .. cboColumn_6
    std::array<QComboBox*, 7> cboColumn{};
    QTableWidget* tblPreview = nullptr;
    QTableWidget* tblRows = nullptr;
    QLabel* lblSummary = nullptr;
    QComboBox* cboPayment = nullptr;
    QPushButton* cmdRules = nullptr;
    QPushButton* cmdImport = nullptr;
    QPushButton* cmdEsc = nullptr;

private:
    void buildCsvControls();
    void showLayout(const budget::statements::CsvLayout& layout);
    budget::statements::CsvLayout layoutShown() const;
    void fillColumnChoices();
    // A change of how the file is read may change its columns too; a change of which column holds what does not.
    void csvChanged(bool columnsMayChange);
    void readStatement();
    void plan();
    void fillRows();
    void showCounts();
    void cmdRules_Click();
    void cmdImport_Click();

    Store& m_store;
    int m_budget;
    QByteArray m_bytes;
    Format m_format;
    ListEntries m_categories; // "Unfiled" and the named ones
    budget::statements::Statement m_statement;
    budget::statements::ImportPlan m_plan;
    budget::statements::CategoryRules m_rules;
    bool m_filling = false;
    budget::statements::ImportResult m_result;
};

// The category rules of one budget: a text found in a booking's item or partner gives the category.
class frmBudgetRules : public QDialog {
    Q_OBJECT
public:
    frmBudgetRules(Store& store, int budget, const ListEntries& categories, QWidget* parent = nullptr);

    QTableWidget* tblRules = nullptr;
    QPushButton* cmdAddRule = nullptr;
    QPushButton* cmdDeleteRule = nullptr;
    QPushButton* cmdOK = nullptr;
    QPushButton* cmdEsc = nullptr;

private:
    void addRow(const QString& text, int category);
    void cmdOK_Click();

    Store& m_store;
    int m_budget;
    ListEntries m_categories;
    budget::statements::CategoryRules m_others; // the other budgets' rules, written back as they were
};

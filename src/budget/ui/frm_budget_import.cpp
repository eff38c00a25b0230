#include "budget/ui/frm_budget_import.h"

#include "budget/ui/frm_budget.h"

#include "budget/amounts.h"
#include "budget/statements/ofx_statement.h"
#include "budget/statements/qif_statement.h"
#include "shell/catalogue/captions.h"
#include "shell/dates.h"
#include "shell/session.h"
#include "shell/settings.h"
#include "shell/ui/apply_captions.h"
#include "shell/ui/list_controls.h"
#include "shell/ui/modal.h"
#include "store/store.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFile>
#include <QFileInfo>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPointer>
#include <QProgressDialog>
#include <QPushButton>
#include <QSpinBox>
#include <QTableWidget>
#include <QTreeWidget>
#include <QVBoxLayout>

using namespace budget::statements;

namespace {

constexpr int kPreviewRows = 8;
enum RowColumn { kTake, kDate, kItem, kPartner, kAmount, kCategory, kState, kColumns };
const QString kLayoutKeys = QStringLiteral("BankStatementLayouts\\");

template <typename T> T* Named(QWidget* parent, const char* name) {
    auto* widget = new T(parent);
    widget->setObjectName(QLatin1String(name));
    return widget;
}

QLabel* Caption(QWidget* parent, const char* name, QWidget* buddy) {
    auto* label = Named<QLabel>(parent, name);
    label->setBuddy(buddy);
    return label;
}

QTableWidgetItem* ReadOnlyCell(const QString& text) {
    auto* cell = new QTableWidgetItem(text);
    cell->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable);
    return cell;
}

QComboBox* CategoryChoice(const ListEntries& categories, int selected, QWidget* parent) {
    auto* choice = new QComboBox(parent);
    list_controls::AddEntries(choice, categories);
    list_controls::SelectByItemData(choice, selected);
    return choice;
}

} // namespace

frmBudgetImport::Format frmBudgetImport::FormatOf(const QString& path, const QByteArray& bytes) {
    const QString suffix = QFileInfo(path).suffix().toLower();
    if (suffix == QLatin1String("qif")) {
        return Format::Qif;
    }
    if (suffix == QLatin1String("ofx") || suffix == QLatin1String("qfx")) {
        return Format::Ofx;
    }
    const QByteArray head = bytes.left(4096).toUpper();
    if (head.contains("OFXHEADER") || head.contains("<OFX>")) {
        return Format::Ofx;
    }
    return head.trimmed().startsWith("!TYPE:") || head.trimmed().startsWith("!ACCOUNT") ? Format::Qif : Format::Csv;
}

frmBudgetImport::frmBudgetImport(Store& store, int budget, const QString& path, QByteArray bytes, Format format,
                                 const ListEntries& categories, const ListEntries& payments, QWidget* parent)
    : QDialog(parent)
    , m_store(store)
    , m_budget(budget)
    , m_bytes(std::move(bytes))
    , m_format(format) {
    setObjectName(QStringLiteral("frmBudgetImport"));
    for (const ListEntry& entry : categories) {
        if (entry.itemData >= 0) {
            m_categories.append(entry);
        }
    }
    m_rules = LoadRules(store).value_or(CategoryRules{});

    auto* layout = new QVBoxLayout(this);
    lblFile = Named<QLabel>(this, "lblFile");
    lblFile->setText(QFileInfo(path).fileName());
    layout->addWidget(lblFile);
    if (m_format == Format::Csv) {
        buildCsvControls();
        layout->addWidget(fraCsv);
    }
    tblRows = Named<QTableWidget>(this, "tblRows");
    tblRows->setColumnCount(kColumns);
    tblRows->setHorizontalHeaderLabels(
        {QString(), tr("Date"), tr("Item"), tr("Partner"), tr("Amount"), tr("Category"), tr("State")});
    tblRows->verticalHeader()->hide();
    tblRows->horizontalHeader()->setSectionResizeMode(kItem, QHeaderView::Stretch);
    tblRows->setSelectionBehavior(QAbstractItemView::SelectRows);
    layout->addWidget(tblRows, 1);

    auto* bottom = new QHBoxLayout;
    lblSummary = Named<QLabel>(this, "lblSummary");
    bottom->addWidget(lblSummary, 1);
    cboPayment = Named<QComboBox>(this, "cboPayment");
    for (const ListEntry& entry : payments) {
        if (entry.itemData >= 0) {
            cboPayment->addItem(entry.text, entry.itemData);
        }
    }
    bottom->addWidget(Caption(this, "lblPayment", cboPayment));
    bottom->addWidget(cboPayment);
    cmdRules = Named<QPushButton>(this, "cmdRules");
    cmdImport = Named<QPushButton>(this, "cmdImport");
    cmdEsc = Named<QPushButton>(this, "cmdEsc");
    cmdImport->setDefault(true);
    bottom->addWidget(cmdRules);
    bottom->addWidget(cmdImport);
    bottom->addWidget(cmdEsc);
    layout->addLayout(bottom);
    connect(cmdRules, &QPushButton::clicked, this, &frmBudgetImport::cmdRules_Click);
    connect(cmdImport, &QPushButton::clicked, this, &frmBudgetImport::cmdImport_Click);
    connect(cmdEsc, &QPushButton::clicked, this, &QDialog::reject);
    connect(tblRows, &QTableWidget::itemChanged, this, [this](QTableWidgetItem* item) {
        if (!m_filling && item->column() == kTake && item->row() < m_plan.rows.size()) {
            m_plan.rows[item->row()].take = item->checkState() == Qt::Checked;
            showCounts();
        }
    });
    ApplyCaptions(this);
    resize(900, 600);
    readStatement();
}

frmBudgetImport::~frmBudgetImport() {
    CRY::WipeBytes(m_bytes);
}

void frmBudgetImport::buildCsvControls() {
    fraCsv = Named<QGroupBox>(this, "fraCsv");
    auto* grid = new QGridLayout(fraCsv);
    cboSeparator = Named<QComboBox>(fraCsv, "cboSeparator");
    cboSeparator->addItem(QStringLiteral(";"), QChar(u';'));
    cboSeparator->addItem(QStringLiteral(","), QChar(u','));
    cboSeparator->addItem(tr("Tab"), QChar(u'\t'));
    cboEncoding = Named<QComboBox>(fraCsv, "cboEncoding");
    cboEncoding->addItem(QStringLiteral("UTF-8"), static_cast<int>(TextEncoding::Utf8));
    cboEncoding->addItem(QStringLiteral("Windows-1252"), static_cast<int>(TextEncoding::Windows1252));
    cboDecimal = Named<QComboBox>(fraCsv, "cboDecimal");
    cboDecimal->addItem(QStringLiteral("1,234.56"), QChar(u'.'));
    cboDecimal->addItem(QStringLiteral("1.234,56"), QChar(u','));
    cboDateFormat = Named<QComboBox>(fraCsv, "cboDateFormat");
    cboDateFormat->addItems(CsvDateFormats());
    spnSkip = Named<QSpinBox>(fraCsv, "spnSkip");
    spnSkip->setRange(0, 100);
    chkHeader = Named<QCheckBox>(fraCsv, "chkHeader");
    const char* captions[] = {"lblSeparator", "lblEncoding", "lblDecimal", "lblDateFormat", "lblSkip"};
    QWidget* controls[] = {cboSeparator, cboEncoding, cboDecimal, cboDateFormat, spnSkip};
    // Four label and control pairs a row, so that the dialog fits a small screen.
    const auto place = [grid](QWidget* label, QWidget* control, int at) {
        grid->addWidget(label, at / 4, 2 * (at % 4));
        grid->addWidget(control, at / 4, 2 * (at % 4) + 1);
    };
    for (int i = 0; i < 5; ++i) {
        place(Caption(fraCsv, captions[i], controls[i]), controls[i], i);
    }
    grid->addWidget(chkHeader, 1, 2, 1, 2);
    for (int i = 0; i < static_cast<int>(cboColumn.size()); ++i) {
        cboColumn[i] = new QComboBox(fraCsv);
        cboColumn[i]->setObjectName(ArrayElementName("cboColumn", i));
        auto* label = new QLabel(fraCsv);
        label->setObjectName(ArrayElementName("lblColumn", i));
        label->setBuddy(cboColumn[i]);
        place(label, cboColumn[i], 8 + i);
        connect(cboColumn[i], &QComboBox::currentIndexChanged, this, [this] { csvChanged(false); });
    }
    for (QComboBox* box : fraCsv->findChildren<QComboBox*>()) {
        box->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
        box->setMinimumContentsLength(12);
    }
    tblPreview = Named<QTableWidget>(fraCsv, "tblPreview");
    tblPreview->verticalHeader()->hide();
    tblPreview->setMaximumHeight(160);
    tblPreview->setEditTriggers(QAbstractItemView::NoEditTriggers);
    grid->addWidget(tblPreview, 4, 0, 1, 8);
    for (QComboBox* box : {cboSeparator, cboEncoding, cboDecimal, cboDateFormat}) {
        connect(box, &QComboBox::currentIndexChanged, this, [this] { csvChanged(true); });
    }
    connect(spnSkip, &QSpinBox::valueChanged, this, [this] { csvChanged(true); });
    connect(chkHeader, &QCheckBox::toggled, this, [this] { csvChanged(true); });

    CsvLayout layout;
    layout.dialect = DetectDialect(m_bytes);
    const QStringList header = HeaderCells(m_bytes, layout.dialect);
    layout.mapping = GuessMapping(header);
    if (const std::optional<CsvLayout> remembered = ParseCsvLayout(RegReadValue(kLayoutKeys + CsvLayoutKey(header)))) {
        layout = *remembered;
    }
    showLayout(layout);
}

void frmBudgetImport::showLayout(const CsvLayout& layout) {
    m_filling = true;
    const CsvDialect& d = layout.dialect;
    cboSeparator->setCurrentIndex(cboSeparator->findData(d.separator));
    cboEncoding->setCurrentIndex(cboEncoding->findData(static_cast<int>(d.encoding)));
    cboDecimal->setCurrentIndex(cboDecimal->findData(d.decimalMark));
    cboDateFormat->setCurrentIndex(std::max(0, cboDateFormat->findText(d.dateFormat)));
    spnSkip->setValue(d.skipLines);
    chkHeader->setChecked(d.hasHeader);
    fillColumnChoices();
    const CsvMapping& m = layout.mapping;
    const int columns[] = {m.date, m.item, m.partner, m.amount, m.credit, m.debit, m.note};
    for (int i = 0; i < static_cast<int>(cboColumn.size()); ++i) {
        cboColumn[i]->setCurrentIndex(std::max(0, cboColumn[i]->findData(columns[i])));
    }
    m_filling = false;
}

CsvLayout frmBudgetImport::layoutShown() const {
    CsvLayout layout;
    layout.dialect.separator = cboSeparator->currentData().toChar();
    layout.dialect.encoding = static_cast<TextEncoding>(cboEncoding->currentData().toInt());
    layout.dialect.decimalMark = cboDecimal->currentData().toChar();
    layout.dialect.dateFormat = cboDateFormat->currentText();
    layout.dialect.skipLines = spnSkip->value();
    layout.dialect.hasHeader = chkHeader->isChecked();
    int* columns[] = {&layout.mapping.date,   &layout.mapping.item,  &layout.mapping.partner, &layout.mapping.amount,
                      &layout.mapping.credit, &layout.mapping.debit, &layout.mapping.note};
    for (int i = 0; i < static_cast<int>(cboColumn.size()); ++i) {
        *columns[i] = cboColumn[i]->currentData().toInt();
    }
    return layout;
}

// The columns a choice offers: "none", then each column by its header (or its number) and first value.
void frmBudgetImport::fillColumnChoices() {
    const CsvDialect dialect = layoutShown().dialect;
    const QVector<QStringList> preview = PreviewRows(m_bytes, dialect, kPreviewRows + 1);
    qsizetype width = 0;
    for (const QStringList& row : preview) {
        width = std::max(width, row.size());
    }
    tblPreview->clear();
    tblPreview->setColumnCount(static_cast<int>(width));
    tblPreview->setRowCount(static_cast<int>(preview.size()));
    for (int r = 0; r < preview.size(); ++r) {
        for (int c = 0; c < preview[r].size(); ++c) {
            tblPreview->setItem(r, c, new QTableWidgetItem(preview[r][c]));
        }
    }
    const QStringList header = dialect.hasHeader && !preview.isEmpty() ? preview.first() : QStringList();
    for (QComboBox* choice : cboColumn) {
        const int chosen = choice->currentData().isValid() ? choice->currentData().toInt() : -1;
        choice->clear();
        choice->addItem(tr("(none)"), -1);
        for (int c = 0; c < width; ++c) {
            const QString name =
                c < header.size() && !header[c].trimmed().isEmpty() ? header[c].trimmed() : tr("Column %1").arg(c + 1);
            choice->addItem(name, c);
        }
        choice->setCurrentIndex(std::max(0, choice->findData(chosen)));
    }
}

void frmBudgetImport::csvChanged(bool columnsMayChange) {
    if (m_filling) {
        return;
    }
    if (columnsMayChange) {
        m_filling = true;
        fillColumnChoices();
        m_filling = false;
    }
    readStatement();
}

void frmBudgetImport::readStatement() {
    switch (m_format) {
    case Format::Csv: {
        const CsvLayout layout = layoutShown();
        m_statement =
            layout.mapping.isComplete() ? ReadCsvStatement(m_bytes, layout.dialect, layout.mapping) : Statement{};
        break;
    }
    case Format::Qif:
        m_statement = ReadQifStatement(m_bytes);
        break;
    case Format::Ofx:
        m_statement = ReadOfxStatement(m_bytes);
        break;
    }
    plan();
}

void frmBudgetImport::plan() {
    QVector<int> ids;
    for (const ListEntry& entry : m_categories) {
        ids << entry.itemData;
    }
    m_plan = PlanImport(m_store, m_budget, m_statement, m_rules, ids);
    fillRows();
}

void frmBudgetImport::fillRows() {
    m_filling = true;
    tblRows->setRowCount(0);
    tblRows->setRowCount(static_cast<int>(m_plan.rows.size()));
    for (int r = 0; r < m_plan.rows.size(); ++r) {
        PlannedRow& planned = m_plan.rows[r];
        auto* take = new QTableWidgetItem;
        take->setFlags(planned.state == RowState::Refused ? Qt::NoItemFlags
                                                          : Qt::ItemIsEnabled | Qt::ItemIsUserCheckable);
        take->setCheckState(planned.take ? Qt::Checked : Qt::Unchecked);
        tblRows->setItem(r, kTake, take);
        tblRows->setItem(r, kDate, ReadOnlyCell(dates::ShortDate(planned.row.date)));
        tblRows->setItem(r, kItem, ReadOnlyCell(BookingItem(planned.row)));
        tblRows->setItem(r, kPartner, ReadOnlyCell(planned.row.partner));
        QTableWidgetItem* amount = ReadOnlyCell(budget::FormatAmount(planned.row.amount, true));
        amount->setTextAlignment(Qt::AlignRight | Qt::AlignVCenter);
        tblRows->setItem(r, kAmount, amount);
        if (planned.state != RowState::Refused) {
            QComboBox* category = CategoryChoice(m_categories, planned.category, tblRows);
            connect(category, &QComboBox::currentIndexChanged, this,
                    [this, r, category] { m_plan.rows[r].category = category->currentData().toInt(); });
            tblRows->setCellWidget(r, kCategory, category);
        }
        const QString state = planned.state == RowState::New         ? tr("New")
                              : planned.state == RowState::Duplicate ? tr("Duplicate")
                                                                     : tr("Refused: %1").arg(planned.reason);
        tblRows->setItem(r, kState, ReadOnlyCell(state));
    }
    // What the reader could not make sense of, by line, so that the person can look it up in the file.
    for (const Refusal& refusal : m_plan.unread) {
        const int r = tblRows->rowCount();
        tblRows->insertRow(r);
        auto* take = new QTableWidgetItem;
        take->setFlags(Qt::NoItemFlags);
        tblRows->setItem(r, kTake, take);
        tblRows->setItem(r, kItem, ReadOnlyCell(refusal.line > 0 ? tr("Line %1").arg(refusal.line) : QString()));
        tblRows->setItem(r, kState, ReadOnlyCell(tr("Refused: %1").arg(refusal.reason)));
    }
    tblRows->resizeColumnsToContents();
    m_filling = false;
    showCounts();
}

void frmBudgetImport::showCounts() {
    int fresh = 0;
    int duplicates = 0;
    int refused = m_plan.unreadCount;
    int ticked = 0;
    for (const PlannedRow& planned : m_plan.rows) {
        fresh += planned.state == RowState::New ? 1 : 0;
        duplicates += planned.state == RowState::Duplicate ? 1 : 0;
        refused += planned.state == RowState::Refused ? 1 : 0;
        ticked += planned.state != RowState::Refused && planned.take ? 1 : 0;
    }
    QString text =
        tr("%1 new, %2 duplicates, %3 refused; %4 to import.").arg(fresh).arg(duplicates).arg(refused).arg(ticked);
    if (m_format == Format::Csv && !layoutShown().mapping.isComplete()) {
        text = tr("Choose the date column and the amount column (or the credit and debit columns).");
    }
    lblSummary->setText(text);
    cmdImport->setEnabled(ticked > 0);
}

void frmBudgetImport::cmdRules_Click() {
    const modal::Scoped<frmBudgetRules> rules(m_store, m_budget, m_categories, this);
    if (rules.exec() == QDialog::Accepted) {
        m_rules = LoadRules(m_store).value_or(m_rules);
        plan();
    }
}

void frmBudgetImport::cmdImport_Click() {
    if (m_format == Format::Csv) {
        const CsvLayout layout = layoutShown();
        RegWriteText(kLayoutKeys + CsvLayoutKey(HeaderCells(m_bytes, layout.dialect)), CsvLayoutText(layout));
    }
    const QPointer<QProgressDialog> progress =
        new QProgressDialog(tr("Importing bookings..."), tr("Cancel"), 0, 1, this);
    progress->setObjectName(QStringLiteral("prgImport"));
    progress->setWindowModality(Qt::WindowModal);
    progress->setMinimumDuration(300);
    ImportResult result;
    {
        const modal::Loop loop;
        result = CommitImport(m_store, m_plan, cboPayment->currentData().toInt(), [&progress](int done, int total) {
            if (progress.isNull()) {
                return false;
            }
            progress->setMaximum(total);
            progress->setValue(done);
            return !progress.isNull() && !progress->wasCanceled();
        });
    }
    delete progress.data();
    m_result = result;
    const bool done = result.failure.isEmpty() && !result.cancelled;
    m_store.prompter.message(0, ImportSummary(result), Prompter::Buttons::Ok,
                             done ? Prompter::Icon::Information : Prompter::Icon::Warning);
    if (done) {
        accept();
    }
}

frmBudgetRules::frmBudgetRules(Store& store, int budget, const ListEntries& categories, QWidget* parent)
    : QDialog(parent)
    , m_store(store)
    , m_budget(budget)
    , m_categories(categories) {
    setObjectName(QStringLiteral("frmBudgetRules"));
    auto* layout = new QVBoxLayout(this);
    tblRules = Named<QTableWidget>(this, "tblRules");
    tblRules->setColumnCount(2);
    tblRules->setHorizontalHeaderLabels({tr("Text in item or partner"), tr("Category")});
    tblRules->horizontalHeader()->setSectionResizeMode(0, QHeaderView::Stretch);
    tblRules->verticalHeader()->hide();
    layout->addWidget(tblRules, 1);
    auto* buttons = new QHBoxLayout;
    cmdAddRule = Named<QPushButton>(this, "cmdAddRule");
    cmdDeleteRule = Named<QPushButton>(this, "cmdDeleteRule");
    cmdOK = Named<QPushButton>(this, "cmdOK");
    cmdEsc = Named<QPushButton>(this, "cmdEsc");
    cmdOK->setDefault(true);
    for (QPushButton* button : {cmdAddRule, cmdDeleteRule}) {
        buttons->addWidget(button);
    }
    buttons->addStretch(1);
    buttons->addWidget(cmdOK);
    buttons->addWidget(cmdEsc);
    layout->addLayout(buttons);
    connect(cmdAddRule, &QPushButton::clicked, this, [this] {
        addRow(QString(), 0);
        tblRules->setCurrentCell(tblRules->rowCount() - 1, 0);
        tblRules->editItem(tblRules->currentItem());
    });
    connect(cmdDeleteRule, &QPushButton::clicked, this, [this] {
        if (tblRules->currentRow() >= 0) {
            tblRules->removeRow(tblRules->currentRow());
        }
    });
    connect(cmdOK, &QPushButton::clicked, this, &frmBudgetRules::cmdOK_Click);
    connect(cmdEsc, &QPushButton::clicked, this, &QDialog::reject);
    for (const CategoryRule& rule : LoadRules(store).value_or(CategoryRules{})) {
        if (rule.budget == budget) {
            addRow(rule.text, rule.category);
        } else {
            m_others.append(rule);
        }
    }
    ApplyCaptions(this);
    resize(520, 360);
}

void frmBudgetRules::addRow(const QString& text, int category) {
    const int row = tblRules->rowCount();
    tblRules->insertRow(row);
    tblRules->setItem(row, 0, new QTableWidgetItem(text));
    tblRules->setCellWidget(row, 1, CategoryChoice(m_categories, category, tblRules));
}

void frmBudgetRules::cmdOK_Click() {
    CategoryRules rules;
    for (int row = 0; row < tblRules->rowCount(); ++row) {
        const QString text = tblRules->item(row, 0) != nullptr ? tblRules->item(row, 0)->text().trimmed() : QString();
        if (text.isEmpty()) {
            continue;
        }
        if (!RuleTextFits(text)) {
            m_store.prompter.message(0, tr("A rule's text cannot hold the character \"\u00FF\"."),
                                     Prompter::Buttons::Ok, Prompter::Icon::Warning);
            tblRules->setCurrentCell(row, 0);
            return;
        }
        const auto* category = qobject_cast<QComboBox*>(tblRules->cellWidget(row, 1));
        rules.append({m_budget, text, category != nullptr ? category->currentData().toInt() : 0});
    }
    if (const int error = SaveRules(m_store, m_others + rules); error != 0) {
        m_store.prompter.message(0, ListSaveFailure(error), Prompter::Buttons::Ok, Prompter::Icon::Critical);
        return;
    }
    accept();
}

void frmBudget::mnuBudgetImport() {
    if (m_pinRefused) {
        return;
    }
    Prompter& prompter = m_session.store().prompter;
    const QString path = prompter.chooseExistingFile(
        tr("Import Bank Statement"), tr("Bank statements (*.csv *.txt *.tsv *.qif *.ofx *.qfx);;All files (*)"));
    if (path.isEmpty()) {
        return;
    }
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly) || file.size() > kMaxStatementBytes) {
        prompter.message(0,
                         file.isOpen() ? tr("%1 is larger than a bank statement can be.").arg(path)
                                       : tr("%1 could not be read:\n%2").arg(path, file.errorString()),
                         Prompter::Buttons::Ok, Prompter::Icon::Critical);
        return;
    }
    QByteArray bytes = file.readAll();
    const frmBudgetImport::Format format = frmBudgetImport::FormatOf(path, bytes);
    const modal::Scoped<frmBudgetImport> dialog(m_session.store(), m_budget, path, std::move(bytes), format,
                                                budget::BalanceCategories(list_controls::Entries(cboCategories)),
                                                list_controls::Entries(ctlPayment), this);
    if (dialog.exec() == QDialog::Accepted && dialog.get() != nullptr) {
        const ImportResult& result = dialog->result();
        if (result.lastDate.isValid()) {
            ChangePeriod(result.lastDate);
        }
        ReloadList();
        RefreshTotals();
        LV1->setCurrentItem(listedRow(result.lastKey));
    }
}

void frmBudget::mnuBudgetRules() {
    if (m_pinRefused) {
        return;
    }
    modal::Scoped<frmBudgetRules>(m_session.store(), m_budget,
                                  budget::BalanceCategories(list_controls::Entries(cboCategories)), this)
        .exec();
}

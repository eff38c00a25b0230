#include "budget/budget_commands.h"

#include "app/cli/command_line.h"
#include "base/messages.h"
#include "budget/amounts.h"
#include "budget/balance_export.h"
#include "budget/budget_lists.h"
#include "budget/budget_report.h"
#include "budget/statement_import.h"
#include "budget/statements/csv_statement.h"
#include "budget/statements/ofx_statement.h"
#include "budget/statements/qif_statement.h"
#include "budget/totals.h"
#include "budget/transaction_list.h"
#include "sections/categories/categories.h"
#include "shell/export_file.h"
#include "shell/session.h"

#include <QDate>
#include <QFile>

namespace budget {
namespace {

using cli::CommandLine;
using cli::ValueOption;

constexpr const char* kUsage =
    "budget list FILE [--budget N] [--month YYYY-MM]\n"
    "       noctaria-cli budget add FILE --budget N --date YYYY-MM-DD --credit|--debit AMOUNT --item TEXT\n"
    "                    [--category NAME] [--payment NAME] [--partner TEXT] [--note TEXT] [--private]\n"
    "       noctaria-cli budget totals FILE --budget N --from DATE --to DATE [--payment NAME] [--hide-private]\n"
    "       noctaria-cli budget export FILE --budget N --from DATE --to DATE OUT.csv\n"
    "       noctaria-cli budget report FILE --budget N --from DATE --to DATE [--payment NAME] [--show-private] "
    "OUT.pdf\n"
    "       noctaria-cli budget import FILE --budget N IN (--csv|--qif|--ofx) [--mapping M] [--payment NAME]\n"
    "       noctaria-cli budget rules FILE --budget N [--add TEXT --category NAME | --remove TEXT]";

QCommandLineOption Flag(const char* name) {
    return {QString::fromLatin1(name), QString()};
}

// The budget's entries, the categories and the payment modes, read as the section form reads them.
struct BudgetView {
    BudgetList budgets;
    int index = -1;
    ListEntries categories;
    ListEntries payments;
};

std::optional<BudgetView> ReadView(const CommandLine& line, Store& store, int id) {
    BudgetView view;
    const std::optional<BudgetList> budgets = LoadBudgets(store);
    if (!budgets) {
        line.fail(QStringLiteral("the budget list cannot be read"));
        return std::nullopt;
    }
    view.budgets = *budgets;
    view.index = view.budgets.indexOf(id);
    if (view.index < 0) {
        line.fail(QStringLiteral("there is no budget %1").arg(id));
        return std::nullopt;
    }
    categories::FillCategoryEntries(store, view.categories, categories::kBudgetSection,
                                    {.addAll = true, .addUnfiled = true}, id);
    view.payments = PayModeEntries(LoadPayModes(store).value_or(PayModes{}), true);
    return view;
}

// The budget of --budget: 0 without one unless it is required; absent for a missing or wrong one.
std::optional<int> BudgetId(const CommandLine& line, bool required) {
    if (!line.isSet(QStringLiteral("budget"))) {
        return required ? std::nullopt : std::optional<int>(0);
    }
    bool ok = false;
    const int id = line.value(QStringLiteral("budget")).toInt(&ok);
    return ok && id >= 0 && id <= 255 ? std::optional<int>(id) : std::nullopt;
}

QDate DateOf(const CommandLine& line, const char* option) {
    return QDate::fromString(line.value(QLatin1String(option)), Qt::ISODate);
}

int List(const QStringList& args, cli::Streams io) {
    CommandLine line(io, kUsage, {ValueOption("budget", "budget"), ValueOption("month", "month")});
    if (!line.parse(args, 1)) {
        return cli::kExitUsage;
    }
    const std::optional<int> id = BudgetId(line, false);
    QDate month = QDate::currentDate();
    if (line.isSet(QStringLiteral("month"))) {
        month = QDate::fromString(line.value(QStringLiteral("month")) + QStringLiteral("-01"), Qt::ISODate);
    }
    if (!id || !month.isValid()) {
        return line.usage();
    }
    return cli::WithOpenFile(io, line.words()[0], [&](Session& session) {
        session.ShowPrivate = true;
        const std::optional<BudgetView> view = ReadView(line, session.store(), *id);
        if (!view) {
            return cli::kExitFailed;
        }
        ListFilter filter;
        filter.budget = *id;
        filter.month = month;
        const TransactionList list =
            ReloadList(session.store(), filter, {view->categories, view->payments, true, QLocale::c()});
        for (const ListRow& row : list.rows) {
            const Transaction& t = row.transaction;
            io.out << t.datePaid.toString(Qt::ISODate) << '\t' << t.description << '\t'
                   << (t.isDebit() ? QStringLiteral("-") : QString()) << PlainAmount(t.amount) << '\t'
                   << row.texts[colPayment] << '\t' << row.texts[colCategory] << '\t' << t.partner << '\t'
                   << (t.privateBit() ? QStringLiteral("private") : QStringLiteral("public")) << '\t'
                   << QString(t.note).replace(u'\n', QStringLiteral("\\n")) << "\n";
        }
        return cli::kExitOk;
    });
}

int Add(const QStringList& args, cli::Streams io) {
    CommandLine line(io, kUsage,
                     {ValueOption("budget", "budget"), ValueOption("date", "date"), ValueOption("credit", "amount"),
                      ValueOption("debit", "amount"), ValueOption("item", "text"), ValueOption("category", "name"),
                      ValueOption("payment", "name"), ValueOption("partner", "text"), ValueOption("note", "text"),
                      Flag("private")});
    if (!line.parse(args, 1)) {
        return cli::kExitUsage;
    }
    const std::optional<int> id = BudgetId(line, true);
    const bool debit = line.isSet(QStringLiteral("debit"));
    if (!id || debit == line.isSet(QStringLiteral("credit")) || !DateOf(line, "date").isValid()) {
        return line.usage();
    }
    const AmountReading amount =
        ReadAmount(line.value(debit ? QStringLiteral("debit") : QStringLiteral("credit")), QLocale::c());
    if (!amount.value || amount.value->units < 0) {
        return line.fail(amount.problem.isEmpty() ? MsgText(21) : MsgText(21) + QStringLiteral(": ") + amount.problem);
    }
    if (line.value(QStringLiteral("item")).trimmed().isEmpty()) {
        return line.fail(MsgText(363));
    }
    return cli::WithOpenFile(io, line.words()[0], [&](Session& session) {
        Store& store = session.store();
        const std::optional<BudgetView> view = ReadView(line, store, *id);
        if (!view) {
            return cli::kExitFailed;
        }
        const QString categoryName = line.value(QStringLiteral("category"));
        const QString paymentName = line.value(QStringLiteral("payment"));
        const std::optional<int> category = line.isSet(QStringLiteral("category"))
                                                ? cli::EntryNamed(view->categories, categoryName, 1)
                                                : std::optional<int>(categories::kUnfiled);
        const std::optional<int> payment = line.isSet(QStringLiteral("payment"))
                                               ? cli::EntryNamed(view->payments, paymentName, 1)
                                               : std::optional<int>(kPayModeNotStated);
        if (!category) {
            return line.fail(QStringLiteral("budget %1 has no category \"%2\"").arg(*id).arg(categoryName));
        }
        if (!payment) {
            return line.fail(QStringLiteral("there is no payment mode \"%1\"").arg(paymentName));
        }
        Transaction t = ClearTransaction(store.user.level, *category, DateOf(line, "date"));
        t.description = line.value(QStringLiteral("item"));
        t.partner = line.value(QStringLiteral("partner"));
        t.note = line.value(QStringLiteral("note"));
        t.noteFlag = !t.note.isEmpty();
        t.amount = *amount.value;
        t.isPrivate = line.isSet(QStringLiteral("private"));
        t.dcwb = (debit ? kDebitBit : 0) + (t.isPrivate ? kPrivateBit : 0);
        t.payMode = *payment;
        if (const QString cut = CutTextsNotice(TextsTooLong(t)); !cut.isEmpty()) {
            io.err << "noctaria-cli: " << cut << "\n";
        }
        if (const Result r = StoreTransaction(store, *id, t); !r.ok()) {
            return line.fail(QStringLiteral("the transaction could not be saved: %1").arg(r.text()));
        }
        io.out << t.key << "\n";
        return cli::kExitOk;
    });
}

// The options of totals and export: budget, time frame and payment filter.
QList<QCommandLineOption> PeriodOptions() {
    return {ValueOption("budget", "budget"), ValueOption("from", "date"), ValueOption("to", "date"),
            ValueOption("payment", "name")};
}

std::optional<BalanceQuery> PeriodQuery(const CommandLine& line) {
    const std::optional<int> id = BudgetId(line, true);
    if (!id || !DateOf(line, "from").isValid() || !DateOf(line, "to").isValid()) {
        return std::nullopt;
    }
    return BalanceQuery{*id, DateOf(line, "from"), DateOf(line, "to"), kPayModeAll};
}

// The payment mode of --payment, every mode without it; absent with the person told why.
std::optional<int> ChosenPayment(const CommandLine& line, const BudgetView& view) {
    if (!line.isSet(QStringLiteral("payment"))) {
        return kPayModeAll;
    }
    const QString name = line.value(QStringLiteral("payment"));
    const std::optional<int> payment = cli::EntryNamed(view.payments, name, 1);
    if (!payment) {
        line.fail(QStringLiteral("there is no payment mode \"%1\"").arg(name));
    }
    return payment;
}

// The balance of the period as the section's second tab adds it up; absent with the person told why.
std::optional<Balance> PeriodBalance(const CommandLine& line, Store& store, BalanceQuery& query,
                                     const BudgetView& view) {
    const std::optional<int> payment = ChosenPayment(line, view);
    if (!payment) {
        return std::nullopt;
    }
    query.payment = *payment;
    Balance balance = RefreshTotals(store, query, BalanceCategories(view.categories));
    if (balance.overflow) {
        line.fail(QStringLiteral("the sums of this period are too large"));
        return std::nullopt;
    }
    return balance;
}

int Totals(const QStringList& args, cli::Streams io) {
    CommandLine line(io, kUsage, PeriodOptions() << Flag("hide-private"));
    if (!line.parse(args, 1)) {
        return cli::kExitUsage;
    }
    std::optional<BalanceQuery> query = PeriodQuery(line);
    if (!query) {
        return line.usage();
    }
    const bool withPrivate = !line.isSet(QStringLiteral("hide-private"));
    return cli::WithOpenFile(io, line.words()[0], [&](Session& session) {
        const std::optional<BudgetView> view = ReadView(line, session.store(), query->budget);
        const std::optional<Balance> balance =
            view ? PeriodBalance(line, session.store(), *query, *view) : std::nullopt;
        if (!balance) {
            return cli::kExitFailed;
        }
        const QVector<Currency> values = ResultValues(*balance).value_or(QVector<Currency>(9));
        const char* labels[] = {"public credit", "private credit", "total credit",    "public debit", "private debit",
                                "total debit",   "public balance", "private balance", "total balance"};
        for (int i = 0; i < 9; ++i) {
            io.out << labels[i] << ": "
                   << (withPrivate || i % 3 == 0 ? FormatAmount(values[i], false, QLocale::c()) : QString()) << "\n";
        }
        return cli::kExitOk;
    });
}

int Export(const QStringList& args, cli::Streams io) {
    CommandLine line(io, kUsage, PeriodOptions());
    if (!line.parse(args, 2)) {
        return cli::kExitUsage;
    }
    std::optional<BalanceQuery> query = PeriodQuery(line);
    if (!query) {
        return line.usage();
    }
    const QString out = line.words()[1];
    return cli::WithOpenFile(io, line.words()[0], [&](Session& session) {
        Store& store = session.store();
        const std::optional<BudgetView> view = ReadView(line, store, query->budget);
        const std::optional<Balance> balance = view ? PeriodBalance(line, store, *query, *view) : std::nullopt;
        if (!balance) {
            return cli::kExitFailed;
        }
        BalanceExport data;
        data.balance = *balance;
        data.privateColumns = view->budgets.showPrivate[view->index];
        data.privateCells = data.privateColumns;
        data.showPrivate = true;
        data.categories = view->categories;
        data.payments = view->payments;
        for (const Transaction& t : DecodeTransactions(store.cry.KeyPool(), ReadBalanceRows(store, *query))) {
            if (query->payment == kPayModeAll || t.payMode == query->payment) {
                data.transactions.append(t);
            }
        }
        const std::optional<QByteArray> csv = BalanceCsv(data);
        const QString failure = csv ? exports::WriteExportFile(out, *csv) : QStringLiteral("overflow");
        if (!failure.isEmpty()) {
            return line.fail(QStringLiteral("%1 could not be written: %2").arg(out, failure));
        }
        io.err << exports::ExportNotice(QStringLiteral("The balance was"), out) << "\n";
        return cli::kExitOk;
    });
}

int Report(const QStringList& args, cli::Streams io) {
    CommandLine line(io, kUsage, PeriodOptions() << Flag("show-private"));
    if (!line.parse(args, 2)) {
        return cli::kExitUsage;
    }
    const std::optional<int> id = BudgetId(line, true);
    if (!id) {
        return line.usage();
    }
    const QDate from = line.date(QStringLiteral("from"));
    const QDate to = line.date(QStringLiteral("to"));
    if (!from.isValid() || !to.isValid()) {
        return cli::kExitUsage;
    }
    if (from > to) {
        return line.fail(QStringLiteral("the period begins on %1, after its end on %2")
                             .arg(from.toString(Qt::ISODate), to.toString(Qt::ISODate)));
    }
    const QString out = line.words()[1];
    // Whoever typed the passphrase may see private records, but the report holds them only when asked to.
    const bool showPrivate = line.isSet(QStringLiteral("show-private"));
    return cli::WithOpenFile(io, line.words()[0], [&](Session& session) {
        Store& store = session.store();
        const std::optional<BudgetView> view = ReadView(line, store, *id);
        const std::optional<int> payment = view ? ChosenPayment(line, *view) : std::nullopt;
        if (!payment) {
            return cli::kExitFailed;
        }
        const ReportRequest request{.budget = *id,
                                    .budgetName = view->budgets.names[view->index],
                                    .from = from,
                                    .to = to,
                                    .payment = *payment,
                                    .categories = view->categories,
                                    .payments = view->payments,
                                    .privateRecords = showPrivate,
                                    .privateColumns = showPrivate,
                                    .privateCells = showPrivate,
                                    .locale = QLocale(),
                                    .printed = QDateTime::currentDateTime()};
        const std::optional<ReportData> data = GatherReport(store, request);
        if (!data) {
            return line.fail(QStringLiteral("the sums of this period are too large"));
        }
        if (const QString failure = WriteReportPdf(out, *data); !failure.isEmpty()) {
            return line.fail(QStringLiteral("%1 could not be written: %2").arg(out, failure));
        }
        io.err << ReportNotice(out) << "\n";
        return cli::kExitOk;
    });
}

// The category ids a budget files under: "Unfiled" and the named ones.
QVector<int> CategoryIds(const BudgetView& view) {
    QVector<int> ids;
    for (const ListEntry& entry : BalanceCategories(view.categories)) {
        ids << entry.itemData;
    }
    return ids;
}

// The bookings of the statement file `path` in the format the flags name; absent with the person told why.
std::optional<statements::Statement> ReadStatementFile(const CommandLine& line, const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        line.fail(QStringLiteral("%1 cannot be read: %2").arg(path, file.errorString()));
        return std::nullopt;
    }
    if (file.size() > statements::kMaxStatementBytes) {
        line.fail(QStringLiteral("%1 is larger than a bank statement can be").arg(path));
        return std::nullopt;
    }
    const QByteArray bytes = file.readAll();
    if (line.isSet(QStringLiteral("qif"))) {
        return statements::ReadQifStatement(bytes);
    }
    if (line.isSet(QStringLiteral("ofx"))) {
        return statements::ReadOfxStatement(bytes);
    }
    const statements::CsvDialect dialect = statements::DetectDialect(bytes);
    const QStringList header = statements::HeaderCells(bytes, dialect);
    std::optional<statements::CsvMapping> mapping = statements::GuessMapping(header);
    if (line.isSet(QStringLiteral("mapping"))) {
        mapping = statements::CsvMapping::FromText(line.value(QStringLiteral("mapping")));
    }
    if (!mapping || !mapping->isComplete()) {
        line.fail(QStringLiteral("the columns of %1 are not known; name them with --mapping, e.g. "
                                 "\"date=0;item=2;amount=5\" (columns from 0; the header reads: %2)")
                      .arg(path, header.join(QStringLiteral(" | "))));
        return std::nullopt;
    }
    return statements::ReadCsvStatement(bytes, dialect, *mapping);
}

int Import(const QStringList& args, cli::Streams io) {
    CommandLine line(io, kUsage,
                     {ValueOption("budget", "budget"), Flag("csv"), Flag("qif"), Flag("ofx"),
                      ValueOption("mapping", "M"), ValueOption("payment", "name")});
    if (!line.parse(args, 2)) {
        return cli::kExitUsage;
    }
    const std::optional<int> id = BudgetId(line, true);
    const int formats = (line.isSet(QStringLiteral("csv")) ? 1 : 0) + (line.isSet(QStringLiteral("qif")) ? 1 : 0) +
                        (line.isSet(QStringLiteral("ofx")) ? 1 : 0);
    if (!id || formats != 1) {
        return line.usage();
    }
    const std::optional<statements::Statement> statement = ReadStatementFile(line, line.words()[1]);
    if (!statement) {
        return cli::kExitFailed;
    }
    return cli::WithOpenFile(io, line.words()[0], [&](Session& session) {
        Store& store = session.store();
        const std::optional<BudgetView> view = ReadView(line, store, *id);
        if (!view) {
            return cli::kExitFailed;
        }
        std::optional<int> payment = kPayModeNotStated;
        if (line.isSet(QStringLiteral("payment"))) {
            payment = cli::EntryNamed(view->payments, line.value(QStringLiteral("payment")), 1);
        }
        const std::optional<statements::CategoryRules> rules = statements::LoadRules(store);
        if (!payment) {
            return line.fail(
                QStringLiteral("there is no payment mode \"%1\"").arg(line.value(QStringLiteral("payment"))));
        }
        if (!rules) {
            return line.fail(QStringLiteral("the category rules cannot be read"));
        }
        const statements::ImportPlan plan = statements::PlanImport(store, *id, *statement, *rules, CategoryIds(*view));
        const statements::ImportResult result = statements::CommitImport(store, plan, *payment);
        if (!result.failure.isEmpty()) {
            return line.fail(statements::ImportSummary(result));
        }
        io.out << statements::ImportSummary(result) << "\n";
        return cli::kExitOk;
    });
}

int Rules(const QStringList& args, cli::Streams io) {
    CommandLine line(io, kUsage,
                     {ValueOption("budget", "budget"), ValueOption("add", "text"), ValueOption("category", "name"),
                      ValueOption("remove", "text")});
    if (!line.parse(args, 1)) {
        return cli::kExitUsage;
    }
    const std::optional<int> id = BudgetId(line, true);
    const bool add = line.isSet(QStringLiteral("add"));
    const bool remove = line.isSet(QStringLiteral("remove"));
    if (!id || (add && remove) || add != line.isSet(QStringLiteral("category"))) {
        return line.usage();
    }
    const QString text = line.value(add ? QStringLiteral("add") : QStringLiteral("remove"));
    if (add && !statements::RuleTextFits(text)) {
        return line.fail(QStringLiteral("a rule's text cannot be empty or hold the character \"\u00FF\""));
    }
    return cli::WithOpenFile(io, line.words()[0], [&](Session& session) {
        Store& store = session.store();
        const std::optional<BudgetView> view = ReadView(line, store, *id);
        std::optional<statements::CategoryRules> rules = view ? statements::LoadRules(store) : std::nullopt;
        if (!rules) {
            return view ? line.fail(QStringLiteral("the category rules cannot be read")) : cli::kExitFailed;
        }
        if (add || remove) {
            const auto same = [&](const statements::CategoryRule& rule) {
                return rule.budget == *id && rule.text.compare(text, Qt::CaseInsensitive) == 0;
            };
            const qsizetype removed = rules->removeIf(same);
            if (remove && removed == 0) {
                return line.fail(QStringLiteral("budget %1 has no rule \"%2\"").arg(*id).arg(text));
            }
            if (add) {
                const QString name = line.value(QStringLiteral("category"));
                const std::optional<int> category = cli::EntryNamed(view->categories, name, 1);
                if (!category) {
                    return line.fail(QStringLiteral("budget %1 has no category \"%2\"").arg(*id).arg(name));
                }
                rules->append({*id, text.trimmed(), *category});
            }
            if (const int error = statements::SaveRules(store, *rules); error != 0) {
                return line.fail(QStringLiteral("the rules could not be saved (error %1)").arg(error));
            }
        }
        for (const statements::CategoryRule& rule : *rules) {
            if (rule.budget == *id) {
                io.out << cli::OneLine(rule.text) << "\t" << cli::CategoryName(view->categories, rule.category) << "\n";
            }
        }
        return cli::kExitOk;
    });
}

} // namespace

int BudgetCommand(const QStringList& args, cli::Streams io) {
    return cli::RunVerb(args, io, kUsage,
                        {{"list", List},
                         {"add", Add},
                         {"totals", Totals},
                         {"export", Export},
                         {"report", Report},
                         {"import", Import},
                         {"rules", Rules}});
}

} // namespace budget

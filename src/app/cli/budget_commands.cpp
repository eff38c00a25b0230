#include "app/cli/cli_prompter.h"
#include "app/cli/commands.h"
#include "app/cli/records.h"

#include "base/messages.h"
#include "budget/amounts.h"
#include "budget/balance_export.h"
#include "budget/budget_lists.h"
#include "budget/totals.h"
#include "budget/transaction_list.h"
#include "sections/categories/categories.h"
#include "shell/open_sequence.h"

#include <QDate>
#include <QHash>

namespace cli {
namespace {

constexpr const char* kUsage =
    "budget list FILE [--budget N] [--month YYYY-MM]\n"
    "       noctaria-cli budget add FILE --budget N --date YYYY-MM-DD --credit|--debit AMOUNT --item TEXT\n"
    "                    [--category NAME] [--payment NAME] [--partner TEXT] [--note TEXT] [--private]\n"
    "       noctaria-cli budget totals FILE --budget N --from DATE --to DATE [--payment NAME] [--hide-private]\n"
    "       noctaria-cli budget export FILE --budget N --from DATE --to DATE OUT.csv";

// Options with values, flags and the remaining words of a command line.
struct Arguments {
    QHash<QString, QString> values;
    QStringList flags;
    QStringList words;
};

std::optional<Arguments> Parse(const QStringList& args, const QStringList& valued) {
    Arguments parsed;
    for (qsizetype i = 0; i < args.size(); ++i) {
        const QString& arg = args[i];
        if (valued.contains(arg)) {
            if (i + 1 >= args.size() || parsed.values.contains(arg)) {
                return std::nullopt;
            }
            parsed.values.insert(arg, args[++i]);
        } else if (arg.startsWith(QLatin1String("--"))) {
            parsed.flags << arg;
        } else {
            parsed.words << arg;
        }
    }
    return parsed;
}

// The budget's entries, the categories and the payment modes, read as the section form reads them.
struct BudgetView {
    budget::BudgetList budgets;
    int index = -1;
    ListEntries categories;
    ListEntries payments;
};

std::optional<BudgetView> ReadView(Streams io, Store& store, int id) {
    BudgetView view;
    const std::optional<budget::BudgetList> budgets = budget::LoadBudgets(store);
    if (!budgets) {
        Fail(io, QStringLiteral("the budget list cannot be read"));
        return std::nullopt;
    }
    view.budgets = *budgets;
    view.index = view.budgets.indexOf(id);
    if (view.index < 0) {
        Fail(io, QStringLiteral("there is no budget %1").arg(id));
        return std::nullopt;
    }
    categories::FillCategoryEntries(store, view.categories, categories::kBudgetSection,
                                    {.addAll = true, .addUnfiled = true}, id);
    view.payments = budget::PayModeEntries(budget::LoadPayModes(store).value_or(budget::PayModes{}), true);
    return view;
}

// The entry named `name`, compared without case and blanks around; absent when there is none.
std::optional<int> EntryNamed(const ListEntries& entries, const QString& name, int from) {
    for (qsizetype i = from; i < entries.size(); ++i) {
        QString text = entries[i].text.trimmed();
        if (text.startsWith(u'<') && text.endsWith(u'>')) {
            text = text.mid(1, text.size() - 2).trimmed();
        }
        if (text.compare(name.trimmed(), Qt::CaseInsensitive) == 0) {
            return entries[i].itemData;
        }
    }
    return std::nullopt;
}

std::optional<int> BudgetId(const Arguments& a, bool required) {
    if (!a.values.contains(QStringLiteral("--budget"))) {
        return required ? std::nullopt : std::optional<int>(0);
    }
    bool ok = false;
    const int id = a.values.value(QStringLiteral("--budget")).toInt(&ok);
    return ok && id >= 0 && id <= 255 ? std::optional<int>(id) : std::nullopt;
}

QDate DateOf(const Arguments& a, const char* option) {
    return QDate::fromString(a.values.value(QLatin1String(option)), Qt::ISODate);
}

int List(const QStringList& args, Streams io) {
    const std::optional<Arguments> a = Parse(args, {QStringLiteral("--budget"), QStringLiteral("--month")});
    const std::optional<int> id = a ? BudgetId(*a, false) : std::nullopt;
    QDate month = QDate::currentDate();
    if (a && a->values.contains(QStringLiteral("--month"))) {
        month = QDate::fromString(a->values.value(QStringLiteral("--month")) + QStringLiteral("-01"), Qt::ISODate);
    }
    if (!a || !id || a->words.size() != 1 || !a->flags.isEmpty() || !month.isValid()) {
        return Usage(io, kUsage);
    }
    CliPrompter prompter(io.err);
    Session session(prompter);
    if (const int code = OpenChecked(io, a->words[0], session)) {
        return code;
    }
    session.ShowPrivate = true;
    const std::optional<BudgetView> view = ReadView(io, session.store(), *id);
    if (view) {
        budget::ListFilter filter;
        filter.budget = *id;
        filter.month = month;
        const budget::TransactionList list =
            budget::ReloadList(session.store(), filter, {view->categories, view->payments, true, QLocale::c()});
        for (const budget::ListRow& row : list.rows) {
            const budget::Transaction& t = row.transaction;
            io.out << t.datePaid.toString(Qt::ISODate) << '\t' << t.description << '\t'
                   << (t.isDebit() ? QStringLiteral("-") : QString()) << budget::PlainAmount(t.amount) << '\t'
                   << row.texts[budget::colPayment] << '\t' << row.texts[budget::colCategory] << '\t' << t.partner
                   << '\t' << (t.privateBit() ? QStringLiteral("private") : QStringLiteral("public")) << '\t'
                   << QString(t.note).replace(u'\n', QStringLiteral("\\n")) << "\n";
        }
    }
    open_sequence::CloseDatabase(session);
    return view ? kExitOk : kExitFailed;
}

int Add(const QStringList& args, Streams io) {
    const QStringList valued{QStringLiteral("--budget"),  QStringLiteral("--date"),    QStringLiteral("--credit"),
                             QStringLiteral("--debit"),   QStringLiteral("--item"),    QStringLiteral("--category"),
                             QStringLiteral("--payment"), QStringLiteral("--partner"), QStringLiteral("--note")};
    const std::optional<Arguments> a = Parse(args, valued);
    const std::optional<int> id = a ? BudgetId(*a, true) : std::nullopt;
    const bool debit = a && a->values.contains(QStringLiteral("--debit"));
    if (!a || !id || a->words.size() != 1 || debit == a->values.contains(QStringLiteral("--credit")) ||
        !DateOf(*a, "--date").isValid() || (!a->flags.isEmpty() && a->flags != QStringList{"--private"})) {
        return Usage(io, kUsage);
    }
    const budget::AmountReading amount = budget::ReadAmount(
        a->values.value(debit ? QStringLiteral("--debit") : QStringLiteral("--credit")), QLocale::c());
    if (!amount.value || amount.value->units < 0) {
        return Fail(io, amount.problem.isEmpty() ? MsgText(21) : MsgText(21) + QStringLiteral(": ") + amount.problem);
    }
    if (a->values.value(QStringLiteral("--item")).trimmed().isEmpty()) {
        return Fail(io, MsgText(363));
    }
    CliPrompter prompter(io.err);
    Session session(prompter);
    if (const int code = OpenChecked(io, a->words[0], session)) {
        return code;
    }
    Store& store = session.store();
    int code = kExitFailed;
    if (const std::optional<BudgetView> view = ReadView(io, store, *id)) {
        const std::optional<int> category = a->values.contains(QStringLiteral("--category"))
                                                ? EntryNamed(view->categories, a->values.value("--category"), 1)
                                                : std::optional<int>(categories::kUnfiled);
        const std::optional<int> payment = a->values.contains(QStringLiteral("--payment"))
                                               ? EntryNamed(view->payments, a->values.value("--payment"), 1)
                                               : std::optional<int>(budget::kPayModeNotStated);
        if (!category) {
            Fail(io, QStringLiteral("budget %1 has no category \"%2\"").arg(*id).arg(a->values.value("--category")));
        } else if (!payment) {
            Fail(io, QStringLiteral("there is no payment mode \"%1\"").arg(a->values.value("--payment")));
        } else {
            budget::Transaction t = budget::ClearTransaction(store.user.level, *category, DateOf(*a, "--date"));
            t.description = a->values.value(QStringLiteral("--item"));
            t.partner = a->values.value(QStringLiteral("--partner"));
            t.note = a->values.value(QStringLiteral("--note"));
            t.noteFlag = !t.note.isEmpty();
            t.amount = *amount.value;
            t.isPrivate = a->flags.contains(QStringLiteral("--private"));
            t.dcwb = (debit ? budget::kDebitBit : 0) + (t.isPrivate ? budget::kPrivateBit : 0);
            t.payMode = *payment;
            if (const QString cut = budget::CutTextsNotice(budget::TextsTooLong(t)); !cut.isEmpty()) {
                io.err << "noctaria-cli: " << cut << "\n";
            }
            if (const int error = budget::StoreTransaction(store, *id, t)) {
                Fail(io, QStringLiteral("the transaction could not be saved (error %1)").arg(error));
            } else {
                io.out << t.key << "\n";
                code = kExitOk;
            }
        }
    }
    open_sequence::CloseDatabase(session);
    return code;
}

// The options of totals and export: budget, time frame and payment filter.
struct PeriodArguments {
    Arguments a;
    int budget = 0;
    budget::BalanceQuery query;
};

std::optional<PeriodArguments> ParsePeriod(const QStringList& args, qsizetype words, const QStringList& flags) {
    const std::optional<Arguments> a = Parse(args, {QStringLiteral("--budget"), QStringLiteral("--from"),
                                                    QStringLiteral("--to"), QStringLiteral("--payment")});
    const std::optional<int> id = a ? BudgetId(*a, true) : std::nullopt;
    if (!a || !id || a->words.size() != words || !DateOf(*a, "--from").isValid() || !DateOf(*a, "--to").isValid()) {
        return std::nullopt;
    }
    for (const QString& flag : a->flags) {
        if (!flags.contains(flag)) {
            return std::nullopt;
        }
    }
    return PeriodArguments{*a, *id, {*id, DateOf(*a, "--from"), DateOf(*a, "--to"), budget::kPayModeAll}};
}

// The balance of the period as the section's second tab adds it up; absent with the person told why.
std::optional<budget::Balance> PeriodBalance(Streams io, Store& store, PeriodArguments& p, const BudgetView& view) {
    if (p.a.values.contains(QStringLiteral("--payment"))) {
        const std::optional<int> payment = EntryNamed(view.payments, p.a.values.value("--payment"), 1);
        if (!payment) {
            Fail(io, QStringLiteral("there is no payment mode \"%1\"").arg(p.a.values.value("--payment")));
            return std::nullopt;
        }
        p.query.payment = *payment;
    }
    budget::Balance balance = budget::RefreshTotals(store, p.query, budget::BalanceCategories(view.categories));
    if (balance.overflow) {
        Fail(io, QStringLiteral("the sums of this period are too large"));
        return std::nullopt;
    }
    return balance;
}

int Totals(const QStringList& args, Streams io) {
    std::optional<PeriodArguments> p = ParsePeriod(args, 1, {QStringLiteral("--hide-private")});
    if (!p) {
        return Usage(io, kUsage);
    }
    const bool withPrivate = !p->a.flags.contains(QStringLiteral("--hide-private"));
    CliPrompter prompter(io.err);
    Session session(prompter);
    if (const int code = OpenChecked(io, p->a.words[0], session)) {
        return code;
    }
    int code = kExitFailed;
    if (const std::optional<BudgetView> view = ReadView(io, session.store(), p->budget)) {
        if (const std::optional<budget::Balance> balance = PeriodBalance(io, session.store(), *p, *view)) {
            const QVector<Currency> values = budget::ResultValues(*balance).value_or(QVector<Currency>(9));
            const char* labels[] = {"public credit",  "private credit",  "total credit",
                                    "public debit",   "private debit",   "total debit",
                                    "public balance", "private balance", "total balance"};
            for (int i = 0; i < 9; ++i) {
                io.out << labels[i] << ": "
                       << (withPrivate || i % 3 == 0 ? budget::FormatAmount(values[i], false, QLocale::c()) : QString())
                       << "\n";
            }
            code = kExitOk;
        }
    }
    open_sequence::CloseDatabase(session);
    return code;
}

int Export(const QStringList& args, Streams io) {
    std::optional<PeriodArguments> p = ParsePeriod(args, 2, {});
    if (!p) {
        return Usage(io, kUsage);
    }
    CliPrompter prompter(io.err);
    Session session(prompter);
    if (const int code = OpenChecked(io, p->a.words[0], session)) {
        return code;
    }
    Store& store = session.store();
    int code = kExitFailed;
    if (const std::optional<BudgetView> view = ReadView(io, store, p->budget)) {
        if (const std::optional<budget::Balance> balance = PeriodBalance(io, store, *p, *view)) {
            budget::BalanceExport data;
            data.balance = *balance;
            data.privateColumns = view->budgets.showPrivate[view->index];
            data.privateCells = data.privateColumns;
            data.showPrivate = true;
            data.categories = view->categories;
            data.payments = view->payments;
            for (const budget::Transaction& t :
                 budget::DecodeTransactions(store.cry.KeyPool(), budget::ReadBalanceRows(store, p->query))) {
                if (p->query.payment == budget::kPayModeAll || t.payMode == p->query.payment) {
                    data.transactions.append(t);
                }
            }
            const std::optional<QByteArray> csv = budget::BalanceCsv(data);
            const QString failure = csv ? budget::WriteExportFile(p->a.words[1], *csv) : QStringLiteral("overflow");
            if (failure.isEmpty()) {
                io.err << budget::ExportNotice(p->a.words[1]) << "\n";
                code = kExitOk;
            } else {
                Fail(io, QStringLiteral("%1 could not be written: %2").arg(p->a.words[1], failure));
            }
        }
    }
    open_sequence::CloseDatabase(session);
    return code;
}

} // namespace

int Budget(const QStringList& args, Streams io) {
    const QString sub = args.value(0);
    const QStringList rest = args.mid(1);
    if (sub == QLatin1String("list")) {
        return List(rest, io);
    }
    if (sub == QLatin1String("add")) {
        return Add(rest, io);
    }
    if (sub == QLatin1String("totals")) {
        return Totals(rest, io);
    }
    if (sub == QLatin1String("export")) {
        return Export(rest, io);
    }
    return Usage(io, kUsage);
}

} // namespace cli

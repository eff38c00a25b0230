#include "app/cli/commands.h"
#include "budget/budget_commands.h"
#include "calendar/calendar_commands.h"
#include "sections/contacts/contact_commands.h"
#include "sections/diary/diary_commands.h"
#include "sections/find/find_commands.h"
#include "sections/memos/memo_commands.h"
#include "sections/tasks/task_commands.h"
#include "sections/vault/vault_commands.h"
#include "shell/process_guard.h"

#include <QCoreApplication>
#include <QGuiApplication>

#include <cstdio>
#include <memory>

namespace {

void Usage(QTextStream& err) {
    err << "usage: noctaria-cli COMMAND [ARGS]\n"
           "commands:\n"
           "  selftest [--vectors FILE]   run the cipher self-tests and the cases of a known-answer file\n"
           "  create FILE                 make a new database (asks for its passphrase)\n"
           "  info FILE                   version and rows per section (no passphrase)\n"
           "  check FILE                  open the file and decipher every record\n"
           "  passwd FILE                 change the passphrase\n"
           "  compact FILE                compact the file in place\n"
           "  backup FILE DIR             compact, then write a compressed backup into DIR\n"
           "  restore NCZ DIR             expand a backup into DIR (the former file is kept as .ncb)\n"
           "  dump FILE [--section N]     every readable record as one JSON object per line\n"
           "  generate [--length N] [--words N] [--no-symbols] [--avoid-look-alike]\n"
           "                              a new random password (4 to 128 characters, 20 unless told) or a\n"
           "                              passphrase of 3 to 12 words\n"
           "  budget list|add|totals|export|report|import|rules FILE ...\n"
           "                              the budget's month list, a new transaction, the balance of a period,\n"
           "                              the balance and transactions of a period as CSV or as a PDF report,\n"
           "                              a bank statement in (CSV, QIF, OFX), the rules that file its bookings\n"
           "                              ('budget' alone lists the options)\n"
           "  memo list|add|show|delete FILE ...\n"
           "                              the memos: subjects by category, a new memo, one memo, deleting one\n"
           "  diary list|set FILE ...     the diary's entries of a period, the entry of a day\n"
           "  task list|add|done|delete FILE ...\n"
           "                              the tasks in the list's order, a new task, a task done (or open again),\n"
           "                              deleting one\n"
           "  vault list|add|show|weak FILE ...\n"
           "                              the vault's titles by sub-category, a new record, one record (passwords\n"
           "                              only with --reveal), the weak or reused passwords\n"
           "  calendar add|occurrences|show|delete FILE ...\n"
           "                              a new appointment or series, the occurrences of a range in the order\n"
           "                              the views show them, one appointment, deleting one\n"
           "  contact list|show|add|delete|export FILE ...\n"
           "                              the contacts of a category, one contact as its pane shows it, a new\n"
           "                              contact, deleting one, all of them as a tab-delimited file\n"
           "  find FILE TEXT [--sections 11,12,...] [--case-sensitive] [--show-private]\n"
           "                              the records holding TEXT, one line each: section, key, item, detail;\n"
           "                              exit 1 when nothing is found\n"
           "Passphrases are read from the terminal, or line by line from standard input.\n";
}

} // namespace

int main(int argc, char* argv[]) {
    process_guard::DisableCoreDumps();
    // A report paints pages, and fonts come with a GUI application; it needs no screen, so it runs offscreen
    // unless told otherwise. Every other command stays without one.
    const bool paints = argc > 2 && qstrcmp(argv[1], "budget") == 0 && qstrcmp(argv[2], "report") == 0;
    if (paints && !qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    const std::unique_ptr<QCoreApplication> app =
        paints ? std::make_unique<QGuiApplication>(argc, argv) : std::make_unique<QCoreApplication>(argc, argv);
    QTextStream out(stdout);
    QTextStream err(stderr);
    QStringList args = QCoreApplication::arguments().mid(1);
    if (args.isEmpty()) {
        Usage(err);
        return cli::kExitUsage;
    }
    const QString command = args.takeFirst();
    cli::Streams io{out, err};
    if (command == QLatin1String("selftest")) {
        return cli::SelfTest(args, io);
    }
    // Every other command works on real data, which a faulty cipher library must never touch.
    const QStringList failures = process_guard::PrepareProcess();
    if (!failures.isEmpty()) {
        err << "noctaria-cli: the cipher self-test failed (" << failures.join(QLatin1String(", "))
            << "); refusing to run\n";
        return cli::kExitFailed;
    }
    using Command = int (*)(const QStringList&, cli::Streams);
    const std::pair<const char*, Command> commands[] = {
        {"create", cli::Create},
        {"info", cli::Info},
        {"check", cli::Check},
        {"passwd", cli::Passwd},
        {"compact", cli::Compact},
        {"backup", cli::Backup},
        {"restore", cli::Restore},
        {"dump", cli::Dump},
        {"generate", cli::Generate},
        {"budget", budget::BudgetCommand},
        {"memo", memos::MemoCommand},
        {"diary", diary::DiaryCommand},
        {"task", tasks::TaskCommand},
        {"vault", vault::VaultCommand},
        {"calendar", CALENDAR::CalendarCommand},
        {"contact", contacts::ContactCommand},
        {"find", find::FindCommand},
    };
    for (const auto& [name, run] : commands) {
        if (command == QLatin1String(name)) {
            const int code = run(args, io);
            out.flush();
            err.flush();
            return code;
        }
    }
    err << "noctaria-cli: unknown command '" << command << "'\n";
    Usage(err);
    return cli::kExitUsage;
}

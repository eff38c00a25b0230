#include "sections/vault/vault_commands.h"

#include "app/cli/command_line.h"
#include "sections/vault/vault.h"
#include "shell/session.h"
#include "store/cry.h"
#include "store/store.h"

namespace vault {

namespace {

using cli::CommandLine;

constexpr const char* kUsage =
    "vault list FILE [--sub-category N]\n"
    "       noctaria-cli vault add FILE --sub-category N --field0 T [--field1 T] ... [--field4 T] [--note T] "
    "[--public]\n"
    "                    (a password or PIN field takes - and is read like the passphrase, never from the "
    "command line)\n"
    "       noctaria-cli vault show FILE KEY [--reveal]\n"
    "       noctaria-cli vault weak FILE";

const QString kMasked = QStringLiteral("********");

QString FieldOption(int i) {
    return QStringLiteral("field%1").arg(i);
}

QString Caption(int subCategory) {
    const SubCategory* sub = FindSubCategory(subCategory);
    return sub != nullptr ? QLatin1String(sub->caption) : QString::number(subCategory);
}

// The sub-category given by --sub-category; 0, with a message, for a number that is none.
int ChosenSubCategory(const CommandLine& line) {
    bool ok = false;
    const int number = line.value(QStringLiteral("sub-category")).toInt(&ok);
    if (!ok || FindSubCategory(number) == nullptr) {
        line.fail(QStringLiteral("the sub-category is a number from 1 to 16, not '%1'")
                      .arg(line.value(QStringLiteral("sub-category"))));
        return 0;
    }
    return number;
}

int List(const QStringList& args, cli::Streams io) {
    CommandLine line(io, kUsage, {cli::ValueOption("sub-category", "the sub-category's number, 1 to 16")});
    if (!line.parse(args, 1)) {
        return cli::kExitUsage;
    }
    QVector<int> chosen;
    if (line.isSet(QStringLiteral("sub-category"))) {
        const int number = ChosenSubCategory(line);
        if (number == 0) {
            return cli::kExitUsage;
        }
        chosen << number;
    } else {
        for (const SubCategory& sub : SubCategories()) {
            chosen << sub.number;
        }
    }
    return cli::WithOpenFile(io, line.words()[0], [&](Session& session) {
        Store& store = session.store();
        store.hidePrivate = false;
        for (const int number : chosen) {
            for (const records::ListedTitle& row : ListEntries(store, number)) {
                io.out << row.key << '\t' << number << '\t' << Caption(number) << '\t' << cli::OneLine(row.title)
                       << '\n';
            }
        }
        return cli::kExitOk;
    });
}

int Add(const QStringList& args, cli::Streams io) {
    QList<QCommandLineOption> options{
        cli::ValueOption("sub-category", "the sub-category's number, 1 to 16"), cli::ValueOption("note", "the note"),
        QCommandLineOption(QStringLiteral("public"), QStringLiteral("a record that is not private"))};
    for (int i = 0; i < kValueCount; ++i) {
        options << cli::ValueOption(qPrintable(FieldOption(i)), "a field's value");
    }
    CommandLine line(io, kUsage, options);
    if (!line.parse(args, 1)) {
        return cli::kExitUsage;
    }
    const int number = ChosenSubCategory(line);
    if (number == 0) {
        return cli::kExitUsage;
    }
    const QStringList labels = Labels(number);
    for (int i = 0; i < kValueCount; ++i) {
        const QString value = line.value(FieldOption(i));
        if (line.isSet(FieldOption(i)) && i >= labels.size()) {
            return line.fail(QStringLiteral("%1 has no field %2").arg(Caption(number)).arg(i));
        }
        // Other programs of the machine read a command line; a secret must come the way the passphrase does.
        if (i < labels.size() && IsPasswordLabel(labels[i]) && line.isSet(FieldOption(i)) &&
            value != QLatin1String("-")) {
            return line.fail(QStringLiteral("%1 is not taken from the command line: give --%2 - and type it when asked")
                                 .arg(labels[i], FieldOption(i)));
        }
    }
    if (line.value(FieldOption(0)).isEmpty()) {
        return line.fail(QStringLiteral("Missing: ") + labels.value(0));
    }
    return cli::WithOpenFile(io, line.words()[0], [&](Session& session) {
        Store& store = session.store();
        Entry entry = NewEntry(store.user.level, number);
        entry.isPrivate = !line.isSet(QStringLiteral("public"));
        entry.notes = line.value(QStringLiteral("note"));
        for (int i = 0; i < labels.size(); ++i) {
            QString value = line.value(FieldOption(i));
            if (value == QLatin1String("-")) {
                Prompter::PassphraseReply typed =
                    store.prompter.passphrase({.prompt = labels[i] + u':', .checkLength = false});
                value = typed.text;
                CRY::WipeText(typed.text);
                if (typed.cancelled) {
                    Wipe(entry);
                    return line.fail(QStringLiteral("no value for %1").arg(labels[i]));
                }
            }
            entry.values[static_cast<std::size_t>(i)] = value;
        }
        const Result r = StoreEntry(store, entry, QDateTime::currentDateTime());
        Wipe(entry);
        if (r.ok()) {
            io.out << entry.key << '\n';
        }
        return cli::Report(line, r);
    });
}

int Show(const QStringList& args, cli::Streams io) {
    return cli::WithRecord(
        args, io, kUsage,
        {QCommandLineOption(QStringLiteral("reveal"), QStringLiteral("show passwords and PINs in plain text"))},
        kVaultSection, "vault record", [io](const CommandLine& line, Store& store, std::int32_t key) {
            std::optional<Entry> entry = LoadEntry(store, key);
            if (!entry || entry->owner != store.user.level) {
                return line.fail(QStringLiteral("vault record %1 cannot be read").arg(key));
            }
            const bool reveal = line.isSet(QStringLiteral("reveal"));
            const QStringList labels = Labels(entry->subCategory);
            io.out << entry->key << '\t' << entry->subCategory << '\t' << Caption(entry->subCategory) << '\t'
                   << (entry->isPrivate ? "private" : "public") << '\t'
                   << entry->modified.toString(QStringLiteral("yyyy-MM-dd HH:mm:ss")) << '\n';
            for (int i = 0; i < labels.size(); ++i) {
                const QString& value = entry->values[static_cast<std::size_t>(i)];
                const bool masked = IsPasswordLabel(labels[i]) && !reveal && !value.isEmpty();
                io.out << labels[i] << ":\t" << (masked ? kMasked : cli::OneLine(value)) << '\n';
            }
            io.out << NotesLabel(entry->subCategory) << ":\n" << entry->notes << '\n';
            Wipe(*entry);
            return cli::kExitOk;
        });
}

int Weak(const QStringList& args, cli::Streams io) {
    CommandLine line(io, kUsage, {});
    if (!line.parse(args, 1)) {
        return cli::kExitUsage;
    }
    return cli::WithOpenFile(io, line.words()[0], [&](Session& session) {
        Store& store = session.store();
        store.hidePrivate = false;
        for (const PasswordFinding& f : WeakOrReusedPasswords(store)) {
            io.out << f.key << '\t' << Caption(f.subCategory) << '\t' << cli::OneLine(f.title) << '\t' << f.label
                   << '\t'
                   << (f.weak ? QStringLiteral("weak, about 2^%1 guesses").arg(static_cast<int>(f.bits))
                              : QStringLiteral("strong enough"))
                   << '\t' << QStringLiteral("shared with %1").arg(f.sharedWith) << '\n';
        }
        return cli::kExitOk;
    });
}

} // namespace

int VaultCommand(const QStringList& args, cli::Streams io) {
    return cli::RunVerb(args, io, kUsage, {{"list", List}, {"add", Add}, {"show", Show}, {"weak", Weak}});
}

} // namespace vault

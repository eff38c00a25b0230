#include "sections/contacts/contact_commands.h"

#include "app/cli/command_line.h"
#include "base/messages.h"
#include "sections/categories/categories.h"
#include "sections/contacts/contact.h"
#include "sections/contacts/contact_editor.h"
#include "sections/contacts/contact_export.h"
#include "sections/contacts/contact_list.h"
#include "sections/contacts/contact_pane.h"
#include "sections/contacts/vcard.h"
#include "shell/options.h"
#include "shell/session.h"
#include "store/store.h"

#include <QFile>

namespace contacts {

namespace {

using cli::CommandLine;

constexpr const char* kUsage =
    "contact list FILE [--category NAME]\n"
    "       noctaria-cli contact show FILE KEY\n"
    "       noctaria-cli contact add FILE --first F --last L [--company C] [--mobile N] [--email E]\n"
    "                    [--birthday DATE] [--category NAME] [--private]\n"
    "       noctaria-cli contact delete FILE KEY\n"
    "       noctaria-cli contact export FILE OUT (--tab|--vcard)\n"
    "       noctaria-cli contact import FILE IN.vcf";

constexpr int kMobileSlot = MobileTelephoneNumber - kFirstSlot;
constexpr int kMailSlot = Email1Address - kFirstSlot;

int List(const QStringList& args, cli::Streams io) {
    return cli::WithCategoryList(
        args, io, kUsage, {}, kContactSection, [io](const CommandLine&, Store& store, int category) {
            for (const ListItem& item : ListContacts(store, category)) {
                io.out << item.key << '\t' << cli::OneLine(item.name) << '\t' << cli::OneLine(item.contactInfo) << '\n';
            }
            return cli::kExitOk;
        });
}

int Show(const QStringList& args, cli::Streams io) {
    return cli::WithRecord(args, io, kUsage, {}, kContactSection, "contact",
                           [io](const CommandLine& line, Store& store, std::int32_t key) {
                               const std::optional<Contact> contact = LoadContact(store, key);
                               // Another user's contacts are not in this user's list either.
                               if (!contact || contact->owner != store.user.level) {
                                   return line.fail(QStringLiteral("contact %1 cannot be read").arg(key));
                               }
                               const ContactPane pane =
                                   ShowContactPane(*contact, options::LoadUserFieldLabels(store),
                                                   categories::LoadCategoryText(store, kContactSection));
                               const QString text = pane.text();
                               io.out << contact->key << '\t' << cli::OneLine(pane.name) << '\n'
                                      << text << (text.endsWith(u'\n') ? "" : "\n");
                               return cli::kExitOk;
                           });
}

int Add(const QStringList& args, cli::Streams io) {
    CommandLine line(io, kUsage,
                     {cli::ValueOption("first", "the first name"), cli::ValueOption("last", "the last name"),
                      cli::ValueOption("company", "the company"), cli::ValueOption("mobile", "the mobile number"),
                      cli::ValueOption("email", "the mail address"), cli::ValueOption("birthday", "the birthday"),
                      cli::ValueOption("category", "the category's name"),
                      QCommandLineOption(QStringLiteral("private"), QStringLiteral("a private contact"))});
    if (!line.parse(args, 1)) {
        return cli::kExitUsage;
    }
    Contact contact;
    contact.texts[FirstName] = line.value(QStringLiteral("first")).trimmed();
    contact.texts[LastName] = line.value(QStringLiteral("last")).trimmed();
    contact.texts[CompanyName] = line.value(QStringLiteral("company")).trimmed();
    contact.texts[MobileTelephoneNumber] = line.value(QStringLiteral("mobile")).trimmed();
    contact.texts[Email1Address] = line.value(QStringLiteral("email")).trimmed();
    // The title the editor offers first.
    contact.fileAs = RebuildFileAs(contact, QString(), NameOrder::LastFirst).chosen;
    if (!contact.slot(kMobileSlot).isEmpty()) {
        contact.comDisplay = kMobileSlot;
    } else if (!contact.slot(kMailSlot).isEmpty()) {
        contact.comDisplay = kMailSlot;
    }
    if (line.isSet(QStringLiteral("birthday"))) {
        contact.birthday = line.date(QStringLiteral("birthday"));
        if (!contact.birthday.isValid()) {
            return cli::kExitUsage;
        }
        // From that day on a stored date reads as none.
        if (contact.birthday >= NoDate()) {
            return line.fail(QStringLiteral("a birthday lies before %1").arg(NoDate().toString(Qt::ISODate)));
        }
    }
    contact.isPrivate = line.isSet(QStringLiteral("private"));
    return cli::WithOpenFile(io, line.words()[0], [&](Session& session) {
        Store& store = session.store();
        const std::optional<int> category = cli::ChosenCategory(line, store, kContactSection, false);
        if (!category) {
            return cli::kExitFailed;
        }
        contact.owner = store.user.level;
        if (*category != categories::kUnfiled) {
            contact.categories = {*category};
        }
        const Result r = StoreContact(store, contact);
        if (r.ok()) {
            io.out << contact.key << '\n';
        }
        return cli::Report(line, r);
    });
}

int Delete(const QStringList& args, cli::Streams io) {
    return cli::WithRecord(args, io, kUsage, {}, kContactSection, "contact",
                           [](const CommandLine& line, Store& store, std::int32_t key) {
                               return cli::Report(line, DeleteContact(store, key));
                           });
}

int Export(const QStringList& args, cli::Streams io) {
    CommandLine line(io, kUsage,
                     {QCommandLineOption(QStringLiteral("tab"), QStringLiteral("tab-delimited text")),
                      QCommandLineOption(QStringLiteral("vcard"), QStringLiteral("vCard 4.0"))});
    if (!line.parse(args, 2)) {
        return cli::kExitUsage;
    }
    const bool tab = line.isSet(QStringLiteral("tab"));
    if (tab == line.isSet(QStringLiteral("vcard"))) {
        return line.usage();
    }
    const QString out = line.words()[1];
    return cli::WithOpenFile(io, line.words()[0], [&](Session& session) {
        Store& store = session.store();
        store.hidePrivate = false;
        qsizetype count = 0;
        QString failure;
        if (tab) {
            failure = ExportAddressTabDelimited(store, out, &count);
        } else {
            QVector<Contact> all;
            for (const ListItem& item : ListContacts(store, categories::kAll)) {
                if (std::optional<Contact> contact = LoadContact(store, item.key)) {
                    all.append(std::move(*contact));
                }
            }
            failure = ExportVCards(store, all, out);
            count = all.size();
        }
        if (!failure.isEmpty()) {
            return line.fail(QStringLiteral("%1 could not be written: %2").arg(out, failure));
        }
        io.err << TabExportNotice(out, count) << "\n";
        return cli::kExitOk;
    });
}

int Import(const QStringList& args, cli::Streams io) {
    CommandLine line(io, kUsage, {});
    if (!line.parse(args, 2)) {
        return cli::kExitUsage;
    }
    const QString in = line.words()[1];
    QFile file(in);
    if (!file.open(QIODevice::ReadOnly)) {
        return line.fail(QStringLiteral("%1 cannot be read: %2").arg(in, file.errorString()));
    }
    const VCardReading reading = ReadVCards(file.read(kVCardMaxBytes + 1));
    for (const VCardSkip& skip : reading.skipped) {
        io.err << in << ':' << skip.line << ": " << skip.reason << '\n';
    }
    if (!reading.refusal.isEmpty()) {
        return line.fail(QStringLiteral("%1 was not imported: %2").arg(in, reading.refusal));
    }
    if (reading.cards.isEmpty()) {
        return line.fail(MsgText(170));
    }
    return cli::WithOpenFile(io, line.words()[0], [&](Session& session) {
        const VCardImport result = ImportVCards(session.store(), reading.cards);
        if (result.result.ok()) {
            io.out << result.imported << (result.imported == 1 ? " contact" : " contacts") << " imported, "
                   << reading.skippedCount << (reading.skippedCount == 1 ? " part" : " parts") << " left out\n";
        }
        return cli::Report(line, result.result);
    });
}

} // namespace

int ContactCommand(const QStringList& args, cli::Streams io) {
    return cli::RunVerb(
        args, io, kUsage,
        {{"list", List}, {"show", Show}, {"add", Add}, {"delete", Delete}, {"export", Export}, {"import", Import}});
}

} // namespace contacts

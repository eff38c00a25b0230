#include "app/cli/command_line.h"
#include "app/cli/commands.h"
#include "sections/vault/password_generator.h"
#include "store/cry.h"

namespace cli {

namespace {

constexpr const char* kUsage = "generate [--length N] [--words N] [--no-symbols] [--avoid-look-alike]";

// The number given with `name` when it lies in from..to; absent, with a message, otherwise.
std::optional<int> Bounded(const CommandLine& line, const QString& name, int from, int to) {
    bool ok = false;
    const int n = line.value(name).toInt(&ok);
    if (!ok || n < from || n > to) {
        line.io().err << "noctaria-cli: --" << name << " takes a number from " << from << " to " << to << "\n";
        return std::nullopt;
    }
    return n;
}

} // namespace

int Generate(const QStringList& args, Streams io) {
    const QString length = QStringLiteral("length");
    const QString words = QStringLiteral("words");
    const QString noSymbols = QStringLiteral("no-symbols");
    const QString avoidLookAlike = QStringLiteral("avoid-look-alike");
    CommandLine line(io, QString::fromLatin1(kUsage),
                     {ValueOption("length", "characters of a password"),
                      ValueOption("words", "words of a passphrase instead of characters"),
                      {noSymbols, QStringLiteral("letters and digits only")},
                      {avoidLookAlike, QStringLiteral("no characters that look alike")}});
    if (!line.parse(args, 0)) {
        return kExitUsage;
    }
    password_generator::Options options;
    if (line.isSet(words)) {
        if (line.isSet(length) || line.isSet(noSymbols) || line.isSet(avoidLookAlike)) {
            io.err << "noctaria-cli: --words makes a passphrase; the other options are for passwords of characters\n";
            return line.usage();
        }
        const std::optional<int> n = Bounded(line, words, password_generator::kMinWords, password_generator::kMaxWords);
        if (!n) {
            return line.usage();
        }
        options.words = *n;
    } else if (line.isSet(length)) {
        const std::optional<int> n =
            Bounded(line, length, password_generator::kMinLength, password_generator::kMaxLength);
        if (!n) {
            return line.usage();
        }
        options.length = *n;
    }
    options.symbols = !line.isSet(noSymbols);
    options.avoidLookAlike = line.isSet(avoidLookAlike);
    QString value = password_generator::Generate(options);
    io.out << value << "\n";
    io.out.flush();
    CRY::WipeText(value);
    return kExitOk;
}

} // namespace cli

#include "base/password_strength.h"
#include "sections/vault/password_generator.h"
#include "support/test_main.h"

#include <QSet>

#include <cmath>

Q_DECLARE_METATYPE(password_generator::Options)

namespace {

using password_generator::Options;

constexpr int kDraws = 200;

enum Class { Lower, Upper, Digit, Symbol };

Class ClassOf(QChar c) {
    if (c >= u'a' && c <= u'z') {
        return Lower;
    }
    if (c >= u'A' && c <= u'Z') {
        return Upper;
    }
    return c >= u'0' && c <= u'9' ? Digit : Symbol;
}

bool IsSymbol(QChar c) {
    const bool printable = c.unicode() > 0x20 && c.unicode() < 0x7F;
    return printable && !c.isLetterOrNumber() && !QStringLiteral("\"'`\\").contains(c);
}

QSet<QString> WordSet() {
    QSet<QString> words;
    for (const std::string_view w : password_generator::Words()) {
        words.insert(QString::fromLatin1(w.data(), static_cast<qsizetype>(w.size())));
    }
    return words;
}

// Sees every draw and lets none of the store's other kinds of randomness through.
class CountingRandom final : public RandomSource {
public:
    int draws = 0;
    int others = 0;

    std::uint16_t selector() override { return static_cast<std::uint16_t>(++others); }
    int blankCount() override { return ++others; }
    void vector(std::uint8_t*, std::size_t) override { ++others; }
    void salt(std::uint8_t*, std::size_t) override { ++others; }
    void bytes(std::uint8_t*, std::size_t) override { ++others; }
    std::uint32_t below(std::uint32_t bound) override {
        ++draws;
        return StrongRandom().below(bound);
    }
};

} // namespace

class TestPasswordTools : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void charactersOfEveryChosenClass_data() {
        QTest::addColumn<Options>("options");
        QTest::addColumn<int>("length");
        QTest::newRow("all classes") << Options{} << 20;
        QTest::newRow("lowercase only") << Options{.length = 12, .upper = false, .digits = false, .symbols = false}
                                        << 12;
        QTest::newRow("four classes in four") << Options{.length = 4} << 4;
        QTest::newRow("digits and symbols") << Options{.length = 6, .lower = false, .upper = false} << 6;
        QTest::newRow("longest") << Options{.length = 128} << 128;
        QTest::newRow("too short") << Options{.length = 3} << 4;
        QTest::newRow("nothing asked") << Options{.length = 0} << 4;
        QTest::newRow("too long") << Options{.length = 129} << 128;
        QTest::newRow("no look-alikes") << Options{.length = 128, .avoidLookAlike = true} << 128;
    }

    void charactersOfEveryChosenClass() {
        QFETCH(Options, options);
        QFETCH(int, length);
        const bool chosen[] = {options.lower, options.upper, options.digits, options.symbols};
        for (int draw = 0; draw < kDraws; ++draw) {
            const QString value = password_generator::Generate(options);
            QCOMPARE(value.size(), length);
            bool seen[4] = {};
            for (const QChar c : value) {
                const Class k = ClassOf(c);
                QVERIFY2(chosen[k], qPrintable(value));
                QVERIFY2(k != Symbol || IsSymbol(c), qPrintable(value));
                QVERIFY2(!options.avoidLookAlike ||
                             password_generator::kLookAlike.find(c.unicode()) == std::u16string_view::npos,
                         qPrintable(value));
                seen[k] = true;
            }
            for (int k = 0; k < 4; ++k) {
                QVERIFY2(seen[k] == chosen[k], qPrintable(value));
            }
        }
    }

    // The characters that every class must have are shuffled in: each class turns up in the first place.
    void guaranteedCharactersGoAnywhere() {
        bool first[4] = {};
        for (int draw = 0; draw < kDraws; ++draw) {
            first[ClassOf(password_generator::Generate({.length = 4}).front())] = true;
        }
        QVERIFY(first[Lower] && first[Upper] && first[Digit] && first[Symbol]);
    }

    void noClassGivesNothing() {
        const Options none{.lower = false, .upper = false, .digits = false, .symbols = false};
        QVERIFY(password_generator::Generate(none).isEmpty());
        QCOMPARE(password_generator::EntropyBits(none), 0.0);
    }

    void passphrase_data() {
        QTest::addColumn<int>("asked");
        QTest::addColumn<int>("words");
        QTest::newRow("fewest") << 3 << 3;
        QTest::newRow("five") << 5 << 5;
        QTest::newRow("most") << 12 << 12;
        QTest::newRow("one") << 1 << 3;
        QTest::newRow("too many") << 13 << 12;
    }

    void passphrase() {
        QFETCH(int, asked);
        QFETCH(int, words);
        const QSet<QString> known = WordSet();
        for (int draw = 0; draw < kDraws; ++draw) {
            // Character settings have no say over a passphrase.
            const QString value = password_generator::Generate({.length = 4, .avoidLookAlike = true, .words = asked});
            const QStringList parts = value.split(QLatin1Char(password_generator::kWordSeparator));
            QCOMPARE(parts.size(), words);
            for (const QString& part : parts) {
                QVERIFY2(known.contains(part), qPrintable(value));
            }
        }
    }

    void wordList() {
        const std::span<const std::string_view> words = password_generator::Words();
        QVERIFY(words.size() >= 2048);
        QCOMPARE(WordSet().size(), qsizetype(words.size()));
        for (const std::string_view w : words) {
            QVERIFY2(w.size() >= 3 && w.size() <= 8, w.data());
            QVERIFY2(std::all_of(w.begin(), w.end(), [](char c) { return c >= 'a' && c <= 'z'; }), w.data());
        }
    }

    void drawsFromTheSourceGiven() {
        for (const Options& options : {Options{.length = 32, .avoidLookAlike = true}, Options{.words = 6}}) {
            ScriptedRandom first;
            ScriptedRandom second;
            QCOMPARE(password_generator::Generate(options, first), password_generator::Generate(options, second));
            CountingRandom counting;
            const QString value = password_generator::Generate(options, counting);
            QVERIFY(counting.draws >= (options.words > 0 ? options.words : value.size()));
            QCOMPARE(counting.others, 0);
        }
    }

    void entropy_data() {
        QTest::addColumn<Options>("options");
        QTest::addColumn<double>("bits");
        const Options lower{.upper = false, .digits = false, .symbols = false};
        QTest::newRow("one class") << lower << 20 * std::log2(26.0);
        // Four characters of four classes: one of each, in any order.
        QTest::newRow("one of each") << Options{.length = 4} << std::log2(26.0 * 26 * 10 * 28 * 24);
        QTest::newRow("one of each, no look-alikes")
            << Options{.length = 4, .avoidLookAlike = true} << std::log2(23.0 * 20 * 5 * 26 * 24);
        const double words = std::log2(static_cast<double>(password_generator::Words().size()));
        QTest::newRow("five words") << Options{.words = 5} << 5 * words;
        QTest::newRow("words clamped") << Options{.words = 40} << 12 * words;
    }

    void entropy() {
        QFETCH(Options, options);
        QFETCH(double, bits);
        QVERIFY2(std::abs(password_generator::EntropyBits(options) - bits) < 1e-6,
                 qPrintable(QString::number(password_generator::EntropyBits(options))));
    }

    void scoreSteps_data() {
        QTest::addColumn<double>("bits");
        QTest::addColumn<int>("score");
        QTest::addColumn<QString>("line");
        QTest::newRow("below nothing") << -3.0 << 0 << "Strength: very weak (about 2^0 guesses)";
        QTest::newRow("just below weak") << 19.9 << 0 << "Strength: very weak (about 2^20 guesses)";
        QTest::newRow("weak") << 20.0 << 1 << "Strength: weak (about 2^20 guesses)";
        QTest::newRow("just below fair") << 35.99 << 1 << "Strength: weak (about 2^36 guesses)";
        QTest::newRow("fair") << 36.0 << 2 << "Strength: fair (about 2^36 guesses)";
        QTest::newRow("strong") << 50.0 << 3 << "Strength: strong (about 2^50 guesses)";
        QTest::newRow("very strong") << 64.0 << 4 << "Strength: very strong (about 2^64 guesses)";
    }

    void scoreSteps() {
        QFETCH(double, bits);
        QFETCH(int, score);
        QFETCH(QString, line);
        const password_strength::Estimate e = password_strength::FromBits(bits);
        QCOMPARE(e.score, score);
        QCOMPARE(password_strength::IsWeak(e), score < 2);
        QCOMPARE(password_strength::Describe(e), line);
    }

    void knownPassphrases_data() {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("weak");
        QTest::newRow("empty") << QString() << true;
        QTest::newRow("the word") << "password" << true;
        QTest::newRow("the word and a digit") << "Password1" << true;
        QTest::newRow("a keyboard run") << "qwertyuiop" << true;
        QTest::newRow("a season and year") << "Summer2024" << true;
        QTest::newRow("the tests' own") << "correct horse battery 7" << false;
        QTest::newRow("random characters") << "x8#kQ2!vZp" << false;
        QTest::newRow("beyond ASCII") << "grüne straße" << false;
    }

    void knownPassphrases() {
        QFETCH(QString, text);
        QFETCH(bool, weak);
        const password_strength::Estimate e = password_strength::Rate(text);
        QVERIFY2(password_strength::IsWeak(e) == weak, qPrintable(password_strength::Describe(e)));
    }
};

NCT_TEST_MAIN(TestPasswordTools)
#include "tst_password_tools.moc"

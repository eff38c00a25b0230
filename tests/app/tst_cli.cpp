#include "support/cli_runner.h"
#include "support/test_main.h"

namespace {

QString Vectors() {
    return QStringLiteral(NCT_TEST_DATA_DIR "/store-vectors.json");
}

} // namespace

class TestCli : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void selftestPassesEveryKnownAnswer() {
        const CliResult plain = RunCli({QStringLiteral("selftest")});
        QCOMPARE(plain.exitCode, 0);
        QVERIFY(plain.out.trimmed().endsWith(QLatin1String("passed, 0 failed")));

        const CliResult run = RunCli({QStringLiteral("selftest"), QStringLiteral("--vectors"), Vectors()});
        QCOMPARE(run.exitCode, 0);
        const QStringList lines = run.out.trimmed().split(u'\n');
        QCOMPARE(lines.size(), 1);
        QVERIFY2(lines.last().contains(QLatin1String(" passed, 0 failed")), qPrintable(run.out));
        QVERIFY(lines.last().split(u' ').first().toInt() > 80);
    }

    void selftestNamesAFailingCase() {
        QByteArray json = FileBytes(Vectors());
        // Change the expected bytes of one cipher case.
        const QByteArray expected = "9c4011121314151617184483358c9d7c24e1";
        QVERIFY(json.contains(expected));
        json.replace(expected, "9c4011121314151617184483358c9d7c24e2");
        const QString changed = test_env::Path(QStringLiteral("vectors.json"));
        QVERIFY(WriteFile(changed, json));
        const CliResult run = RunCli({QStringLiteral("selftest"), QStringLiteral("--vectors"), changed});
        QCOMPARE(run.exitCode, 1);
        QVERIFY2(run.out.contains(QLatin1String("cipher[0]:")), qPrintable(run.out));
        QVERIFY(run.out.trimmed().split(u'\n').last().contains(QLatin1String(" passed, 1 failed")));
    }

    void refusals() {
        QCOMPARE(RunCli({QStringLiteral("selftest"), QStringLiteral("--vectors")}).exitCode, 2);
        const CliResult missing =
            RunCli({QStringLiteral("selftest"), QStringLiteral("--vectors"), QStringLiteral("/nonexistent")});
        QCOMPARE(missing.exitCode, 1);
        QVERIFY(missing.err.contains(QLatin1String("/nonexistent")));
    }
};

NCT_TEST_MAIN(TestCli)
#include "tst_cli.moc"

#include "shell/options.h"
#include "support/test_main.h"

namespace {

const QString kPass = QStringLiteral("Options pass 1");

} // namespace

class TestOptions : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void pinValuesMarkOnlyRealChanges() {
        UserOptions pin{0, QStringLiteral("1234"), 3, false};
        QVERIFY(!options::TakePinValues(pin, QStringLiteral("1234"), 3, false));
        QVERIFY(options::TakePinValues(pin, QStringLiteral("12345"), 3, false));
        QCOMPARE(pin.PinCode, QStringLiteral("12345"));
        QVERIFY(options::TakePinValues(pin, QStringLiteral("12345"), 1, true));
        QCOMPARE(pin.PinMask, 1);
        QVERIFY(pin.PinEveryAccess);
    }

    void labelsAndOptionsRoundTripThroughTheFile() {
        QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("options.nct"));
        {
            TestSession run;
            QCOMPARE(CreateDatabase(run, path, kPass), 0);
            Store& store = run.store();
            QStringList labels = options::LoadUserFieldLabels(store);
            QCOMPARE(labels.size(), 9);
            QCOMPARE(labels.last(), QStringLiteral("User Def 9"));
            labels[0] = QStringLiteral("Nickname");
            labels[4] = QStringLiteral("Кот ✓"); // outside code page 1252
            QCOMPARE(options::SaveUserFieldLabels(store, labels), 0);
            // A separator typed into a label would shift every label behind it; an emptied one shows its default.
            labels[2] = QStringLiteral("Second\x11write");
            labels[8] = QString();
            QCOMPARE(options::SaveUserFieldLabels(store, labels), 0);
            store.preferences.IdleMinutes = 15;
            store.preferences.ShowPrivateAtStart = true;
            QCOMPARE(options::SaveOptions(store), 0);
            DropDatabase(run.session);
        }
        TestSession run;
        QCOMPARE(OpenDatabase(run, path, kPass), 0);
        Store& store = run.store();
        QCOMPARE(options::LoadOptions(store), 0);
        QCOMPARE(store.preferences.IdleMinutes, 15);
        QVERIFY(run.session.ShowPrivate);
        QCOMPARE(options::LoadUserFieldLabels(store),
                 QStringList({"Nickname", "User Def 2", "Secondwrite", "User Def 4", "Кот ✓", "User Def 6",
                              "User Def 7", "User Def 8", "User Def 9"}));
        // One list row per user, rewritten rather than added to.
        sqlite::Statement count = store.connection().prepare("SELECT COUNT(*) FROM tt WHERE fSec=9 AND fSub=11");
        QVERIFY(count.step());
        QCOMPARE(count.int64(0), 1);
    }

    void savingOnAVanishedRowIsFatal() {
        QTemporaryDir dir;
        TestSession run;
        QCOMPARE(CreateDatabase(run, dir.filePath(QStringLiteral("gone.nct")), kPass), 0);
        run.store().connection().exec("DELETE FROM tt WHERE fSec=2");
        run.prompter.forget();
        QCOMPARE(options::SaveOptions(run.store()), StoreError::Fatal);
        QCOMPARE(run.prompter.numbers(), QList<int>({83}));
    }
};

NCT_TEST_MAIN(TestOptions)
#include "tst_options.moc"

#include "shell/background_work.h"
#include "shell/file_choice.h"
#include "shell/ui/gui_prompter.h"
#include "shell/ui/modal.h"
#include "support/gui.h"

Q_DECLARE_METATYPE(Prompter::Buttons)
Q_DECLARE_METATYPE(Prompter::Reply)

// The real dialogs behind the prompter: what Enter and Esc choose, what the idle watch leaves, where files go.
class TestGuiPrompter : public QObject {
    Q_OBJECT

    GuiPrompter m_prompter;

private Q_SLOTS:
    void keysTakeTheChoiceThatChangesNothing_data() {
        QTest::addColumn<Prompter::Buttons>("buttons");
        QTest::addColumn<Prompter::Reply>("safe");
        QTest::newRow("notice") << Prompter::Buttons::Ok << Prompter::Reply::Ok;
        QTest::newRow("destructive command") << Prompter::Buttons::OkCancel << Prompter::Reply::Cancel;
        QTest::newRow("deletion") << Prompter::Buttons::YesNo << Prompter::Reply::No;
        QTest::newRow("withdrawal") << Prompter::Buttons::YesNoSafeYes << Prompter::Reply::Yes;
        QTest::newRow("wrong passphrase") << Prompter::Buttons::RetryCancel << Prompter::Reply::Cancel;
    }

    void keysTakeTheChoiceThatChangesNothing() {
        QFETCH(Prompter::Buttons, buttons);
        QFETCH(Prompter::Reply, safe);
        for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Escape}) {
            WhenModal<QMessageBox>([key](QMessageBox* box) { QTest::keyClick(box, key); });
            QCOMPARE(m_prompter.message(0, QStringLiteral("Delete it?"), buttons, Prompter::Icon::Warning), safe);
        }
        // The idle watch closing the box counts the same, and what it does next comes once the box is gone.
        bool acted = false;
        WhenModal<QMessageBox>([&acted](QMessageBox*) { modal::CloseAll([&acted] { acted = true; }); });
        QCOMPARE(m_prompter.message(0, QStringLiteral("Delete it?"), buttons, Prompter::Icon::Warning), safe);
        QVERIFY(!acted);
        QTRY_VERIFY(acted);
    }

    void newFileNamesTheFileThatWouldGo() {
        const QString folder = file_choice::DefaultFolder();
        QVERIFY(QDir().mkpath(folder));
        const QString existing = QDir(folder).filePath(QStringLiteral("mydata.nct"));
        QVERIFY(WriteFile(existing, "kept"));
        bool asked = false;
        WhenModal<QFileDialog>([&asked, folder](QFileDialog* dialog) {
            // It starts where the program keeps its files, not in whatever folder the program was started from.
            QCOMPARE(QDir(dialog->directory()).canonicalPath(), QDir(folder).canonicalPath());
            WhenModal<QMessageBox>([&asked](QMessageBox* box) {
                asked = box->text().contains(QLatin1String("mydata.nct"));
                box->button(QMessageBox::No)->click();
            });
            dialog->findChild<QLineEdit*>(QStringLiteral("fileNameEdit"))->setText(QStringLiteral("mydata"));
            static_cast<QDialog*>(dialog)->accept();
            // Refusing to replace keeps the dialog open; it is left by Cancel.
            QVERIFY(dialog->isVisible());
            static_cast<QDialog*>(dialog)->reject();
        });
        QVERIFY(
            m_prompter.chooseNewFile(QStringLiteral("New"), QStringLiteral("Marrowline NCT-files (*.nct)")).isEmpty());
        QVERIFY(asked);
        QCOMPARE(FileBytes(existing), QByteArray("kept"));
    }

    void busyWindowStepsAsideForAQuestion() {
        bool hiddenWhileAsked = false;
        WhenModal<QFileDialog>([&hiddenWhileAsked](QFileDialog* dialog) {
            const QWidget* busy = nullptr;
            for (QWidget* window : QApplication::topLevelWidgets()) {
                busy = window->objectName() == QLatin1String("dlgBusy") ? window : busy;
            }
            hiddenWhileAsked = busy != nullptr && !busy->isVisible();
            static_cast<QDialog*>(dialog)->reject();
        });
        RunBusy(m_prompter, QStringLiteral("Working..."), [](Prompter& asker) {
            // Long enough for the busy window to be due before the question comes.
            QThread::msleep(500);
            asker.chooseFolder(QStringLiteral("Where to?"), QDir::tempPath());
        });
        QVERIFY(hiddenWhileAsked);
    }
};

NCT_GUI_TEST_MAIN(TestGuiPrompter)
#include "tst_gui_prompter.moc"

#pragma once

// The one environment every test program runs in. Before the application object exists, a temporary folder of
// the program's own takes in home (and with it the documents folder first runs fill), the settings store, the
// configuration and the runtime folders, so that neither the tests nor the command-line programs they start ever
// reach those of whoever runs them; and the locale is pinned, as amounts and dates are written in it.

#include "support/files.h"
#include "support/test_databases.h"

#include <QtTest>

#include <memory>

namespace test_env {

inline QTemporaryDir& Folder() {
    static QTemporaryDir folder;
    return folder;
}

// A path in the program's temporary folder.
inline QString Path(const QString& name) {
    return Folder().filePath(name);
}

inline bool Prepare() {
    if (!Folder().isValid()) {
        return false;
    }
    for (const auto& [variable, folder] :
         {std::pair{"HOME", "home"}, {"XDG_CONFIG_HOME", "config"}, {"XDG_RUNTIME_DIR", "runtime"}}) {
        const QString path = Path(QLatin1String(folder));
        if (!QDir().mkpath(path) ||
            !QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner)) {
            return false;
        }
        qputenv(variable, QFile::encodeName(path));
    }
    RedirectSettings(Path(QStringLiteral("config")));
    QStandardPaths::setTestModeEnabled(true);
    QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
    return true;
}

// Empties the settings store, so that a test finds no last file, user or folder another test left there.
inline void ForgetSettings() {
    QSettings(QStringLiteral("Marrowline"), QStringLiteral("Noctaria")).clear();
}

} // namespace test_env

// A test whose functions work on a file of their own, made by newFile() in init() (or once in initTestCase()), open
// in a session whose dialogs are answered by the script.
class FileTest : public QObject {
protected:
    std::unique_ptr<QTemporaryDir> m_dir;
    QString m_path;
    std::unique_ptr<TestSession> m_run;

    Store& store() { return m_run->store(); }
    ScriptedPrompter& prompter() { return m_run->prompter; }

    bool newFile(const QString& passphrase, FrameLink* frame = nullptr) {
        m_run.reset();
        m_dir = std::make_unique<QTemporaryDir>();
        m_path = m_dir->filePath(QStringLiteral("test.nct"));
        m_run = std::make_unique<TestSession>(frame);
        return CreateDatabase(*m_run, m_path, passphrase) == 0;
    }
    // Leaves the file as a crash would and opens it in a new session: only what reached the file is seen there.
    bool reopen(const QString& passphrase, FrameLink* frame = nullptr) {
        DropDatabase(m_run->session);
        m_run = std::make_unique<TestSession>(frame);
        return OpenDatabase(*m_run, m_path, passphrase) == 0;
    }
};

#define NCT_TEST_MAIN_WITH(Application, TestObject)                                                                    \
    int main(int argc, char* argv[]) {                                                                                 \
        if (!test_env::Prepare()) {                                                                                    \
            qFatal("the test environment cannot be made");                                                             \
        }                                                                                                              \
        Application app(argc, argv);                                                                                   \
        app.setAttribute(Qt::AA_Use96Dpi, true);                                                                       \
        TestObject test;                                                                                               \
        QTEST_SET_MAIN_SOURCE_PATH                                                                                     \
        return QTest::qExec(&test, argc, argv);                                                                        \
    }

#define NCT_TEST_MAIN(TestObject) NCT_TEST_MAIN_WITH(QCoreApplication, TestObject)

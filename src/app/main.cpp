#include "program_version.h"
#include "shell/process_guard.h"
#include "shell/ui/frm_mdi.h"

#include <QApplication>
#include <QMessageBox>

int main(int argc, char* argv[]) {
    const QStringList failures = process_guard::PrepareProcess();
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Noctaria"));
    QApplication::setOrganizationName(QStringLiteral("Marrowline"));
    QApplication::setApplicationVersion(
        QStringLiteral("%1.%2.%3").arg(nct::kVersionMajor).arg(nct::kVersionMinor).arg(nct::kVersionRevision));
    if (!failures.isEmpty()) {
        QMessageBox::critical(nullptr, QStringLiteral("Noctaria"),
                              QStringLiteral("The cipher self-test failed (%1). Noctaria will not run with a faulty "
                                             "cipher library.")
                                  .arg(failures.join(QStringLiteral(", "))));
        return 70;
    }
    frmMDI frame;
    frame.show();
    return QApplication::exec();
}

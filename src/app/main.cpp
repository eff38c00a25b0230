#include "program_version.h"
#include "sections/all_sections.h"
#include "shell/process_guard.h"
#include "shell/session.h"
#include "shell/ui/frm_mdi.h"
#include "shell/ui/gui_prompter.h"

#include <QApplication>
#include <QMessageBox>

#ifndef NCT_SECTION_LIST
#define NCT_SECTION_LIST "17"
#endif

int main(int argc, char* argv[]) {
    const QStringList failures = process_guard::PrepareProcess();
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Noctaria"));
    QApplication::setOrganizationName(QStringLiteral("Marrowline"));
    QApplication::setApplicationVersion(
        QStringLiteral("%1.%2.%3").arg(nct::kVersionMajor).arg(nct::kVersionMinor).arg(nct::kVersionRevision));
    QApplication::setWindowIcon(QIcon(QStringLiteral(":/icons/noctaria.svg")));
    if (!failures.isEmpty()) {
        QMessageBox::critical(nullptr, QStringLiteral("Noctaria"),
                              QStringLiteral("The cipher self-test failed (%1). Noctaria will not run with a faulty "
                                             "cipher library.")
                                  .arg(failures.join(QStringLiteral(", "))));
        return 70;
    }
    GuiPrompter prompter;
    Session session(prompter);
    frmMDI::Options options;
    options.sectionForms = AllSectionForms();
    options.sectionList = QStringLiteral(NCT_SECTION_LIST);
    frmMDI frame(session, prompter, options);
    session.setFrame(&frame);
    if (!frame.Load() || frame.isShutDown()) {
        return 0;
    }
    return QApplication::exec();
}

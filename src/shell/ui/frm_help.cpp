#include "shell/ui/frm_help.h"

#include <QPointer>
#include <QTextBrowser>
#include <QUrl>
#include <QVBoxLayout>

frmHelp::frmHelp(QWidget* parent)
    : QDialog(parent) {
    setObjectName(QStringLiteral("frmHelp"));
    setWindowTitle(QStringLiteral("Noctaria Help"));
    setAttribute(Qt::WA_DeleteOnClose);
    txtHelp = new QTextBrowser(this);
    txtHelp->setObjectName(QStringLiteral("txtHelp"));
    txtHelp->setOpenLinks(true);
    txtHelp->setOpenExternalLinks(false);
    txtHelp->setSource(QUrl(QStringLiteral("qrc:/help/noctaria.html")));
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(txtHelp);
    resize(620, 640);
}

void frmHelp::Show(QWidget* parent) {
    static QPointer<frmHelp> window;
    if (!window) {
        window = new frmHelp(parent);
    }
    window->show();
    window->raise();
    window->activateWindow();
}

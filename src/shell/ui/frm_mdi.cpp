#include "shell/ui/frm_mdi.h"

#include "store/db.h"

#include <QAction>
#include <QApplication>
#include <QLabel>
#include <QMenuBar>
#include <QVBoxLayout>

frmMDI::frmMDI(QWidget* parent)
    : QMainWindow(parent) {
    setObjectName(QStringLiteral("frmMDI"));
    setWindowTitle(QStringLiteral("Noctaria"));
    setMinimumSize(640, 480);

    auto* central = new QWidget(this);
    auto* layout = new QVBoxLayout(central);
    m_title = new QLabel(QStringLiteral("Noctaria"), central);
    m_title->setObjectName(QStringLiteral("lblProduct"));
    m_title->setAlignment(Qt::AlignCenter);
    QFont font = m_title->font();
    font.setPointSizeF(font.pointSizeF() * 2.5);
    font.setBold(true);
    m_title->setFont(font);
    auto* version = new QLabel(QStringLiteral("Version %1").arg(QApplication::applicationVersion()), central);
    version->setObjectName(QStringLiteral("lblVersion"));
    version->setAlignment(Qt::AlignCenter);
    layout->addStretch();
    layout->addWidget(m_title);
    layout->addWidget(version);
    layout->addStretch();
    setCentralWidget(central);

    QMenu* file = menuBar()->addMenu(QStringLiteral("&File"));
    file->setObjectName(QStringLiteral("mnuFile"));
    QAction* exit = file->addAction(QStringLiteral("E&xit"));
    exit->setObjectName(QStringLiteral("mnuFileExit"));
    connect(exit, &QAction::triggered, this, &QWidget::close);
}

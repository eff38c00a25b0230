#include "shell/ui/frm_mdi.h"

#include <QAction>
#include <QLabel>
#include <QtTest>

class TestFrmMdi : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void opensWithTheProductNameAndQuits();
};

void TestFrmMdi::opensWithTheProductNameAndQuits() {
    frmMDI frame;
    frame.show();
    QVERIFY(QTest::qWaitForWindowExposed(&frame));
    QCOMPARE(frame.windowTitle(), QStringLiteral("Noctaria"));
    auto* product = frame.findChild<QLabel*>(QStringLiteral("lblProduct"));
    QVERIFY(product != nullptr);
    QCOMPARE(product->text(), QStringLiteral("Noctaria"));
    auto* exit = frame.findChild<QAction*>(QStringLiteral("mnuFileExit"));
    QVERIFY(exit != nullptr);
    exit->trigger();
    QVERIFY(!frame.isVisible());
}

QTEST_MAIN(TestFrmMdi)
#include "tst_frm_mdi.moc"

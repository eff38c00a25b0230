#pragma once

#include <QDialog>

class QCheckBox;
class QLabel;

// The tip of the day.
class frmTip : public QDialog {
    Q_OBJECT
public:
    explicit frmTip(QWidget* parent = nullptr);

    // False when tips are switched off or there is no tip: the dialog is not to be shown.
    bool hasTip() const { return m_hasTip; }

private:
    bool drawTip();

    QLabel* lblTipSection = nullptr;
    QLabel* lblTipText = nullptr;
    QCheckBox* chkLoadTipsAtStartup = nullptr;
    bool m_hasTip = false;
};

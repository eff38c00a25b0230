#pragma once

#include <QMainWindow>

class QLabel;

// The main frame. For now it carries the product's name and the way out.
class frmMDI : public QMainWindow {
    Q_OBJECT
public:
    explicit frmMDI(QWidget* parent = nullptr);

private:
    QLabel* m_title = nullptr;
};

#pragma once

#include <QDialog>

// The choice when no usable file is at hand: a new database, an existing one, or leaving.
class frmMenuDB : public QDialog {
    Q_OBJECT
public:
    enum Choice { NewDB = 1, OldDB = 2 };

    explicit frmMenuDB(QWidget* parent = nullptr);
};

#pragma once

#include <QDialog>

class QTextBrowser;

// The program's help, in a window of its own beside the work: it holds no data, so it may stay open.
class frmHelp : public QDialog {
    Q_OBJECT
public:
    explicit frmHelp(QWidget* parent = nullptr);

    // Shows the one help window, making it when there is none yet.
    static void Show(QWidget* parent);

    QTextBrowser* txtHelp = nullptr;
};

#pragma once

#include <QWidget>

class QLabel;

// The start screen, and the background whenever no section shows: the version, the open file or
// "No database open", and a status line.
class frmSplash : public QWidget {
    Q_OBJECT
public:
    explicit frmSplash(const QString& edition, QWidget* parent = nullptr);

    void ShowStatus(const QString& text);
    // The open file's name and folder; the empty path for none.
    void ShowDatabase(const QString& path);

private:
    QLabel* lblFile = nullptr;
    QLabel* lblFolder = nullptr;
    QLabel* lblStatus = nullptr;
};

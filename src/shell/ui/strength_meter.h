#pragma once

#include <QWidget>

class QLabel;
class QLineEdit;
class QProgressBar;

// A live estimate of the text of a line edit: a bar of five steps and a line of words; nothing while it is empty.
// The text is read at each change and no copy of it is kept.
class StrengthMeter : public QWidget {
    Q_OBJECT
public:
    explicit StrengthMeter(QLineEdit* watched, QWidget* parent = nullptr);

private:
    void showEstimate(const QString& text);

    QProgressBar* pbrStrength = nullptr;
    QLabel* lblDescription = nullptr;
};

#pragma once

#include <QToolButton>
#include <QVBoxLayout>
#include <QWidget>

// A pair of arrow buttons that change a value shown elsewhere, for values that may only be stepped and
// never typed. The buttons are named "up" and "down"; holding one repeats it.
class UpDown : public QWidget {
public:
    explicit UpDown(QWidget* parent = nullptr)
        : QWidget(parent)
        , m_up(MakeButton(this, Qt::UpArrow, QStringLiteral("up")))
        , m_down(MakeButton(this, Qt::DownArrow, QStringLiteral("down"))) {
        auto* layout = new QVBoxLayout(this);
        layout->setContentsMargins(0, 0, 0, 0);
        layout->setSpacing(0);
        layout->addWidget(m_up);
        layout->addWidget(m_down);
        setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    }

    QToolButton* upButton() const { return m_up; }
    QToolButton* downButton() const { return m_down; }

private:
    static QToolButton* MakeButton(QWidget* parent, Qt::ArrowType arrow, const QString& name) {
        auto* button = new QToolButton(parent);
        button->setObjectName(name);
        button->setArrowType(arrow);
        button->setAutoRepeat(true);
        button->setFocusPolicy(Qt::NoFocus);
        button->setFixedSize(20, 13);
        return button;
    }

    QToolButton* m_up;
    QToolButton* m_down;
};

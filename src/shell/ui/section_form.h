#pragma once

#include <QAbstractButton>
#include <QAction>
#include <QIcon>
#include <QKeySequence>
#include <QList>
#include <QShortcut>
#include <QWidget>

#include <initializer_list>
#include <utility>

// What the frame asks of the form of the open section. The frame puts the form's commands into the section's
// menu and its buttons onto the command bar while the form is shown and takes them away with it, so no form ever
// reaches into the frame.
class SectionForm : public QWidget {
    Q_OBJECT
public:
    using QWidget::QWidget;

    // The commands of the section's menu, in order; a null entry stands for a separator.
    virtual QList<QAction*> menuActions() { return {}; }
    // The section's own buttons of the command bar, after the frame's.
    virtual QList<QAction*> toolActions() { return {}; }
    // Private records were hidden or shown while the section is open.
    virtual void privateSwitched() {}

Q_SIGNALS:
    // The commands of the section's menu are not the ones given before.
    void menuChanged();

protected:
    // Keys of the window for the form's buttons while it is open, wherever the focus is, and only while enabled.
    void buttonShortcuts(std::initializer_list<std::pair<QKeySequence, QAbstractButton*>> keys) {
        for (const auto& [sequence, target] : keys) {
            auto* shortcut = new QShortcut(sequence, this);
            connect(shortcut, &QShortcut::activated, target, [target = target] {
                if (target->isEnabled()) {
                    target->click();
                }
            });
        }
    }
    // A command bar button of this form, drawn with one of the program's images.
    QAction* toolAction(const char* name, const char* image, const QString& tip) {
        auto* a = new QAction(QIcon(QStringLiteral(":/icons/%1.svg").arg(QLatin1String(image))), tip, this);
        a->setObjectName(QLatin1String(name));
        a->setToolTip(tip);
        return a;
    }
};

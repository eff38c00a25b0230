#pragma once

#include <QAction>
#include <QList>
#include <QWidget>

// What the frame asks of the form of the open section. The frame puts the form's commands into the section's
// menu while the form is shown and takes them away with it, so no form ever reaches into the frame.
class SectionForm : public QWidget {
    Q_OBJECT
public:
    using QWidget::QWidget;

    // The commands of the section's menu, in order; a null entry stands for a separator.
    virtual QList<QAction*> menuActions() { return {}; }
    // Private records were hidden or shown while the section is open.
    virtual void privateSwitched() {}

Q_SIGNALS:
    // The commands of the section's menu are not the ones given before.
    void menuChanged();
};

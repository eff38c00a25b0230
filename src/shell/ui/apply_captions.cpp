#include "shell/ui/apply_captions.h"

#include "shell/catalogue/captions.h"

#include <QAbstractButton>
#include <QAction>
#include <QGroupBox>
#include <QLabel>
#include <QMenu>
#include <QTabWidget>
#include <QWidget>

namespace {

void SetCaption(QObject* target, int index, const QString& text) {
    if (auto* tabs = qobject_cast<QTabWidget*>(target); tabs != nullptr && index >= 0) {
        if (index < tabs->count()) {
            tabs->setTabText(index, text);
        }
    } else if (auto* menu = qobject_cast<QMenu*>(target)) {
        menu->setTitle(text);
    } else if (auto* action = qobject_cast<QAction*>(target)) {
        action->setText(text);
    } else if (auto* button = qobject_cast<QAbstractButton*>(target)) {
        button->setText(text);
    } else if (auto* label = qobject_cast<QLabel*>(target)) {
        label->setText(text);
    } else if (auto* group = qobject_cast<QGroupBox*>(target)) {
        group->setTitle(text);
    } else if (auto* widget = qobject_cast<QWidget*>(target)) {
        widget->setWindowTitle(text);
    }
}

void SetToolTip(QObject* target, const QString& text) {
    if (auto* action = qobject_cast<QAction*>(target)) {
        action->setToolTip(text);
    } else if (auto* widget = qobject_cast<QWidget*>(target)) {
        widget->setToolTip(text);
    }
}

} // namespace

void ApplyCaptions(QWidget* form) {
    for (const CaptionEntry& entry : CaptionsFor(form->objectName())) {
        const QString text = QString::fromUtf8(entry.text);
        QObject* target = form;
        if (entry.control != nullptr) {
            const QString name = QLatin1String(entry.control);
            target = form->findChild<QObject*>(name);
            // An array element carries its index in its name; a tab strip is one control with tabs.
            if (target == nullptr && entry.index >= 0) {
                target = form->findChild<QObject*>(ArrayElementName(entry.control, entry.index));
            }
        }
        if (target == nullptr) {
            continue;
        }
        const bool tabStrip = qobject_cast<QTabWidget*>(target) != nullptr;
        if (entry.property == CaptionProperty::ToolTipText) {
            SetToolTip(target, text);
        } else {
            SetCaption(target, tabStrip ? entry.index : -1, text);
        }
    }
}

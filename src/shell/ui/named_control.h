#pragma once

#include <QString>
#include <QWidget>

// A new control of `parent` under the name the captions and tests find it by.
template <typename T> T* Named(QWidget* parent, const QString& name) {
    auto* widget = new T(parent);
    widget->setObjectName(name);
    return widget;
}

#pragma once

#include <QAction>
#include <QDate>
#include <QHBoxLayout>
#include <QIcon>
#include <QKeySequence>
#include <QList>
#include <QPushButton>
#include <QShortcut>
#include <QWidget>

#include <cstdint>

// A record Find led to: the row to select and, where the section files it so, the budget or the day it lies in.
struct FoundRecord {
    int section = 0;
    std::int32_t key = 0;
    int budget = 0;
    QDate date;
};

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
    // Brings the record into view and selects it, as Find asks after entering the section. A record that can no
    // longer be shown leaves the section as it is.
    virtual void showFound(const FoundRecord& found) { Q_UNUSED(found); }
    // Whether the form prints a report of what it shows: the frame's Print and Export as PDF stand ready only
    // then, and call the two below.
    virtual bool hasReport() const { return false; }
    virtual void printReport() {}
    virtual void exportReportPdf() {}

Q_SIGNALS:
    // The commands of the section's menu are not the ones given before.
    void menuChanged();

protected:
    // The New, Edit and Delete buttons of a list of records, side by side in `row`; Ctrl+N, Ctrl+E and Ctrl+D
    // click them while the form is open, wherever the focus is, and only while enabled; and the command bar's
    // button for a new record (`newTip`) clicks New.
    struct RecordButtons {
        QPushButton* add;
        QPushButton* edit;
        QPushButton* remove;
        QAction* newTool;
        QHBoxLayout* row;
    };
    RecordButtons recordButtons(const QString& newTip) {
        const auto button = [this](const char* name, const QString& text, QKeyCombination keys) {
            auto* b = new QPushButton(text, this);
            b->setObjectName(QLatin1String(name));
            connect(new QShortcut(QKeySequence(keys), this), &QShortcut::activated, b, [b] {
                if (b->isEnabled()) {
                    b->click();
                }
            });
            return b;
        };
        RecordButtons buttons{button("cmdAdd", tr("New"), Qt::CTRL | Qt::Key_N),
                              button("cmdEdit", tr("Edit"), Qt::CTRL | Qt::Key_E),
                              button("cmdDelete", tr("Delete"), Qt::CTRL | Qt::Key_D),
                              toolAction("tbrNew", "kiNewRecord", newTip), new QHBoxLayout};
        connect(buttons.newTool, &QAction::triggered, buttons.add, &QPushButton::click);
        for (QPushButton* b : {buttons.add, buttons.edit, buttons.remove}) {
            buttons.row->addWidget(b);
        }
        return buttons;
    }
    // A command bar button of this form, drawn with one of the program's images.
    QAction* toolAction(const char* name, const char* image, const QString& tip) {
        auto* a = new QAction(QIcon(QStringLiteral(":/icons/%1.svg").arg(QLatin1String(image))), tip, this);
        a->setObjectName(QLatin1String(name));
        a->setToolTip(tip);
        return a;
    }
};

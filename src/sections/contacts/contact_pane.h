#pragma once

#include "sections/contacts/contact.h"

#include <QString>
#include <QStringList>
#include <QVector>

// What the pane beside the contact list shows of one contact: its name above, and the lines below with their
// headings, which the pane sets in bold.
namespace contacts {

struct PaneLine {
    QString heading; // a label with its colon, or a rule
    QString text;

    friend bool operator==(const PaneLine&, const PaneLine&) = default;
};

struct ContactPane {
    QString name;
    QVector<PaneLine> lines;

    // The pane's text: each line behind a line break, none doubled after a note that ends in one.
    QString text() const;
};

// The pane of `contact`. `userLabels` are the person's labels of the user fields (of which the pane shows the
// first four), `categoryList` the section's category list "name;id;name;id".
ContactPane ShowContactPane(const Contact& contact, const QStringList& userLabels, const QString& categoryList);

} // namespace contacts

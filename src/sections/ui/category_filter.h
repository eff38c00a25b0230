#pragma once

#include <QObject>

class QComboBox;
class QToolButton;
class QWidget;
class Session;
class Store;

// The category filter of a section's list: "All", "Unfiled" and the section's categories, the button that edits
// them, and the category in view remembered for the section while the file is open.
class CategoryFilter : public QObject {
    Q_OBJECT
public:
    CategoryFilter(Session& session, int section, QWidget* parent);

    // Fills the combo with the remembered category in view ("All" the first time).
    void restore();
    // Fills the combo anew and shows `select`, or "All" when it is gone.
    void fill(int select);
    // The category in view; categories::kAll for "All".
    int selected() const;
    // The category a new record is filed in: the one in view, "Unfiled" for "All".
    int forNewRecord() const;
    // Keeps the category in view for the next time the section opens.
    void remember();
    // The name the combo shows for category `number`, blanks around taken off; empty when it has none.
    QString nameOf(int number) const;

    QComboBox* const combo;
    QToolButton* const editButton;

Q_SIGNALS:
    // The person chose another category, or edited the categories.
    void changed();

private:
    void edit();

    Session& m_session;
    int m_section;
};

// The category of a record in its editor: "Unfiled" and the section's categories, and the button that edits them
// and files the record in the category made last.
class CategoryPicker : public QObject {
    Q_OBJECT
public:
    CategoryPicker(Store& store, int section, const QString& comboName, QWidget* parent);

    // Fills the combo anew and shows `select`, or "Unfiled" when it is gone.
    void fill(int select);
    int selected() const;

    QComboBox* const combo;
    QToolButton* const editButton;

private:
    void edit();

    Store& m_store;
    int m_section;
};

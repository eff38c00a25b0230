#pragma once

#include <QList>
#include <QString>

// The sections a build offers: "0" for all, or section numbers separated by blanks. The product's build is "17".
class SectionList {
public:
    explicit SectionList(QString text);

    const QString& text() const { return m_text; }
    bool all() const { return m_text.trimmed() == QLatin1String("0"); }
    // A list shorter than three characters holds exactly one section, and the section bar falls away.
    bool single() const;
    bool contains(int section) const;
    // The sections offered, in the order of the section bar.
    QList<int> sections() const;
    // The first section of the list, where the program starts when the list is not "0".
    int first() const;
    // The product's edition: the names of the listed sections, for the start screen.
    QString editionTitle() const;

private:
    QString m_text;
    QList<int> m_numbers;
};

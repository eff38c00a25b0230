#include "shell/section_list.h"

#include "shell/section_table.h"

#include <QStringList>

SectionList::SectionList(QString text)
    : m_text(std::move(text)) {
    for (const QString& token : m_text.split(u' ', Qt::SkipEmptyParts)) {
        bool ok = false;
        const int n = token.toInt(&ok);
        if (ok) {
            m_numbers.append(n);
        }
    }
}

// "0" is short too, but it offers every section.
bool SectionList::single() const {
    return !all() && m_text.trimmed().size() < 3;
}

bool SectionList::contains(int section) const {
    return all() ? sections::Find(section) != nullptr : m_numbers.contains(section);
}

QList<int> SectionList::sections() const {
    QList<int> result;
    for (const SectionInfo& info : sections::Table()) {
        if (contains(sections::Number(info.id))) {
            result.append(sections::Number(info.id));
        }
    }
    return result;
}

int SectionList::first() const {
    return m_numbers.isEmpty() ? 0 : m_numbers.first();
}

QString SectionList::editionTitle() const {
    QString title;
    for (const int n : m_numbers) {
        const QString name = sections::Name(n);
        if (!name.isEmpty()) {
            title += u' ' + name;
        }
    }
    return title;
}

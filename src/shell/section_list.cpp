#include "shell/section_list.h"

#include "base/messages.h"

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

QList<int> SectionList::BarOrder() {
    return {12, 15, 11, 14, 13, 16, 17};
}

// "0" is short too, but it offers every section.
bool SectionList::single() const {
    return !all() && m_text.trimmed().size() < 3;
}

bool SectionList::contains(int section) const {
    return all() ? BarOrder().contains(section) : m_numbers.contains(section);
}

QList<int> SectionList::sections() const {
    QList<int> result;
    for (const int section : BarOrder()) {
        if (contains(section)) {
            result.append(section);
        }
    }
    return result;
}

int SectionList::first() const {
    return m_numbers.isEmpty() ? 0 : m_numbers.first();
}

QString SectionList::Name(int section) {
    switch (section) {
    case 11:
        return MsgText(383);
    case 12:
        return MsgText(113);
    case 13:
        return MsgText(114);
    case 14:
        return MsgText(115);
    case 15:
        return MsgText(116);
    case 16:
        return MsgText(117);
    case 17:
        return MsgText(121);
    default:
        return {};
    }
}

QString SectionList::editionTitle() const {
    QString title;
    for (const int n : m_numbers) {
        const QString name = Name(n);
        if (!name.isEmpty()) {
            title += u' ' + name;
        }
    }
    return title;
}

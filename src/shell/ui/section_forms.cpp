#include "shell/ui/section_forms.h"

#include <QLabel>
#include <QVBoxLayout>

#include <algorithm>

void SectionForms::add(SectionId id, Factory factory) {
    m_factories[sections::Number(id)] = std::move(factory);
}

void SectionForms::addCommand(SectionId id, const QString& action, Command command) {
    m_commands[action] = {sections::Number(id), std::move(command)};
}

int SectionForms::commandSection(const QString& action) const {
    const auto it = m_commands.find(action);
    return it != m_commands.end() ? it->second.section : 0;
}

bool SectionForms::runCommand(const QString& action, Session& session, QWidget* parent) const {
    const auto it = m_commands.find(action);
    if (it == m_commands.end()) {
        return false;
    }
    // A copy runs: the command's dialog may outlast whatever happens to the table meanwhile.
    const Command command = it->second.command;
    command(session, parent);
    return true;
}

void SectionForms::setFind(QList<int> searched, FindDialog dialog) {
    m_searched = std::move(searched);
    m_find = std::move(dialog);
}

bool SectionForms::findsIn(const SectionList& sections) const {
    return m_find && std::any_of(m_searched.begin(), m_searched.end(),
                                 [&sections](int section) { return sections.contains(section); });
}

std::optional<FoundRecord> SectionForms::runFind(Session& session, const SectionList& sections, QWidget* parent) const {
    if (!findsIn(sections)) {
        return std::nullopt;
    }
    return m_find(session, sections, parent);
}

void SectionForms::addFound(SectionId id, FoundHandler handler) {
    m_found[sections::Number(id)] = std::move(handler);
}

bool SectionForms::runFound(Session& session, QWidget* parent, const FoundRecord& found) const {
    const auto it = m_found.find(found.section);
    if (it == m_found.end()) {
        return false;
    }
    it->second(session, parent, found);
    return true;
}

QWidget* SectionForms::create(int section, Session& session, QWidget* parent) const {
    if (const auto it = m_factories.find(section); it != m_factories.end()) {
        return it->second(session, parent);
    }
    auto* form = new QWidget(parent);
    const SectionInfo* info = sections::Find(section);
    form->setObjectName(info != nullptr ? QLatin1String(info->formName) : QLatin1String());
    form->setWindowTitle(sections::Name(section));
    auto* layout = new QVBoxLayout(form);
    auto* title = new QLabel(sections::Name(section), form);
    title->setObjectName(QStringLiteral("lblSection"));
    title->setAlignment(Qt::AlignCenter);
    QFont font = title->font();
    font.setPointSizeF(font.pointSizeF() * 2);
    font.setBold(true);
    title->setFont(font);
    layout->addWidget(title);
    return form;
}

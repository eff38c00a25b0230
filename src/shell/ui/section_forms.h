#pragma once

#include "shell/section_list.h"
#include "shell/section_table.h"
#include "shell/session.h"
#include "shell/ui/section_form.h"

#include <QList>
#include <QString>

#include <functional>
#include <map>
#include <optional>

// The forms the sections of a build register with the frame. The shell knows no section's form class.
class SectionForms {
public:
    using Factory = std::function<SectionForm*(Session& session, QWidget* parent)>;
    // A command of the frame's bars that a section carries out; `parent` is the section's form.
    using Command = std::function<void(Session& session, QWidget* parent)>;

    void add(SectionId id, Factory factory);
    // The section's form, built anew on every entry. A section with no form of its own shows an empty form with
    // its name.
    QWidget* create(int section, Session& session, QWidget* parent) const;

    // Binds the frame's action of that object name to the section `id`.
    void addCommand(SectionId id, const QString& action, Command command);
    // The section that carries out the action, 0 for none.
    int commandSection(const QString& action) const;
    // Carries out the action; false when no section took it.
    bool runCommand(const QString& action, Session& session, QWidget* parent) const;

    // Find over the records of the sections in `searched`: the dialog, run under `parent`, gives the record chosen.
    using FindDialog =
        std::function<std::optional<FoundRecord>(Session& session, const SectionList& sections, QWidget* parent)>;
    void setFind(QList<int> searched, FindDialog dialog);
    // Whether Find searches any section of `sections`.
    bool findsIn(const SectionList& sections) const;
    // Runs Find; nothing when it has no section of `sections` or nothing was chosen.
    std::optional<FoundRecord> runFind(Session& session, const SectionList& sections, QWidget* parent) const;

    // What shows a found record of a section without a form of its own; `parent` is the form shown in its place.
    using FoundHandler = std::function<void(Session& session, QWidget* parent, const FoundRecord& found)>;
    void addFound(SectionId id, FoundHandler handler);
    // Shows the record through the section's handler; false when the section has none.
    bool runFound(Session& session, QWidget* parent, const FoundRecord& found) const;

private:
    struct SectionCommand {
        int section = 0;
        Command command;
    };
    std::map<int, Factory> m_factories;
    std::map<QString, SectionCommand> m_commands;
    QList<int> m_searched;
    FindDialog m_find;
    std::map<int, FoundHandler> m_found;
};

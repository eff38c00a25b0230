#pragma once

#include "shell/section_table.h"
#include "shell/session.h"
#include "shell/ui/section_form.h"

#include <functional>
#include <map>

// The forms the sections of a build register with the frame. The shell knows no section's form class.
class SectionForms {
public:
    using Factory = std::function<SectionForm*(Session& session, QWidget* parent)>;

    void add(SectionId id, Factory factory);
    // The section's form, built anew on every entry. A section with no form of its own shows an empty form with
    // its name.
    QWidget* create(int section, Session& session, QWidget* parent) const;

private:
    std::map<int, Factory> m_factories;
};

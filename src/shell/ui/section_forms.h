#pragma once

#include "shell/session.h"

#include <QWidget>

#include <functional>

// The form of a section, built anew on every entry. Sections whose forms are not built yet show an empty form
// with the section's name.
using SectionFormFactory = std::function<QWidget*(int section, Session& session, QWidget* parent)>;

// The form class name of a section, as the frame names its child: frmAddress, frmCalendar, ...
QString SectionFormName(int section);

// The factory of this build.
SectionFormFactory DefaultSectionForms();

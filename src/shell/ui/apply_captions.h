#pragma once

class QWidget;

// Writes the caption catalogue's texts into a form's controls, found by object name. An entry for a control the
// form does not have does nothing, so one table serves every build.
void ApplyCaptions(QWidget* form);

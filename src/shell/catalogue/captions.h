#pragma once

#include <QString>

#include <span>

// The caption catalogue: the texts each form's controls take when the form loads, one table a form.
// Control arrays are addressed by name and index; their widgets are named "<name>_<index>". Tab strips and tool
// bars take the index of the tab or the key of the button in `index`/`control` as their tables say.
enum class CaptionProperty { Caption, ToolTipText };

struct CaptionEntry {
    const char* control; // nullptr: the form's own title
    int index;           // -1: not an array; else the element, or the tab of a tab strip
    CaptionProperty property;
    const char* text;
};

// The entries of a form, by its name; empty for a form without entries.
std::span<const CaptionEntry> CaptionsFor(const QString& form);

// The object name of an element of a control array.
QString ArrayElementName(const char* control, int index);

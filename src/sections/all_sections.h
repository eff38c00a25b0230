#pragma once

#include "shell/ui/section_forms.h"

// The forms of every section this program has, for the frame.
SectionForms AllSectionForms();

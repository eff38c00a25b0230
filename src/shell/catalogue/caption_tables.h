#pragma once

#include "shell/catalogue/captions.h"

// The caption tables of the forms, one array a form.
namespace captions {
extern const std::span<const CaptionEntry> kMDI;
} // namespace captions

#pragma once

#include "base/result.h"
#include "store/prompter.h"

// Tells the person why an operation failed; success and a fatal end (already reported) say nothing.
inline void ShowResult(Prompter& prompter, const Result& result) {
    if (!result.ok() && result.kind() != Result::Kind::Fatal) {
        prompter.message(result.kind() == Result::Kind::Message ? result.number() : 0, result.text(),
                         Prompter::Buttons::Ok, Prompter::Icon::Warning);
    }
}

#include "shell/session.h"

Session::Session(Prompter& prompter, RandomSource& random, FrameLink* frame)
    : prompter(prompter)
    , random(random)
    , frame(frame != nullptr ? *frame : m_quiet)
    , m_store(makeStore()) {}

std::unique_ptr<Store> Session::makeStore() const {
    return std::make_unique<Store>(prompter, random);
}

#include "shell/session.h"

Session::Session(Prompter& prompter, RandomSource& random, FrameLink* frame)
    : prompter(prompter)
    , random(random)
    , frame(m_relay)
    , m_store(makeStore()) {
    m_relay.setTarget(frame);
}

std::unique_ptr<Store> Session::makeStore() const {
    return std::make_unique<Store>(prompter, random);
}

#pragma once

#include "shell/frame_link.h"
#include "store/store.h"

#include <memory>

// The program-wide values of one run: the open database, the chosen path, the passphrase attempt counter and
// the switches of the shell. main() makes one; tests make as many as they like.
class Session {
    FrameRelay m_relay;

public:
    explicit Session(Prompter& prompter, RandomSource& random = StrongRandom(), FrameLink* frame = nullptr);

    Store& store() { return *m_store; }
    // A store for a file about to be opened, with this session's prompter and randomness.
    std::unique_ptr<Store> makeStore() const;
    // Puts a freshly opened store in place of the current one.
    void adopt(std::unique_ptr<Store> store) { m_store = std::move(store); }

    Prompter& prompter;
    RandomSource& random;
    FrameLink& frame;
    // The main frame, once it exists; until then calls to `frame` do nothing.
    void setFrame(FrameLink* target) { m_relay.setTarget(target); }

    QString DbPath;
    bool DbIsOpen = false;
    bool ShowPrivate = false;
    int OpenAttempts = 0;
    // The sections entered with their PIN (or without one being asked) since the file was opened; what a PIN
    // was given for lasts no longer than the login it was given in.
    std::uint32_t PinPassedMask = 0;
    bool CreatingDefault = false;
    // Whether an opened file becomes the machine's last file; the command line leaves the settings alone.
    bool rememberFiles = true;

private:
    std::unique_ptr<Store> m_store;
};

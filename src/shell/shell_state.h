#pragma once

#include "shell/session.h"

#include <QString>

#include <cstdint>
#include <functional>

// Asks the PIN of the user of the open file: 1 right, 2 wrong (message 125), 3 cancelled.
int CheckPIN(Session& session);

// The shell's logic around the open database: the idle watch, the private switch and the gate of a section
// entry. The frame shows what this decides; nothing here touches a widget.
class ShellState {
public:
    using Clock = std::function<std::int64_t()>; // milliseconds

    enum class IdleAction { None, HidePrivate, AutoBlock, Exit };
    struct IdleTick {
        QString countdown; // the panel's new text; empty when the panel keeps its text
        IdleAction action = IdleAction::None;
    };

    ShellState(Session& session, Clock clock);

    Session& session;
    int CurrentSection = 0;
    bool IdleFrozen = false;
    bool AutoBlocked = false;

    // Any input in the program's windows.
    void activity() { m_stamp = m_clock(); }
    // Milliseconds since the last activity; 0 while frozen.
    std::int32_t IdleMilliseconds();

    // The watch's once-a-second tick with the user's idle period and action. The frame carries out the action
    // the result names, once it has closed whatever dialog was open. Hiding is asked for only while private
    // records show.
    IdleTick timeoutTick();
    // The idle watch's hiding: the private switch falls, the views follow, then message 190.
    void hidePrivateAfterIdle();
    // After an auto-block the frame has gone to the start screen: the watch stays frozen until an entry.
    void blocked();

    // The Show/Hide Private Records command: hiding needs nothing, showing needs the passphrase.
    void switchPrivate();
    // Applies the private switch to the store's readers and the idle watch, and lets the frame refresh.
    void hideShow();

    // The gate of entering section n: the passphrase after an auto-block, the PIN of sections 11 to 16 (once a
    // session or at every access), the Diary refused while private records are hidden. Returns the section to
    // show (0 for the start screen), or -1 when the entry stops with everything as it was.
    int enterSection(int n);

    // Asks the PIN: 1 right, 2 wrong (message 125), 3 cancelled.
    int CheckPIN();

private:
    Clock m_clock;
    std::int64_t m_stamp;
};

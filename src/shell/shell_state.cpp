#include "shell/shell_state.h"

#include "base/messages.h"
#include "shell/section_table.h"
#include "store/keys.h"

#include <limits>

ShellState::ShellState(Session& session, Clock clock)
    : session(session)
    , m_clock(std::move(clock))
    , m_stamp(m_clock()) {}

std::int32_t ShellState::IdleMilliseconds() {
    const std::int64_t now = m_clock();
    if (IdleFrozen) {
        m_stamp = now;
    }
    const std::int64_t idle = now - m_stamp;
    // Past the 32-bit range the idle time stays at its largest value rather than turning negative.
    return idle > std::numeric_limits<std::int32_t>::max() ? std::numeric_limits<std::int32_t>::max()
                                                           : static_cast<std::int32_t>(std::max<std::int64_t>(idle, 0));
}

ShellState::IdleTick ShellState::timeoutTick() {
    IdleTick tick;
    if (!session.DbIsOpen) {
        return tick;
    }
    const Preferences& p = session.store().preferences;
    if (p.IdleMinutes <= 0) {
        return tick;
    }
    const std::int64_t period = static_cast<std::int64_t>(p.IdleMinutes) * 60;
    const std::int64_t remaining = std::max<std::int64_t>(period - IdleMilliseconds() / 1000, 0);
    tick.countdown = QStringLiteral("%1:%2")
                         .arg(remaining / 60, 2, 10, QLatin1Char('0'))
                         .arg(remaining % 60, 2, 10, QLatin1Char('0'));
    if (IdleMilliseconds() < period * 1000) {
        return tick;
    }
    switch (p.IdleAction) {
    case 0:
        IdleFrozen = true;
        if (session.ShowPrivate) {
            tick.action = IdleAction::HidePrivate;
        }
        break;
    case 1:
        IdleFrozen = true;
        tick.action = IdleAction::AutoBlock;
        break;
    case 2:
        tick.action = IdleAction::Exit;
        break;
    default:
        break;
    }
    return tick;
}

void ShellState::hidePrivateAfterIdle() {
    // The screen is made safe before the box waits for anyone.
    session.ShowPrivate = false;
    hideShow();
    IdleFrozen = true;
    session.prompter.message(190, MsgText(190));
}

void ShellState::blocked() {
    IdleFrozen = true;
    AutoBlocked = true;
}

void ShellState::hideShow() {
    session.store().hidePrivate = !session.ShowPrivate;
    session.frame.RefreshPrivateViews();
    IdleFrozen = session.store().preferences.IdleAction != 0 ? false : !session.ShowPrivate;
}

void ShellState::switchPrivate() {
    if (session.ShowPrivate) {
        session.ShowPrivate = false;
    } else if (session.DbIsOpen && keys::ConfirmPassphrase(session.store(), false)) {
        session.ShowPrivate = true;
    }
    hideShow();
}

int ShellState::CheckPIN() {
    return ::CheckPIN(session);
}

int CheckPIN(Session& session) {
    Prompter::PassphraseReply reply = session.prompter.passphrase({.prompt = MsgText(126), .checkLength = false});
    if (reply.cancelled) {
        return 3;
    }
    const bool right = reply.text == session.store().user.options.PinCode;
    CRY::WipeText(reply.text);
    if (!right) {
        session.prompter.message(125, MsgText(125), Prompter::Buttons::Ok, Prompter::Icon::Warning);
        return 2;
    }
    return 1;
}

int ShellState::enterSection(int n) {
    if (AutoBlocked && !session.DbIsOpen) {
        // The block ends with the file it guarded; the next file asks its own passphrase.
        AutoBlocked = false;
        IdleFrozen = false;
    }
    if (AutoBlocked) {
        if (!keys::ConfirmPassphrase(session.store(), false)) {
            return -1;
        }
        AutoBlocked = false;
        IdleFrozen = false;
    }
    const SectionInfo* gate = sections::Find(n);
    if (gate != nullptr && gate->pinBit >= 0) {
        const UserOptions& options = session.store().user.options;
        const std::uint32_t bit = 1u << gate->pinBit;
        if ((static_cast<std::uint32_t>(options.PinMask) & bit) != 0 &&
            (options.PinEveryAccess || (session.PinPassedMask & bit) == 0)) {
            if (CheckPIN() > 1) {
                n = 0;
            }
        }
        if (n > 0) {
            session.PinPassedMask |= bit;
        }
    }
    if (n == sections::Number(SectionId::Diary) && !session.ShowPrivate) {
        // The Diary is private as a whole.
        if (session.store().user.level == 0) {
            session.prompter.message(143, MsgText(143), Prompter::Buttons::Ok, Prompter::Icon::Information);
        }
        n = 0;
    }
    CurrentSection = n;
    return n;
}

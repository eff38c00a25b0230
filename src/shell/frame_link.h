#pragma once

#include <QString>

// What logic may ask of the main frame. The frame implements it; tests and the command line use the quiet one.
class FrameLink {
public:
    virtual ~FrameLink() = default;
    // Enables or disables the commands that need an open file.
    virtual void EnableDbCommands(bool enabled) = 0;
    // The open file's path on the start screen, or the empty text for none.
    virtual void ShowDatabase(const QString& path) = 0;
    // Closes the section on show and returns to the start screen.
    virtual void CloseSections() = 0;
    // The private switch changed: the views and the idle watch follow it.
    virtual void HideShow() = 0;
    // Brings the frame's commands and the open section's lists in line with the private switch.
    virtual void RefreshPrivateViews() = 0;
    // A line for the status bar; with `onlyIfHelp` only while the help asks for such lines.
    virtual void ShowStatusComment(const QString& text, bool onlyIfHelp = false) {
        Q_UNUSED(text);
        Q_UNUSED(onlyIfHelp);
    }
};

// Passes every call on to the frame once there is one; before that, and without a frame at all (tests, the
// command line), the calls do nothing.
class FrameRelay final : public FrameLink {
public:
    void setTarget(FrameLink* target) { m_target = target; }
    void EnableDbCommands(bool enabled) override {
        if (m_target != nullptr) {
            m_target->EnableDbCommands(enabled);
        }
    }
    void ShowDatabase(const QString& path) override {
        if (m_target != nullptr) {
            m_target->ShowDatabase(path);
        }
    }
    void CloseSections() override {
        if (m_target != nullptr) {
            m_target->CloseSections();
        }
    }
    void HideShow() override {
        if (m_target != nullptr) {
            m_target->HideShow();
        }
    }
    void RefreshPrivateViews() override {
        if (m_target != nullptr) {
            m_target->RefreshPrivateViews();
        }
    }
    void ShowStatusComment(const QString& text, bool onlyIfHelp = false) override {
        if (m_target != nullptr) {
            m_target->ShowStatusComment(text, onlyIfHelp);
        }
    }

private:
    FrameLink* m_target = nullptr;
};

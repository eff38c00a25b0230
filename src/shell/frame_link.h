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
    // Brings every view in line with the private switch after it changed.
    virtual void HideShow() = 0;
};

class QuietFrame final : public FrameLink {
public:
    void EnableDbCommands(bool) override {}
    void ShowDatabase(const QString&) override {}
    void CloseSections() override {}
    void HideShow() override {}
};

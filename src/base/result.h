#pragma once

#include "base/messages.h"

#include <QString>

// What a piece of logic reports back: it worked, the engine failed with its error number, a catalogue message
// stands for what went wrong, or the program must end (the person has been told). Logic reports; forms show.
class Result {
public:
    enum class Kind { Ok, Engine, Message, Fatal };

    Result() = default;
    static Result Engine(int number) { return number == 0 ? Result() : Result(Kind::Engine, number); }
    static Result Message(int number) { return Result(Kind::Message, number); }
    static Result Fatal() { return Result(Kind::Fatal, 0); }

    bool ok() const { return m_kind == Kind::Ok; }
    Kind kind() const { return m_kind; }
    // The engine's error number or the catalogue message's number; 0 on success and for a fatal end.
    int number() const { return m_number; }
    // The words for the person: the catalogue's text, or the engine's number.
    QString text() const {
        switch (m_kind) {
        case Kind::Message:
            return MsgText(m_number);
        case Kind::Engine:
            return QStringLiteral("The database reported error %1.").arg(m_number);
        default:
            return {};
        }
    }

    friend bool operator==(const Result&, const Result&) = default;

private:
    Result(Kind kind, int number)
        : m_kind(kind)
        , m_number(number) {}

    Kind m_kind = Kind::Ok;
    int m_number = 0;
};

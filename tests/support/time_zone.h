#pragma once

// Runs a stretch of a test in another time zone, as the person's machine might be set.

#include <QByteArray>
#include <QtGlobal>

#include <ctime>

class ScopedTimeZone {
public:
    explicit ScopedTimeZone(const char* zone)
        : m_old(qgetenv("TZ"))
        , m_had(qEnvironmentVariableIsSet("TZ")) {
        qputenv("TZ", zone);
        ::tzset();
    }
    ~ScopedTimeZone() {
        if (m_had) {
            qputenv("TZ", m_old);
        } else {
            qunsetenv("TZ");
        }
        ::tzset();
    }
    ScopedTimeZone(const ScopedTimeZone&) = delete;
    ScopedTimeZone& operator=(const ScopedTimeZone&) = delete;

private:
    QByteArray m_old;
    bool m_had;
};

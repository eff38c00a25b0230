#pragma once

#include <QString>
#include <QStringList>

// Runs the cases of a known-answer file (JSON, keyed by the operation) against the store's formats.
struct VectorReport {
    int passed = 0;
    int failed = 0;
    int skipped = 0; // cases of operations this build does not check
    QStringList failures;
    QString error; // the file could not be read at all
};

VectorReport CheckVectorFile(const QString& path);

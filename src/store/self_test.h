#pragma once

#include <QStringList>

// Known-answer checks of the cipher layer and the algorithms under it. The program refuses to run when one
// fails: a broken library would otherwise write records that nothing can read back.
struct SelfTestResult {
    int checks = 0;
    QStringList failures; // names of the checks that gave a wrong answer
};

SelfTestResult RunCipherSelfTests();

#include "shell/process_guard.h"

#include "store/self_test.h"

#include <sys/resource.h>
#ifdef __linux__
#include <sys/prctl.h>
#endif

namespace process_guard {

void DisableCoreDumps() {
    const rlimit none{0, 0};
    setrlimit(RLIMIT_CORE, &none);
#if defined(__linux__) && !defined(NCT_SANITIZE)
    // Not under the sanitizers: their leak checker must attach to the process to do its work.
    prctl(PR_SET_DUMPABLE, 0, 0, 0, 0);
#endif
}

QStringList PrepareProcess() {
    DisableCoreDumps();
    return RunCipherSelfTests().failures;
}

} // namespace process_guard

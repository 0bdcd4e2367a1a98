#include "dravo/BrokenPipeGuard.h"

#include <ctime>
#include <pthread.h>

namespace dravo {

namespace {

sigset_t BrokenPipeOnly() {
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGPIPE);
    return set;
}

bool IsPending() {
    sigset_t pending;
    sigemptyset(&pending);
    sigpending(&pending);
    return sigismember(&pending, SIGPIPE) == 1;
}

} // namespace

BrokenPipeGuard::BrokenPipeGuard() : m_was_pending(IsPending()) {
    const sigset_t set = BrokenPipeOnly();
    pthread_sigmask(SIG_BLOCK, &set, &m_before);
}

BrokenPipeGuard::~BrokenPipeGuard() {
    if (!m_was_pending && IsPending()) {
        const sigset_t set = BrokenPipeOnly();
        const timespec at_once{};
        sigtimedwait(&set, nullptr, &at_once);
    }
    pthread_sigmask(SIG_SETMASK, &m_before, nullptr);
}

} // namespace dravo

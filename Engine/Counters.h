#pragma once

#include <QtGlobal>

#include <cstdlib>

/// Adds `delta` to `counter`. An overflow is a programming fault: the program stops rather than let a
/// counter wrap.
inline void addChecked(qint64 &counter, qint64 delta = 1)
{
    if (__builtin_add_overflow(counter, delta, &counter)) {
        qCritical("Velloran: counter overflow");
        std::abort();
    }
}

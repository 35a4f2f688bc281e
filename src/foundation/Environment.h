#pragma once
#include <cstdint>
#include <memory>
#include <span>

#include "foundation/Date.h"

namespace qsml {

/// Wall and monotonic time. The host or a test may replace it.
class QSML_EXPORT Clock {
public:
    virtual ~Clock();
    virtual Date now() const = 0;
    /// Seconds since an arbitrary start; never runs backwards.
    virtual double monotonicSeconds() const = 0;

    static const Clock& shared();
    /// Null restores the system's clock. Not while another thread uses the library.
    static void setShared(std::shared_ptr<const Clock> clock);
};

/// Random bytes. The default asks the operating system.
class QSML_EXPORT RandomSource {
public:
    virtual ~RandomSource();
    /// Fills the span; thread-safe.
    virtual void fill(std::span<std::uint8_t> bytes) = 0;

    static RandomSource& shared();
    /// Null restores the system's source. Not while another thread uses the library.
    static void setShared(std::shared_ptr<RandomSource> source);
};

}  // namespace qsml

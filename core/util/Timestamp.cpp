#include "core/util/Timestamp.h"

#include <chrono>

namespace vantrel {

double referenceSecondsNow() {
    using namespace std::chrono;
    double unix = duration<double>(system_clock::now().time_since_epoch()).count();
    return unix - kUnixSecondsAtReferenceDate;
}

}  // namespace vantrel

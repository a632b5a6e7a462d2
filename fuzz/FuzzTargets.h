// The fuzz targets: each feeds arbitrary bytes to one reader of outside input and checks
// what must hold for any input. They are plain functions, so the libFuzzer programs and
// the regression test (which replays the seeds and every input that once failed) run the
// same code. A broken rule throws InvariantBroken; libFuzzer reports it as a crash.
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace vantrel::fuzz {

class InvariantBroken : public std::logic_error {
public:
    using std::logic_error::logic_error;
};

struct Target {
    const char* name;  // also the folder of its seeds and regressions below fuzz/
    void (*run)(std::string_view bytes);
};

// Every target, in a fixed order.
const std::vector<Target>& allTargets();
const Target* findTarget(std::string_view name);

// The checked-in project folders the analysis targets resolve imports against: set once
// before the first run (the programs take it from their build, the test from its own).
void setFixturesDir(std::string dir);

}  // namespace vantrel::fuzz

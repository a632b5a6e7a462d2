// The libFuzzer entry points of one target, chosen by VANTREL_FUZZ_TARGET at build time.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "fuzz/FuzzTargets.h"

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    vantrel::fuzz::setFixturesDir(VANTREL_FIXTURES_DIR);
    if (!vantrel::fuzz::findTarget(VANTREL_FUZZ_TARGET)) {
        std::fprintf(stderr, "no fuzz target named %s\n", VANTREL_FUZZ_TARGET);
        std::abort();
    }
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const vantrel::fuzz::Target* target = vantrel::fuzz::findTarget(VANTREL_FUZZ_TARGET);
    target->run(std::string_view(reinterpret_cast<const char*>(data), size));
    return 0;
}

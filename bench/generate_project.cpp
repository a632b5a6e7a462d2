// Writes the benchmark's synthetic project to a folder, for scripts that need a large,
// realistic project (scripts/crash-consistency.sh, manual profiling).
//
//   vantrel_generate_project DIR FILES [--mix ts|py|mixed] [--helper CALLERS]
// --helper adds a function called by CALLERS others in CALLERS / 3 files (the
// screenshots' symbol of a hundred callers and more).
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "bench/SyntheticProject.h"

int main(int argc, char** argv) {
    std::string mix = "mixed";
    int helperCallers = 0;
    bool usage = argc < 3 || argc % 2 == 0;
    for (int i = 3; !usage && i + 1 < argc; i += 2) {
        if (std::string(argv[i]) == "--mix") mix = argv[i + 1];
        else if (std::string(argv[i]) == "--helper") helperCallers = std::atoi(argv[i + 1]);
        else usage = true;
    }
    if (usage) {
        std::fprintf(stderr, "usage: %s DIR FILES [--mix ts|py|mixed] [--helper CALLERS]\n", argv[0]);
        return 2;
    }
    using vantrel::bench::Mix;
    auto project = vantrel::bench::generateSyntheticProject(argv[1], std::stoll(argv[2]),
                                                            mix == "ts"   ? Mix::typescript
                                                            : mix == "py" ? Mix::python
                                                                          : Mix::mixed);
    std::printf("%zu files, %llu bytes\n", project.relPaths.size(), static_cast<unsigned long long>(project.bytes));
    if (helperCallers > 0)
        std::printf(
            "%s\n",
            vantrel::bench::writeWidelyCalledHelper(argv[1], helperCallers, std::max(1, helperCallers / 3)).c_str());
    return 0;
}

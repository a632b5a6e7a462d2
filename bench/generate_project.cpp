// Writes the benchmark's synthetic project to a folder, for scripts that need a large,
// realistic project (scripts/crash-consistency.sh, manual profiling).
//
//   vantrel_generate_project DIR FILES [--mix ts|py|mixed]
#include <cstdio>
#include <string>

#include "bench/SyntheticProject.h"

int main(int argc, char** argv) {
    if (argc != 3 && !(argc == 5 && std::string(argv[3]) == "--mix")) {
        std::fprintf(stderr, "usage: %s DIR FILES [--mix ts|py|mixed]\n", argv[0]);
        return 2;
    }
    using vantrel::bench::Mix;
    std::string mix = argc == 5 ? argv[4] : "mixed";
    auto project = vantrel::bench::generateSyntheticProject(argv[1], std::stoll(argv[2]),
                                                            mix == "ts"   ? Mix::typescript
                                                            : mix == "py" ? Mix::python
                                                                          : Mix::mixed);
    std::printf("%zu files, %llu bytes\n", project.relPaths.size(), static_cast<unsigned long long>(project.bytes));
    return 0;
}

// Running programs: what a child prints on both streams arrives whole even when it is far
// more than a pipe holds, the exit status and a killing signal are told apart, and the
// working folder, environment and input reach the child.
#include "core/util/Subprocess.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>

#include "tests/support/TempDir.h"

namespace vantrel {
namespace {

SubprocessResult sh(const std::string& script, SubprocessRequest request = {}) {
    request.argv = {"/bin/sh", "-c", script};
    return runSubprocess(request);
}

TEST(Subprocess, BothStreamsArriveWholeWhenTheyOutgrowAPipe) {
    // A megabyte on each stream, written in turns: a reader that waited for one stream
    // to end before reading the other would hang here with the child blocked on a full pipe.
    auto result =
        sh("i=0; while [ $i -lt 64 ]; do head -c 8192 /dev/zero | tr '\\0' o; "
           "head -c 8192 /dev/zero | tr '\\0' e >&2; head -c 8192 /dev/zero | tr '\\0' o; "
           "head -c 8192 /dev/zero | tr '\\0' e >&2; i=$((i+1)); done");
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.out, std::string(1 << 20, 'o'));
    EXPECT_EQ(result.err, std::string(1 << 20, 'e'));
}

TEST(Subprocess, ExitCodesAndSignalsAreToldApart) {
    EXPECT_EQ(sh("exit 0").exitCode, 0);
    EXPECT_EQ(sh("exit 3").exitCode, 3);
    EXPECT_EQ(sh("kill -TERM $$").exitCode, 128 + 15);
    EXPECT_EQ(sh("kill -KILL $$").exitCode, 128 + 9);
}

TEST(Subprocess, AProgramThatCannotBeStartedIsAnErrorWithItsCause) {
    try {
        (void)runSubprocess({{"vantrel-no-such-program-anywhere"}, {}, {}, {}});
        FAIL() << "started";
    } catch (const SubprocessError& e) {
        EXPECT_EQ(e.error(), ENOENT);
        EXPECT_NE(std::string(e.what()).find("vantrel-no-such-program-anywhere"), std::string::npos);
    }
    testing::TempDir dir;
    dir.write("not-executable", "#!/bin/sh\necho ran\n");
    try {
        (void)runSubprocess({{dir / "not-executable"}, {}, {}, {}});
        FAIL() << "started";
    } catch (const SubprocessError& e) {
        EXPECT_EQ(e.error(), EACCES);
    }
}

TEST(Subprocess, WorkingFolderEnvironmentAndInputReachTheChild) {
    testing::TempDir dir;
    SubprocessRequest request;
    request.workingDirectory = dir.path();
    EXPECT_EQ(sh("pwd -P", request).out, dir.path() + "\n");

    ::setenv("VANTREL_SUBPROCESS_KEPT", "kept", 1);
    ::setenv("VANTREL_SUBPROCESS_REPLACED", "old", 1);
    request = {};
    request.environment = {{"VANTREL_SUBPROCESS_REPLACED", "new"}, {"VANTREL_SUBPROCESS_ADDED", "added"}};
    EXPECT_EQ(sh("echo $VANTREL_SUBPROCESS_KEPT $VANTREL_SUBPROCESS_REPLACED $VANTREL_SUBPROCESS_ADDED", request).out,
              "kept new added\n");

    // Without input the child reads an empty /dev/null rather than the caller's terminal.
    EXPECT_EQ(sh("cat; echo end").out, "end\n");
    // Input larger than a pipe holds, while the child answers on its output as it reads.
    request = {};
    request.input = std::string(300000, 'x') + "\n";
    EXPECT_EQ(sh("wc -c", request).out.find("300001") != std::string::npos, true);
    // A child that reads none of its input does not end the caller.
    request.input = std::string(1 << 20, 'y');
    EXPECT_EQ(sh("exit 5", request).exitCode, 5);
}

}  // namespace
}  // namespace vantrel

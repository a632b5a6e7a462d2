// Whole-file reads: a regular file is read to its last byte whatever its size, including
// around the read's own block size; files whose size the system does not know (proc
// files, pipes) are read to their end; a folder is an error with the system's message.
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <fstream>
#include <thread>

#include "core/util/FileIO.h"
#include "tests/support/TempDir.h"

namespace vantrel {
namespace {

TEST(FileRead, ReadsEveryByteOfFilesOfAnySize) {
    testing::TempDir dir;
    for (std::size_t size : {0u, 1u, 4095u, 65535u, 65536u, 65537u, 300001u}) {
        std::string content(size, '\0');
        for (std::size_t i = 0; i < size; ++i) content[i] = static_cast<char>('a' + (i * 7 + size) % 26);
        std::string path = dir.write("f" + std::to_string(size), content);
        auto read = readWholeFile(path);
        ASSERT_TRUE(read) << size;
        EXPECT_EQ(*read, content) << size;
    }
}

TEST(FileRead, ReadsFilesOfUnknownSizeToTheirEnd) {
    // Proc files report a size of 0 and still have content.
    auto status = readWholeFile("/proc/self/status");
    ASSERT_TRUE(status);
    EXPECT_NE(status->find("Name:"), std::string::npos);

    testing::TempDir dir;
    std::string fifo = dir / "pipe";
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    std::string sent(200000, 'x');
    std::thread writer([&] { std::ofstream(fifo, std::ios::binary) << sent; });
    auto received = readWholeFile(fifo);
    writer.join();
    ASSERT_TRUE(received);
    EXPECT_EQ(received->size(), sent.size());
}

TEST(FileRead, AFolderOrAMissingFileIsAnErrorWithTheSystemsMessage) {
    testing::TempDir dir;
    std::string error;
    EXPECT_FALSE(readWholeFile(dir.path(), &error));
    EXPECT_FALSE(error.empty());
    error.clear();
    EXPECT_FALSE(readWholeFile(dir / "missing", &error));
    EXPECT_NE(error.find("No such file"), std::string::npos) << error;
}

}  // namespace
}  // namespace vantrel

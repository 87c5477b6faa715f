#include <gtest/gtest.h>

#include <random>

#include "export/BufferedFile.h"
#include "support/TempFolder.h"

namespace {

// Whatever is written, stepped over and read back, the file is the text that the same steps make in memory.
TEST(BufferedFile, IsTheFileThatUnbufferedWritingMakes) {
  constexpr std::size_t kBlock = kv::BufferedFile::kBlockBytes;
  std::mt19937 random(1);
  const auto below = [&](std::size_t limit) { return random() % limit; };
  for (int round = 0; round < 8; ++round) {
    const TempFolder folder;
    const auto file = kv::BufferedFile::Open(folder.Wide("file"), "w+b");
    ASSERT_TRUE(file);
    std::string expected;
    std::size_t position = 0;
    for (int step = 0; step < 400; ++step) {
      switch (below(8)) {
        case 0:
          file->Seek(position = below(expected.size() + 1));
          break;
        case 1:
          file->Seek(position -= std::min<std::size_t>(position, 1));
          break;
        case 2: {
          const std::size_t asked = below(300);
          std::string read(asked, '\0');
          read.resize(file->Read(read.data(), asked));
          EXPECT_EQ(read, expected.substr(position, asked));
          position += read.size();
          break;
        }
        default: {
          const std::size_t size = below(20) == 0 ? below(3 * kBlock) : below(kBlock / 10);
          const std::string piece(size, static_cast<char>('a' + below(26)));
          EXPECT_TRUE(file->Write(piece.data(), piece.size()));
          if (expected.size() < position + size) expected.resize(position + size);
          expected.replace(position, size, piece);
          position += size;
        }
      }
      ASSERT_EQ(file->Tell(), position);
      ASSERT_EQ(file->Size(), expected.size());
    }
    EXPECT_TRUE(file->Close());
    EXPECT_TRUE(folder.Read("file") == expected);
  }
}

}  // namespace

#include "files/matrixFile.h"

#include <algorithm>
#include <cmath>

#include "saved.h"
#include "terminal/HostError.h"
#include "testFiles.h"

namespace {

TEST(MatrixFile, comesBackToTheLastBit) {
  const TestFolder folder;
  const NmMat4d matrix(1.0 / 3.0, 1e-300, 0, 0, -0.1, M_PI, 5e-17, 0, -0.0, 0, 2, 0, 123456.789,
                       -20, 1e17 / 3.0, 1);
  saved(host::writeMatrix, folder.file("m.txt"), matrix);
  const NmMat4d read = host::readMatrix(folder.file("m.txt"));
  for (int i = 0; i < 16; ++i) EXPECT_EQ(read.m[i / 4][i % 4], matrix.m[i / 4][i % 4]) << i;
  const std::string content = contentOf(folder.file("m.txt"));
  EXPECT_EQ(std::count(content.begin(), content.end(), '\n'), 4);
  EXPECT_EQ(folder.names().size(), 1u);
}

TEST(MatrixFile, refusesWhatIsNoAffineMatrixForRowVectors) {
  const TestFolder folder;
  const char* const bad[] = {
      "",
      "1 0 0 0 0 1 0 0 0 0 1 0 0 0 0",
      "1 0 0 0 0 1 0 0 0 0 1 0 0 0 0 1 7",
      "1 0 0 0 0 one 0 0 0 0 1 0 0 0 0 1",
      "1 0 0 0 0 1 0 0 0 0 nan 0 0 0 0 1",
      "1 0 0 5 0 1 0 0 0 0 1 0 0 0 0 1",  // for column vectors
      "1 0 0 0 1 0 0 0 0 0 1 0 0 0 0 1",  // singular
  };
  for (const char* const content : bad) {
    writeFile(folder.file("m.txt"), content);
    EXPECT_THROW((void)host::readMatrix(folder.file("m.txt")), host::HostError) << content;
  }
  EXPECT_THROW((void)host::readMatrix(folder.file("none.txt")), host::HostError);
}

}  // namespace

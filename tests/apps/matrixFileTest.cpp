#include "matrixFile.h"

#include "HostError.h"
#include "saved.h"
#include "testFiles.h"

namespace {

TEST(MatrixFile, writesFourRowsOfNineDecimalsAndReadsThemBack) {
  const TestFolder folder;
  const NmMat4d matrix(1, 0.25, 0, 0, -0.25, 1, 0, 0, 0, 0, 2, 0, 10.5, -20, 1.0 / 3.0, 1);
  saved(host::writeMatrix, folder.file("m.txt"), matrix);
  EXPECT_EQ(contentOf(folder.file("m.txt")),
            "1.000000000 0.250000000 0.000000000 0.000000000\n"
            "-0.250000000 1.000000000 0.000000000 0.000000000\n"
            "0.000000000 0.000000000 2.000000000 0.000000000\n"
            "10.500000000 -20.000000000 0.333333333 1.000000000\n");
  const NmMat4d read = host::readMatrix(folder.file("m.txt"));
  EXPECT_EQ(read.m[1][0], -0.25);
  EXPECT_EQ(read.m[3][2], 0.333333333);
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

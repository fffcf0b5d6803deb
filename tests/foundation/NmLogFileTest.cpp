#include "foundation/NmLogFile.h"

#include <new>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "foundation/NmException.h"
#include "tests/support/FailingAllocation.h"
#include "tests/support/LogCapture.h"

namespace {

using Lines = std::vector<std::string>;

TEST(NmLogFile, SortsLinesOfAnyLengthAndDropsLineEnds) {
  LogCapture log;
  getTheLogInstance().printf("one %d\ntwo\r\n\nfour\n", 1);
  getTheLogInstance().errorf("%s", "");
  EXPECT_EQ(log.lines, (Lines{"one 1", "two", "", "four"}));
  EXPECT_EQ(log.errors, Lines{""});
  for (const unsigned long n : {254UL, 255UL, 256UL, 100000UL}) {
    const std::string text(n, 'a');
    getTheLogInstance().printf("%s!", text.c_str());
    EXPECT_EQ(log.lines.back(), text + "!");
  }
  if (!FailingAllocation::isServed()) return;
  const FailingAllocation failure(1);
  getTheLogInstance().printf("%s", std::string(400, 'c').c_str());
  EXPECT_EQ(log.lines.back(), std::string(255, 'c'));
}

TEST(NmLogFile, SinkMayLogReplaceItselfAndThrow) {
  LogCapture outer;
  NmLogFile& log = getTheLogInstance();
  Lines seen;
  log.setSink([&](bool, const std::string& line) {
    seen.push_back(line);
    if (line == "nested") return;
    log.printf("nested");
    log.setSink([&](bool, const std::string& late) { seen.push_back("late " + late); });
    EXPECT_EQ(line, "first");  // the closure outlives its replacement
  });
  log.printf("first");
  log.printf("second");
  EXPECT_EQ(seen, (Lines{"first", "nested", "late second"}));
  log.setSink([](bool, const std::string& line) { throw std::runtime_error(line); });
  EXPECT_THROW(log.errorf("thrown"), std::runtime_error);
  EXPECT_THROW(log.printf("%s", std::string(500, 'b').c_str()), std::runtime_error);
}

TEST(NmLogFile, EmptySinkWritesToStandardError) {
  LogCapture outer;
  getTheLogInstance().setSink(nullptr);
  testing::internal::CaptureStderr();
  getTheLogInstance().errorf("to the %s", "terminal");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "to the terminal\n");
  EXPECT_FALSE(getTheLogInstance().setSink(nullptr));
}

/// A sink whose copies need memory that may be gone.
struct LargeSink {
  const bool& isMemoryGone;
  Lines& lines;

  LargeSink(const bool& isGone, Lines& seen) : isMemoryGone(isGone), lines(seen) {}
  LargeSink(const LargeSink& other) : LargeSink(other.isMemoryGone, other.lines) {
    if (isMemoryGone) throw std::bad_alloc();
  }
  void operator()(bool, const std::string& line) const { lines.push_back(line); }
};

TEST(NmLogFile, KeepsItsSinkWhereThereIsNoMemoryForAnother) {
  if (!FailingAllocation::isServed()) GTEST_SKIP();
  LogCapture outer;
  NmLogFile& log = getTheLogInstance();
  bool isMemoryGone = false;
  Lines seen;
  log.setSink(LargeSink(isMemoryGone, seen));
  {
    NmLogFile::Sink other = [](bool, const std::string&) { ADD_FAILURE(); };
    const FailingAllocation failure(1);
    EXPECT_THROW(log.setSink(std::move(other)), NmMemoryException);
  }
  isMemoryGone = true;
  EXPECT_THROW(log.setSink(nullptr), NmMemoryException);
  log.printf("still here");
  EXPECT_EQ(seen, Lines{"still here"});
  isMemoryGone = false;
}

TEST(NmLogFile, ServesSeveralThreads) {
  LogCapture log;
  const auto work = [](const char* name) {
    for (int i = 0; i < 500; ++i) getTheLogInstance().printf("%s %d", name, i);
  };
  std::thread a(work, "a");
  std::thread b(work, "b");
  for (int i = 0; i < 100; ++i) {
    NmLogFile::Sink sink = getTheLogInstance().setSink([](bool, const std::string&) {});
    getTheLogInstance().setSink(std::move(sink));
  }
  a.join();
  b.join();
  for (const std::string& line : log.lines) EXPECT_TRUE(line[0] == 'a' || line[0] == 'b');
}

}  // namespace

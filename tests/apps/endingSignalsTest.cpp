#include "terminal/endingSignals.h"

#include <csignal>

#include "files/OutputFiles.h"
#include "testFiles.h"

namespace {

using testing::ExitedWithCode;
using testing::KilledBySignal;

void catchSignal(int signal) {
  (void)std::signal(signal, SIG_DFL);
  host::catchEndingSignals();
}

TEST(EndingSignals, leaveNoPartFile) {
  const TestFolder folder;
  for (const int signal : {SIGINT, SIGTERM, SIGHUP})
    EXPECT_EXIT(
        {
          catchSignal(signal);
          host::OutputFiles outputs;
          writeFile(outputs.add(folder.file("a")), "half");
          (void)outputs.add(folder.file("b"));
          (void)std::raise(signal);
        },
        KilledBySignal(signal), "");
  EXPECT_TRUE(folder.names().empty());
}

TEST(EndingSignals, waitForWhatMustNotBeCutInTwo) {
  const TestFolder folder;
  EXPECT_EXIT(
      {
        catchSignal(SIGTERM);
        const auto work = [&] {
          const host::EndingSignalsHeld held;
          (void)std::raise(SIGTERM);
          writeFile(folder.file("done"), "");
        };
        work();
      },
      KilledBySignal(SIGTERM), "");
  EXPECT_EQ(folder.names(), std::vector<std::string>{"done"});
}

TEST(EndingSignals, stayIgnoredWhereTheProgramWasStartedSo) {
  EXPECT_EXIT(
      {
        (void)std::signal(SIGHUP, SIG_IGN);
        host::catchEndingSignals();
        (void)std::raise(SIGHUP);
        _exit(0);
      },
      ExitedWithCode(0), "");
}

}  // namespace

#include <limits>

#include "tests/registration/registrationFixture.h"
#include "tests/support/RowVolume.h"

namespace {

double coverageOf(Settings settings) {
  const auto registration = settings.build();
  registration->calculateMaxCoverage();
  return registration->maxCoverage;
}

double coverageOf(const NmBox3f& reference, const NmBox3f& model, int orientation) {
  Settings settings = {.orientation = orientation};
  settings.reference[0]->setBoundingBox(reference);
  settings.model[0]->setBoundingBox(model);
  return coverageOf(settings);
}

TEST(CalculateMaxCoverage, IsTheShareOfTheReferenceThatTheModelCanCover) {
  const NmBox3f cube(0, 8, 0, 8, 0, 8), plate(0, 8, 0, 8, 1, 1), half(0, 4, 0, 8, 1, 1);
  EXPECT_EQ(coverageOf(cube, cube, 3), 1.0);
  EXPECT_EQ(coverageOf(cube, NmBox3f(0, 4, 0, 80, 0, 2), 4), 0.125);
  EXPECT_EQ(coverageOf(cube, NmBox3f(0, 4, 0, 8, 0, 2), 2), 0.5);
  EXPECT_EQ(coverageOf(cube, NmBox3f(8, 0, 0, 8, 8, 4), 3), 0.5);
  EXPECT_EQ(coverageOf(plate, half, 2), 0.5);
  EXPECT_EQ(coverageOf(plate, half, 3), 1.0);
}

// The first of two data variables runs 0, 1, 2, ... to 23, and the second is 8.
TEST(CalculateMaxCoverage, ForTheCorrelationRatioAlsoTheShareInRange) {
  const auto values =
      generate(48, [](long i) { return i % 2 == 0 ? static_cast<double>(i / 2) : 8.0; });
  const struct {
    float min, max;
    bool restricted;
    double expected;
  } cases[] = {{0.0f, 5.0f, false, 0.25},  // both ends inclusive
               {6.0f, 23.0f, true, 0.75},
               {0.0f, 100.0f, true, 1.0},
               {std::numeric_limits<float>::quiet_NaN(), 5.0f, false, 0.0}};
  for (const auto& c : cases) {
    LogCapture log;
    EXPECT_EQ(coverageOf({.reference = listOf({volumeOf({4, 3, 2}, NmPrimType::Float, 2, values)}),
                          .minRef = c.min,
                          .maxRef = c.max,
                          .metricKind = 3,
                          .restrictedMotion = c.restricted}),
              c.expected);
    const bool told = c.restricted && c.expected < 1.0;
    EXPECT_EQ(log.lines, std::vector<std::string>(told ? 1 : 0, "max coverage (range): 0.750"));
  }
}

TEST(CalculateMaxCoverage, CountsARowThatFailsAsInRange) {
  auto* const rows = new RowVolume(emptyVolume({4, 2, 1}));
  rows->hasRow1 = false;
  EXPECT_EQ(coverageOf({.reference = listOf({rows}), .minRef = 1.0f, .metricKind = 3}), 0.5);
}

}  // namespace

#include "variational/search/lbfgs.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

using voxreg::detail::Lbfgs;
using Vector = std::vector<double>;

bool always(int, double) {
  return true;
}

Lbfgs patient() {
  Lbfgs::Options options;
  options.mostIterations = 500;
  options.firstMove = 0.5;
  options.relativeGain = 1e-15;
  return Lbfgs(options);
}

/// A curved valley in any number of dimensions, 0 at ones.
double valley(const Vector& x, Vector& gradient) {
  double value = 0.0;
  gradient.assign(x.size(), 0.0);
  for (std::size_t i = 0; i + 1 < x.size(); ++i) {
    const double across = x[i + 1] - x[i] * x[i];
    const double along = 1.0 - x[i];
    value += 100.0 * across * across + along * along;
    gradient[i] += -400.0 * across * x[i] - 2.0 * along;
    gradient[i + 1] += 200.0 * across;
  }
  return value;
}

/// Curvatures from 1 to 10^4, the minimum of 3 at (0, 1, 2, ...).
double bowl(const Vector& x, Vector& gradient) {
  double value = 3.0;
  for (std::size_t i = 0; i < x.size(); ++i) {
    const double curvature = std::pow(10.0, 4.0 * static_cast<double>(i) / 7.0);
    const double d = x[i] - static_cast<double>(i);
    value += 0.5 * curvature * d * d;
    gradient[i] = curvature * d;
  }
  return value;
}

/// x - log x in each direction, infinite where it is not defined; 1 a direction at ones.
double walled(const Vector& x, Vector& gradient) {
  double value = 0.0;
  for (std::size_t i = 0; i < x.size(); ++i) {
    if (!(x[i] > 0.0)) return std::numeric_limits<double>::infinity();
    value += x[i] - std::log(x[i]);
    gradient[i] = 1.0 - 1.0 / x[i];
  }
  return value;
}

TEST(Lbfgs, FindsMinima) {
  Vector x = {-1.2, 1.0, 0.5};
  patient().minimise(valley, always, x);
  for (const double v : x) EXPECT_NEAR(v, 1.0, 1e-4);
  x.assign(8, 20.0);
  const Lbfgs::Summary summary = patient().minimise(bowl, always, x);
  EXPECT_NEAR(summary.value, 3.0, 1e-9);
  EXPECT_LT(summary.evaluations, 3 * summary.iterations);
  for (std::size_t i = 0; i < x.size(); ++i) EXPECT_NEAR(x[i], static_cast<double>(i), 1e-4);
}

TEST(Lbfgs, TurnsBackWhereThereIsNoValue) {
  Lbfgs::Options options;
  options.firstMove = 50.0;
  Vector x = {3.0, 0.1, 7.0};
  const Lbfgs::Summary summary = Lbfgs(options).minimise(walled, always, x);
  EXPECT_NEAR(summary.value, 3.0, 1e-3);
  for (const double v : x) EXPECT_NEAR(v, 1.0, 0.05);
}

TEST(Lbfgs, AnInterruptionKeepsTheBestPoint) {
  const Vector start = {-1.2, 1.0, 0.5};
  for (const int last : {0, 1, 5}) {
    Vector x = start;
    const auto summary = patient().minimise(
        valley, [&](int iteration, double) { return iteration < last; }, x);
    EXPECT_TRUE(summary.interrupted);
    EXPECT_EQ(summary.iterations, last);
    Vector gradient(3);
    EXPECT_EQ(valley(x, gradient), summary.value);
    if (last == 0)
      EXPECT_EQ(x, start);
    else
      EXPECT_LT(summary.value, valley(start, gradient));
  }
}

TEST(Lbfgs, EndsWhereNothingIsToBeGained) {
  struct Case {
    const char* name;
    Lbfgs::Function function;
    int mostEvaluations;
  };
  const Lbfgs::Options options;
  const Case cases[] = {{"constant",
                         [](const Vector&, Vector& gradient) {
                           gradient.assign(gradient.size(), 0.0);
                           return 4.0;
                         },
                         1},
                        {"no value",
                         [](const Vector&, Vector& gradient) {
                           gradient.assign(gradient.size(), 0.0);
                           return std::numeric_limits<double>::infinity();
                         },
                         1},
                        {"a gradient that leads up",
                         [](const Vector& x, Vector& gradient) {
                           gradient.assign(gradient.size(), -1.0);
                           return 4.0 + std::abs(x[0] - 2.0);
                         },
                         1 + options.mostTrials},
                        {"NaN away from the start",
                         [](const Vector& x, Vector& gradient) {
                           gradient.assign(gradient.size(), -1.0);
                           return x[0] == 2.0 ? 4.0 : std::nan("");
                         },
                         1 + options.mostTrials}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Vector x = {2.0, -3.0};
    const Lbfgs::Summary summary = Lbfgs(options).minimise(c.function, always, x);
    EXPECT_EQ(x, Vector({2.0, -3.0}));
    EXPECT_EQ(summary.iterations, 0);
    EXPECT_LE(summary.evaluations, c.mostEvaluations);
  }
}

}  // namespace

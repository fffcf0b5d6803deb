#pragma once

namespace host {

/// The intensity of a tissue, relative to fat before contrast agent, and what the agent adds.
struct Signal {
  double plain = 0.0;
  double uptake = 0.0;

  /// Replaces a share of the tissue present.
  void paint(double share, const Signal& tissue) {
    plain += share * (tissue.plain - plain);
    uptake += share * (tissue.uptake - uptake);
  }
};

// Contrasts of a T1-weighted gradient echo without fat suppression.
namespace tissue {
constexpr Signal skin = {0.50, 0.04};
constexpr Signal fat = {1.00, 0.01};
constexpr Signal ligament = {0.60, 0.01};
constexpr Signal gland = {0.42, 0.07};
constexpr Signal lesion = {0.40, 0.55};
constexpr Signal vessel = {0.45, 0.60};
constexpr Signal muscle = {0.36, 0.03};
constexpr Signal cortex = {0.08, 0.00};
constexpr Signal marrow = {0.62, 0.03};
constexpr Signal innerFat = {0.90, 0.02};
constexpr Signal lung = {0.07, 0.03};
constexpr Signal myocardium = {0.42, 0.20};
constexpr Signal blood = {0.44, 0.60};
constexpr Signal liver = {0.52, 0.22};
}  // namespace tissue

}  // namespace host

#pragma once

#include "functional/kernels/columns.inl"
#include "functional/kernels/rowBlock.inl"

/// The samples of the correlation family: those with both values in their ranges.
class CorrelationSamples {
 public:
  explicit CorrelationSamples(const CorrelationSums& sums)
      : minRef_(Lanes::all(sums.minRef)),
        maxRef_(Lanes::all(sums.maxRef)),
        minModel_(Lanes::all(sums.minModel)),
        maxModel_(Lanes::all(sums.maxModel)) {}

  typename Lanes::Mask accepted(typename Lanes::Mask counts, const double* reference) const {
    return Lanes::both(counts, Lanes::within(Lanes::load(reference), minRef_, maxRef_));
  }

  /// Passes on the values of a column, with 1 in the lanes that count and zeros in the others.
  /// Adding a zero does not change a sum, since none is ever -0.0.
  template <class Columns, class Add>
  [[gnu::always_inline]] void take(const Columns& columns, int i, Add add) const {
    const auto zero = Lanes::all(0.0);
    const auto model = Lanes::load(columns.model + i * Lanes::width);
    const auto counts = Lanes::both(columns.counts[i], Lanes::within(model, minModel_, maxModel_));
    add(Lanes::select(counts, Lanes::load(columns.reference + i * Lanes::width), zero),
        Lanes::select(counts, model, zero), Lanes::select(counts, Lanes::all(1.0), zero));
  }

 private:
  typename Lanes::Doubles minRef_;
  typename Lanes::Doubles maxRef_;
  typename Lanes::Doubles minModel_;
  typename Lanes::Doubles maxModel_;
};

struct SingleLane {
  using Doubles = double;
};

/// The five sums of a slice, with a separate slice in each lane. They are added to the totals when
/// the slice ends.
template <class LanesOf>
struct CorrelationSubtotals {
  using Value = typename LanesOf::Doubles;

  Value refSq = {};
  Value modelSq = {};
  Value refModel = {};
  Value ref = {};
  Value model = {};

  [[gnu::always_inline]] void add(Value r, Value m) {
    refSq = refSq + r * r;
    modelSq = modelSq + m * m;
    refModel = refModel + m * r;
    ref = ref + r;
    model = model + m;
  }

  void addTo(CorrelationSums& sums) const {
    sums.refSq += refSq;
    sums.modelSq += modelSq;
    sums.refModel += refModel;
    sums.ref += ref;
    sums.model += model;
  }
};

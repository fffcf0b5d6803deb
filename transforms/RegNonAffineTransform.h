#pragma once

#include <cstdint>

#include "foundation/NmBox.h"
#include "foundation/NmDArray.h"
#include "foundation/NmDMatrix.h"
#include "foundation/NmVec.h"
#include "transforms/RegParametricTransform.h"

class VlData;

/// Free-form transform on a regular grid of bricks: each vertex of the grid maps to a given
/// position, and inside a brick the map is the trilinear interpolation of the brick's eight
/// corners.
///
/// `params` holds the positions (not displacements), three doubles for each vertex, at 3 * (i + (nx
/// + 1) * (j + (ny + 1) * k)) + c with i fastest. Normalised coordinates (u, v, w) run from 0 to 1
/// across `referenceBox`; outside, the polynomial of the outermost brick continues.
///
/// The map is evaluated from polynomial coefficients, which are stale after a change of `params`
/// until apply(). A transform may have no vertices (`params` of a size that does not match the
/// grid), as after a start from a box without volume; see hasVertices().
class RegNonAffineTransform : public RegParametricTransform {
 public:
  /// A transform as a plain value; `vertices` has the layout of `params`.
  struct NonAffineTransformDescriptor {
    NmBox3f box;
    NmVec3i numBricks;
    NmDArray<double> vertices;
  };

  NmVec3i numBricks;              ///< bricks per axis, 1 to 32
  NmDMatrix<double> brickMatrix;  ///< 8 x 8, maps the corners of a brick to its terms
  NmDArray<double> coefficients;  ///< 24 per brick: term t of component c is at 3 * t + c
  NmVec3d offsetToModel;          ///< added by setWScaled before scaling
  NmVec3d scaleToModel{1, 1, 1};  ///< factors of setWScaled
  NmBox3f referenceBox;           ///< the box that the grid spans, world units
  bool useSse2;                   ///< the processor has SSE2; results do not depend on it

  /// Sets the descriptor's map on a grid of `bricks` (each clamped to 1 to 32), as init does.
  RegNonAffineTransform(const NonAffineTransformDescriptor& d, const NmVec3i& bricks);
  RegNonAffineTransform(const RegNonAffineTransform& other);
  RegNonAffineTransform& operator=(const RegNonAffineTransform& other) = default;
  ~RegNonAffineTransform() override;

  /// Does nothing.
  void update() override;

  /// Three times the number of vertices of the grid.
  int getVariableParamVectorDim() override;

  /// 0.25 for every parameter.
  double getParamStep(int i, NmVec3d* size) override;

  /// Number of bricks and of vertices of the grid; 0 if a count is outside 1 to 32.
  std::int64_t brickCount() const;
  std::int64_t vertexCount() const;

  /// True if `params` matches the grid.
  bool hasVertices() const;

  /// Fills brickMatrix, once.
  void initBrickMatrix();

  /// Sets a map, keeping the current grid. A box without volume changes nothing; a grid with a
  /// count outside 1 to 32, or vertices that do not match it, give the identity over the box.
  void init(const NonAffineTransformDescriptor& d);

  /// Sets the map that `vertices` describe on a grid of `n` bricks over `box`, on that grid or,
  /// with `keepBrickCount`, sampled on the current one. A box without volume, a count outside 1 to
  /// 32 and a number of vertices that does not match change nothing.
  void initFromNonAffineTransform(const NmBox3f& box, const NmDArray<double>& vertices,
                                  const NmVec3i& n, bool keepBrickCount);

  /// The identity over `box`, or over the unit cube if the box has no volume.
  void makeIdentityTransform(const NmBox3f& box);

  /// Updates the coefficients. Their array grows with the grid and never shrinks; a transform
  /// without vertices leaves the existing ones unchanged and new ones zero.
  void computeCoefficients();
  void apply();

  /// Adds deltas[n] to the parameter indices[n] in the coefficients only. Indices out of range and
  /// deltas of 0 are skipped; missing deltas are appended to `deltas` as zeros. If both saved
  /// arrays are given, they are cleared and receive what restoreCoefficients needs. In that case a
  /// call must change a single parameter, or parameters of vertices that share no brick.
  void updateCoefficients(NmDArray<int>& indices, NmDArray<double>& deltas,
                          NmDArray<int>* savedIndices, NmDArray<double>* savedValues);

  /// Writes saved coefficients back, bit for bit.
  void restoreCoefficients(NmDArray<int>& indices, NmDArray<double>& values);

  /// The three stages of evaluation, each for one coordinate: setW computes 4 * nx * ny vectors for
  /// a slice, setV computes 2 * nx for a row, setU the mapped point in world units. The caller
  /// sizes the arrays. If one is too short, there are no coefficients, or a coordinate is NaN, the
  /// result is NaN.
  void setW(double w, NmDArray<NmVec3d>& out) const;
  void setV(double v, const NmDArray<NmVec3d>& in, NmDArray<NmVec3d>& out) const;
  void setU(double u, const NmDArray<NmVec3d>& in, NmVec3d& out) const;

  /// setW under another name.
  void setWUnscaled(double w, NmDArray<NmVec3d>& out) const;

  /// Like setW, but setU then gives (point + offsetToModel) * scaleToModel.
  void setWScaled(double w, NmDArray<NmVec3d>& out) const;
  void setScaleToModel(const NmVec3d& offset, double sx, double sy, double sz);

  /// Clamps each count to 1 to 32, in place, and resamples the map on that grid.
  void setNumBricks(NmVec3i& n);

  /// Samples the map at the vertices of a grid of `to` bricks, each clamped to 1 to 32, and makes
  /// that the grid; does nothing if `from` equals `to`. A multiple of the current counts preserves
  /// the map, any other grid approximates it. The coefficients must be up to date.
  void prolongate(const NmVec3i& from, const NmVec3i& to);

  /// prolongate under another name.
  void restrict(const NmVec3i& from, const NmVec3i& to);

  /// The voxels of `data` that a move of one vertex can affect; all of them for a nonexistent
  /// vertex and along an axis of one brick, none for a null volume.
  NmBox3i getROIofVertex(VlData* data, int vertex) const;

  /// Moves the grid to another box and keeps the map. A box without volume changes nothing.
  void adaptReferenceBoundingBox(const NmBox3f& box);

  /// Measures how far the map deviates from a rigid motion, at eight points of each brick (the
  /// nodes of the two-point Gauss-Legendre rule on each axis): of the bricks around `vertex`, or of
  /// all bricks for a nonexistent vertex. The outputs receive an entry for each of these bricks,
  /// x fastest; all but `minJacobian` may be null:
  ///   minJacobian   smallest determinant, or the reciprocal of the largest one if that is above 1
  ///                 and its reciprocal is smaller; negative if the map folds
  ///   minDiagonal   smallest diagonal element
  ///   maxStretch    largest deviation of an orthogonalised row's length from 1
  ///   maxShear      largest shear between the rows
  ///   brickIndices  running index of the brick; unchanged unless the vertex exists
  /// A brick that `emptyBricks` flags, and one whose Jacobians are NaN, gets 1, 1, 0, 0; the flags
  /// count only if there is one for each brick of the grid. The unnamed int is ignored.
  ///
  /// Uses the current coefficients and the box. Returns the seconds taken, or -1 with the outputs
  /// unchanged if the box has no volume or the number of coefficients is not exactly that of the
  /// grid: since their array never shrinks, a coarsened grid cannot be analysed.
  float computeJacobiTransforms(int vertex, int, NmDArray<double>& minJacobian,
                                NmDArray<unsigned char>* emptyBricks, NmDArray<double>* minDiagonal,
                                NmDArray<double>* maxStretch, NmDArray<double>* maxShear,
                                NmDArray<int>* brickIndices) const;

  /// Copies box, grid and vertices to `d`.
  void getTransform(NonAffineTransformDescriptor& d) const;

 private:
  bool canEvaluate() const;
  void moveToGrid(const NmVec3i& grid);
};

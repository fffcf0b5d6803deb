#pragma once

#include <cstdint>

#include "foundation/NmBox.h"
#include "foundation/NmDArray.h"
#include "foundation/NmDMatrix.h"
#include "foundation/NmVec.h"
#include "transforms/RegParametricTransform.h"

class VlData;

/// Free-form transform on a regular grid of bricks: each vertex of the grid has a position that it
/// goes to, and inside a brick the map is the trilinear interpolation of the brick's eight corners.
///
/// `params` holds the positions (not displacements), three doubles for each vertex, at
/// 3 * (i + (nx + 1) * (j + (ny + 1) * k)) + c with i fastest. Normalised coordinates (u, v, w) run
/// from 0 to 1 across `referenceBox`; outside, the polynomial of the outermost brick goes on.
///
/// The map is evaluated from polynomial coefficients, which lag behind `params` until apply(). A
/// transform may be without vertices (`params` of a size that does not fit the grid), as it is
/// after a start from a box without volume; hasVertices() tells.
class RegNonAffineTransform : public RegParametricTransform {
 public:
  /// A transform as a plain value; `vertices` has the layout of `params`.
  struct NonAffineTransformDescriptor {
    NmBox3f box;
    NmVec3i numBricks;
    NmDArray<double> vertices;
  };

  NmVec3i numBricks;              ///< bricks per axis, 1 to 32
  NmDMatrix<double> brickMatrix;  ///< 8 x 8, from the corners of a brick to its terms
  NmDArray<double> coefficients;  ///< 24 a brick: term t of component c stands at 3 * t + c
  NmVec3d offsetToModel;          ///< added by setWScaled before it scales
  NmVec3d scaleToModel{1, 1, 1};  ///< factors of setWScaled
  NmBox3f referenceBox;           ///< the box that the grid spans, world units
  bool useSse2;                   ///< the processor has SSE2; results do not depend on it

  /// Takes over the descriptor's map on a grid of `bricks` (each limited to 1 to 32), as init does.
  RegNonAffineTransform(const NonAffineTransformDescriptor& d, const NmVec3i& bricks);
  RegNonAffineTransform(const RegNonAffineTransform& other);
  RegNonAffineTransform& operator=(const RegNonAffineTransform& other) = default;
  ~RegNonAffineTransform() override;

  /// Does nothing.
  void update() override;

  /// Three times the number of vertices that the grid has.
  int getVariableParamVectorDim() override;

  /// 0.25 for every parameter.
  double getParamStep(int i, NmVec3d* size) override;

  /// Number of bricks and of vertices of the grid; 0 where a count is outside 1 to 32.
  std::int64_t brickCount() const;
  std::int64_t vertexCount() const;

  /// True when `params` fits the grid.
  bool hasVertices() const;

  /// Fills brickMatrix, once.
  void initBrickMatrix();

  /// Takes over a map, keeping the present grid. A box without volume changes nothing; a grid with
  /// a count outside 1 to 32 or vertices that do not fit it give the identity over the box.
  void init(const NonAffineTransformDescriptor& d);

  /// Takes over the map that `vertices` describe on a grid of `n` bricks over `box`, on that grid
  /// or, with `keepBrickCount`, sampled on the present one. A box without volume, a count outside 1
  /// to 32 and a number of vertices that does not fit change nothing.
  void initFromNonAffineTransform(const NmBox3f& box, const NmDArray<double>& vertices,
                                  const NmVec3i& n, bool keepBrickCount);

  /// The identity over `box`, or over the unit cube where the box has no volume.
  void makeIdentityTransform(const NmBox3f& box);

  /// Brings the coefficients up to date. They grow with the grid and never shrink; a transform
  /// without vertices leaves the present ones alone and zeros in what is new.
  void computeCoefficients();
  void apply();

  /// Adds deltas[n] to the parameter indices[n] in the coefficients only. Indices out of range and
  /// deltas of 0 are passed over; missing deltas are appended to `deltas` as zeros. Given both
  /// saved arrays, it clears them and records there what restoreCoefficients needs. For that, one
  /// call carries a single parameter, or parameters of vertices that share no brick.
  void updateCoefficients(NmDArray<int>& indices, NmDArray<double>& deltas,
                          NmDArray<int>* savedIndices, NmDArray<double>* savedValues);

  /// Writes saved coefficients back, bit for bit.
  void restoreCoefficients(NmDArray<int>& indices, NmDArray<double>& values);

  /// The three stages of evaluation, which take one coordinate each: setW makes 4 * nx * ny vectors
  /// for a slice, setV makes 2 * nx for a row, setU the mapped point in world units. The caller
  /// sizes the arrays. Where one is too short, or there are no coefficients, the result is NaN. So
  /// it is for a coordinate that is NaN.
  void setW(double w, NmDArray<NmVec3d>& out) const;
  void setV(double v, const NmDArray<NmVec3d>& in, NmDArray<NmVec3d>& out) const;
  void setU(double u, const NmDArray<NmVec3d>& in, NmVec3d& out) const;

  /// setW under another name.
  void setWUnscaled(double w, NmDArray<NmVec3d>& out) const;

  /// setW such that setU makes (point + offsetToModel) * scaleToModel.
  void setWScaled(double w, NmDArray<NmVec3d>& out) const;
  void setScaleToModel(const NmVec3d& offset, double sx, double sy, double sz);

  /// Limits each count to 1 to 32, in place, and moves the map to that grid.
  void setNumBricks(NmVec3i& n);

  /// Samples the map at the vertices of a grid of `to` bricks, each limited to 1 to 32, and makes
  /// that the grid; nothing happens if `from` equals `to`. A multiple of the present counts leaves
  /// the map as it is, any other grid approximates it. The coefficients must be up to date.
  void prolongate(const NmVec3i& from, const NmVec3i& to);

  /// prolongate under another name.
  void restrict(const NmVec3i& from, const NmVec3i& to);

  /// The voxels of `data` that a move of one vertex can affect; all of them for a vertex that does
  /// not exist and along an axis of one brick, none for a null volume.
  NmBox3i getROIofVertex(VlData* data, int vertex) const;

  /// Moves the grid to another box and keeps the map. A box without volume changes nothing.
  void adaptReferenceBoundingBox(const NmBox3f& box);

  /// Measures how far the map departs from a rigid motion, at eight points of each brick (the nodes
  /// of the two-point Gauss-Legendre rule on each axis): of the bricks around `vertex`, or of all
  /// bricks for a number that no vertex has. The outputs receive an entry for each of these bricks,
  /// x fastest; all but `minJacobian` may be null:
  ///   minJacobian   smallest determinant, or the reciprocal of the largest one if that is above 1
  ///                 and its reciprocal is smaller; negative where the map folds
  ///   minDiagonal   smallest diagonal element
  ///   maxStretch    largest deviation of a row's length, made orthogonal, from 1
  ///   maxShear      largest shear between the rows
  ///   brickIndices  running index of the brick; left alone unless the vertex exists
  /// A brick that `emptyBricks` flags, and one whose Jacobians are no numbers, gets 1, 1, 0, 0; the
  /// flags count only if there is one for each brick of the grid. The plain int is ignored.
  ///
  /// Reads the coefficients as they are, and the box. Returns the seconds taken, or -1 with the
  /// outputs untouched where the box has no volume or the coefficients are not exactly those of the
  /// grid: they never shrink, so that a coarsened grid can not be analysed.
  float computeJacobiTransforms(int vertex, int, NmDArray<double>& minJacobian,
                                NmDArray<unsigned char>* emptyBricks, NmDArray<double>* minDiagonal,
                                NmDArray<double>* maxStretch, NmDArray<double>* maxShear,
                                NmDArray<int>* brickIndices) const;

  /// Copies box, grid and vertices out.
  void getTransform(NonAffineTransformDescriptor& d) const;

 private:
  bool canEvaluate() const;
  void moveToGrid(const NmVec3i& grid);
};

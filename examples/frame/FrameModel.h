// A five-storey steel frame, solved the way a linear dynamic solver solves it, so that the example can write a
// kernel file whose every section is consistent with the others.
//
// The model. Each floor is a rigid, lumped mass with three degrees of freedom along the building's own axes:
// a (the long side), b (the short side) and z (up). The building stands at an angle on its site, so those axes
// are turned against the site's east/north axes, in which the ground motion is recorded. Four columns carry
// each storey; each is a bar fixed against rotation at both ends (the floors are stiff), and its stiffness is
// the usual 12 x 12 stiffness of a straight prismatic member, of which the translations are kept.
//
// The solution. Stiffness K and mass M are assembled from the members and the floors; the modes come from
// LAPACK's generalized symmetric eigensolver (mass-normalised); gravity gives a static state; each modal
// coordinate is integrated over the ground-acceleration record with the exact solution for a load that varies
// linearly within a step; displacement, velocity and acceleration are rebuilt from the modes. Damping is a
// dashpot beside each column, proportional to its stiffness in each direction, tuned to 5 % of critical in the
// first mode of each direction. Everything is in SI units: m, kg, s, N, Pa.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace frame {

// Column-major dense matrix, just enough for the example.
struct Dense {
  int rows = 0, cols = 0;
  std::vector<double> v;
  Dense() = default;
  Dense(int r, int c) : rows(r), cols(c), v(static_cast<size_t>(r) * static_cast<size_t>(c), 0.0) {}
  double& operator()(int i, int j) {
    return v[static_cast<size_t>(j) * static_cast<size_t>(rows) + static_cast<size_t>(i)];
  }
  double operator()(int i, int j) const {
    return v[static_cast<size_t>(j) * static_cast<size_t>(rows) + static_cast<size_t>(i)];
  }
};

struct ColumnSection {
  std::string name;
  double area;     // A, m^2
  double iStrong;  // second moment for bending that displaces the column along its depth (local y), m^4
  double iWeak;    // the same along its width (local z), m^4
  double depth;    // outer depth along local y, m
  double width;    // outer width along local z, m
};

struct Storey {
  double height;          // m
  ColumnSection section;  // the four columns below the floor
  double floorMass;       // the floor above, kg
};

constexpr int kDirections = 3;  // a, b, z of each floor
constexpr int kColumnsPerStorey = 4;
constexpr double kYoung = 210e9;        // steel, Pa
constexpr double kGravity = 9.81;       // m/s^2
constexpr double kDampingRatio = 0.05;  // in the first mode of each direction

// A column's member: where its ends are and which model rows feed them.
struct Column {
  int id;      // 100 * storey + column number (101..104 under floor 1, ...)
  int storey;  // 1-based
  double length;
  ColumnSection section;
  std::vector<uint32_t>
      dofRows;  // model rows of the kept end translations (3 for a ground-storey column, 6 otherwise)
  std::vector<int> localOfRow;  // for each entry of dofRows, its index in the member's 12 local dofs
  Dense force;                  // 12 x n: section forces (6 components at end A, then at end B) from dofRows
  Dense damping;                // 12 x n: the dashpot's forces from the velocities of dofRows
  Dense stress;                 // 22 x n: 11 stress components at end A, then at end B
};

struct GroundMotion {
  double dt = 0.0;
  int steps = 0;
  // Site axes: east, north, up. acceleration[c][t], with c = 0, 1, 2.
  std::array<std::vector<double>, 3> acceleration, velocity, displacement;
};

struct Solution {
  int dofs = 0, modes = 0, steps = 0;
  double dt = 0.0;
  Dense stiffness, mass, dampingMatrix;    // dofs x dofs
  Dense shapes;                            // dofs x modes, mass-normalised
  std::vector<double> omega, zeta;         // per mode, rad/s and fraction of critical
  std::vector<int> direction;              // per mode, 0 a, 1 b, 2 z: the direction that dominates its shape
  std::vector<double> participation;       // per mode: phi^T M iota of its own direction, kg^0.5
  std::vector<double> staticDisplacement;  // under gravity, dofs
  Dense modalStatic;                       // modes x 1: Phi^T M u_static
  // Histories, steps x dofs (direct) and steps x modes (modal). Displacements include the static state;
  // velocities and accelerations are relative to the ground.
  Dense disp, vel, acc, q, qd, qdd;
};

class FrameModel {
 public:
  FrameModel();

  // Site angle of the building's a axis, counter-clockwise from east.
  double angleDegrees() const { return angleDegrees_; }
  const std::vector<Storey>& storeys() const { return storeys_; }
  const std::vector<Column>& columns() const { return columns_; }
  int floorCount() const { return static_cast<int>(storeys_.size()); }
  int dofCount() const { return kDirections * floorCount(); }
  static int row(int floor, int direction) { return kDirections * floor + direction; }  // floor 0-based

  // Row by row, the rotation that turns a site vector (east, north, up) into the building's axes (a, b, z).
  std::array<double, 9> siteToBuilding() const;

  // A ground-acceleration record in site axes: filtered noise under a rise-hold-decay envelope, the same on
  // every machine (fixed seed, own generator), with velocity and displacement integrated exactly for an
  // acceleration that is linear within a step.
  GroundMotion groundMotion(double dt, int steps) const;

  // Assembles, finds the modes, integrates. Throws std::runtime_error when LAPACK reports a failure.
  Solution solve(const GroundMotion& ground);

 private:
  double angleDegrees_ = 30.0;
  std::vector<Storey> storeys_;
  std::vector<Column> columns_;
};

}  // namespace frame

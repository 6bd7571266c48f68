#include "FrameModel.h"

#include <lapacke.h>

#include <algorithm>
#include <cmath>
#include <stdexcept>

namespace frame {

namespace {

constexpr double kPi = 3.14159265358979323846;

// Member-local degrees of freedom, 6 at each end: axial u, transverse v (local y), w (local z), twist, and the
// rotations about local y and z. End A (the bottom) has 0..5, end B (the top) 6..11.
enum Local { kU = 0, kV = 1, kW = 2, kRy = 4, kRz = 5, kEndB = 6 };

// The local x axis of a column points up, its y axis along the building's a, its z axis along b; so local
// translation k of an end moves the floor in building direction kDirectionOfLocal[k].
constexpr int kDirectionOfLocal[3] = {2, 0, 1};

// The three parts of a straight prismatic member's 12 x 12 stiffness that a storey engages: axial, bending that
// displaces along local y (second moment iStrong), bending that displaces along local z (iWeak). Twist is held
// at both ends by the stiff floors, so the torsion part never works and is left out.
std::array<Dense, 3> memberStiffnessParts(double length, const ColumnSection& s) {
  std::array<Dense, 3> k{Dense(12, 12), Dense(12, 12), Dense(12, 12)};
  const double L = length;
  const double ea = kYoung * s.area / L;
  const int ax[2] = {kU, kEndB + kU};
  for (int i = 0; i < 2; ++i)
    for (int j = 0; j < 2; ++j) k[0](ax[i], ax[j]) = (i == j ? ea : -ea);

  // Bending in the x-y plane: (v1, rz1, v2, rz2).
  const double bz = kYoung * s.iStrong / (L * L * L);
  const int xy[4] = {kV, kRz, kEndB + kV, kEndB + kRz};
  const double kxy[4][4] = {{12, 6 * L, -12, 6 * L},
                            {6 * L, 4 * L * L, -6 * L, 2 * L * L},
                            {-12, -6 * L, 12, -6 * L},
                            {6 * L, 2 * L * L, -6 * L, 4 * L * L}};
  // Bending in the x-z plane: (w1, ry1, w2, ry2); the rotation about y turns the other way.
  const double by = kYoung * s.iWeak / (L * L * L);
  const int xz[4] = {kW, kRy, kEndB + kW, kEndB + kRy};
  const double kxz[4][4] = {{12, -6 * L, -12, -6 * L},
                            {-6 * L, 4 * L * L, 6 * L, 2 * L * L},
                            {-12, 6 * L, 12, 6 * L},
                            {-6 * L, 2 * L * L, 6 * L, 4 * L * L}};
  for (int i = 0; i < 4; ++i) {
    for (int j = 0; j < 4; ++j) {
      k[1](xy[i], xy[j]) = bz * kxy[i][j];
      k[2](xz[i], xz[j]) = by * kxz[i][j];
    }
  }
  return k;
}

// Member end forces K u turned into section forces: at end A the negated end force, at end B the end force, so
// that a column in tension, or sheared one way, reports the same sign at both ends. Only the kept translations
// are columns of the table.
Dense sectionForceTable(const Dense& k12, const std::vector<int>& localOfRow) {
  Dense t(12, static_cast<int>(localOfRow.size()));
  for (int r = 0; r < 12; ++r) {
    const double sign = r < kEndB ? -1.0 : 1.0;
    for (size_t j = 0; j < localOfRow.size(); ++j) t(r, static_cast<int>(j)) = sign * k12(r, localOfRow[j]);
  }
  return t;
}

// Stresses from section forces, at each end: component 0 the axial stress N/A; components 1 to 4 the normal
// stress N/A + My z/Iy - Mz y/Iz at the section's four corners (+y+z, -y+z, -y-z, +y-z). The other six
// components of a bar's stress are not used by this model and stay zero.
Dense stressFromForce(const ColumnSection& s) {
  Dense p(22, 12);
  const double corners[4][2] = {{1, 1}, {-1, 1}, {-1, -1}, {1, -1}};
  for (int end = 0; end < 2; ++end) {
    const int sr = 11 * end, fr = 6 * end;  // first stress row, first force row of the end
    p(sr, fr + 0) = 1.0 / s.area;
    for (int c = 0; c < 4; ++c) {
      const double y = corners[c][0] * s.depth / 2, z = corners[c][1] * s.width / 2;
      p(sr + 1 + c, fr + 0) = 1.0 / s.area;
      p(sr + 1 + c, fr + 4) = z / s.iWeak;     // My about local y: the weak axis
      p(sr + 1 + c, fr + 5) = -y / s.iStrong;  // Mz about local z: the strong axis
    }
  }
  return p;
}

Dense multiply(const Dense& a, const Dense& b) {
  Dense c(a.rows, b.cols);
  for (int j = 0; j < b.cols; ++j)
    for (int k = 0; k < a.cols; ++k) {
      const double bkj = b(k, j);
      if (bkj == 0.0) continue;
      for (int i = 0; i < a.rows; ++i) c(i, j) += a(i, k) * bkj;
    }
  return c;
}

// A small generator of our own, so that the record is the same with every standard library.
class Noise {
 public:
  explicit Noise(uint64_t seed) : state_(seed) {}
  double gaussian() {  // Box-Muller
    const double u1 = (static_cast<double>(next() >> 11) + 0.5) * 0x1.0p-53;
    const double u2 = (static_cast<double>(next() >> 11) + 0.5) * 0x1.0p-53;
    return std::sqrt(-2.0 * std::log(u1)) * std::cos(2.0 * kPi * u2);
  }

 private:
  uint64_t next() {  // xorshift64*
    state_ ^= state_ >> 12;
    state_ ^= state_ << 25;
    state_ ^= state_ >> 27;
    return state_ * 0x2545F4914F6CDD1DULL;
  }
  uint64_t state_;
};

// Exact integration of x'' + 2 zeta w x' + w^2 x = p(t) over one step dt for a p that is linear within the
// step: x1 = A x0 + B v0 + C p0 + D p1, v1 = A' x0 + B' v0 + C' p0 + D' p1 (unit mass, stiffness w^2).
struct StepCoefficients {
  double a, b, c, d, ap, bp, cp, dp;
  StepCoefficients(double w, double zeta, double dt) {
    const double k = w * w, root = std::sqrt(1.0 - zeta * zeta), wd = w * root;
    const double e = std::exp(-zeta * w * dt), s = std::sin(wd * dt), co = std::cos(wd * dt);
    const double r = zeta / root;
    a = e * (r * s + co);
    b = e * s / wd;
    c = (2 * zeta / (w * dt) +
         e * (((1 - 2 * zeta * zeta) / (wd * dt) - r) * s - (1 + 2 * zeta / (w * dt)) * co)) /
        k;
    d = (1 - 2 * zeta / (w * dt) + e * ((2 * zeta * zeta - 1) / (wd * dt) * s + 2 * zeta / (w * dt) * co)) / k;
    ap = -e * w / root * s;
    bp = e * (co - r * s);
    cp = (-1 / dt + e * ((w / root + r / dt) * s + co / dt)) / k;
    dp = (1 - e * (r * s + co)) / (k * dt);
  }
};

}  // namespace

FrameModel::FrameModel() {
  // Two column sizes, rectangular hollow sections 400 x 300 mm with 16 and 12.5 mm walls: heavier in the two
  // lower storeys. The 400 mm side lies along the building's a axis.
  const ColumnSection heavy{"RHS 400x300x16", 0.021376, 4.870e-4, 3.097e-4, 0.40, 0.30};
  const ColumnSection light{"RHS 400x300x12.5", 0.016875, 3.915e-4, 2.501e-4, 0.40, 0.30};
  storeys_ = {
      {4.0, heavy, 180e3}, {3.5, heavy, 170e3}, {3.5, light, 170e3}, {3.5, light, 170e3}, {3.5, light, 120e3}};
  for (int s = 1; s <= floorCount(); ++s) {
    const Storey& st = storeys_[static_cast<size_t>(s - 1)];
    for (int c = 1; c <= kColumnsPerStorey; ++c) {
      Column col;
      col.id = 100 * s + c;
      col.storey = s;
      col.length = st.height;
      col.section = st.section;
      for (int end = 0; end < 2; ++end) {
        const int floor = s - 1 + end - 1;  // 0-based floor at this end; -1 is the ground, which does not move
        if (floor < 0) continue;
        for (int k = 0; k < 3; ++k) {
          col.dofRows.push_back(static_cast<uint32_t>(row(floor, kDirectionOfLocal[k])));
          col.localOfRow.push_back(kEndB * end + k);
        }
      }
      columns_.push_back(col);
    }
  }
}

std::array<double, 9> FrameModel::siteToBuilding() const {
  const double t = angleDegrees_ * kPi / 180.0, c = std::cos(t), s = std::sin(t);
  return {c, s, 0.0, -s, c, 0.0, 0.0, 0.0, 1.0};
}

GroundMotion FrameModel::groundMotion(double dt, int steps) const {
  GroundMotion g;
  g.dt = dt;
  g.steps = steps;
  // Per component: the filter's ground frequency (rad/s) and damping, and the peak acceleration (m/s^2).
  const double filterOmega[3] = {15.0, 15.0, 25.0}, filterZeta[3] = {0.6, 0.6, 0.6};
  const double peak[3] = {1.0, 0.8, 0.5};  // a moderate earthquake, about 0.1 g
  Noise noise(20261123);
  const double T = dt * (steps - 1);
  for (int c = 0; c < 3; ++c) {
    std::vector<double> a(static_cast<size_t>(steps));
    double x = 0.0, v = 0.0;
    for (int i = 0; i < steps; ++i) {
      const double t = dt * i;
      const double envelope = t < 2.0 ? (t / 2.0) * (t / 2.0) : (t < 8.0 ? 1.0 : std::exp(-0.35 * (t - 8.0)));
      const double w = envelope * noise.gaussian() / std::sqrt(dt);
      // Filtered noise (a soil layer over white-noise bedrock), semi-implicit Euler.
      const double accel = -w - 2 * filterZeta[c] * filterOmega[c] * v - filterOmega[c] * filterOmega[c] * x;
      v += dt * accel;
      x += dt * v;
      a[static_cast<size_t>(i)] =
          -(2 * filterZeta[c] * filterOmega[c] * v + filterOmega[c] * filterOmega[c] * x);
    }
    // Baseline: take off c0 + c1 t so that the ground ends at rest where it started.
    double vEnd = 0.0, dEnd = 0.0;
    for (int i = 0; i + 1 < steps; ++i) {
      const double a0 = a[static_cast<size_t>(i)], a1 = a[static_cast<size_t>(i + 1)];
      dEnd += dt * vEnd + dt * dt * (2 * a0 + a1) / 6;
      vEnd += dt * (a0 + a1) / 2;
    }
    // v(T) = vEnd - c0 T - c1 T^2/2 = 0 and d(T) = dEnd - c0 T^2/2 - c1 T^3/6 = 0.
    const double det = T * T * T * T / 6 - T * T * T * T / 4;
    const double c0 = (vEnd * T * T * T / 6 - dEnd * T * T / 2) / det;
    const double c1 = (T * dEnd - vEnd * T * T / 2) / det;
    double largest = 0.0;
    for (int i = 0; i < steps; ++i) {
      a[static_cast<size_t>(i)] -= c0 + c1 * dt * i;
      largest = std::max(largest, std::fabs(a[static_cast<size_t>(i)]));
    }
    for (double& x2 : a) x2 *= peak[c] / largest;
    std::vector<double> vel(static_cast<size_t>(steps), 0.0), dis(static_cast<size_t>(steps), 0.0);
    for (size_t i = 0; i + 1 < a.size(); ++i) {
      dis[i + 1] = dis[i] + dt * vel[i] + dt * dt * (2 * a[i] + a[i + 1]) / 6;
      vel[i + 1] = vel[i] + dt * (a[i] + a[i + 1]) / 2;
    }
    g.acceleration[static_cast<size_t>(c)] = std::move(a);
    g.velocity[static_cast<size_t>(c)] = std::move(vel);
    g.displacement[static_cast<size_t>(c)] = std::move(dis);
  }
  return g;
}

Solution FrameModel::solve(const GroundMotion& ground) {
  Solution sol;
  const int n = dofCount();
  sol.dofs = n;
  sol.modes = n;
  sol.steps = ground.steps;
  sol.dt = ground.dt;
  sol.stiffness = Dense(n, n);
  sol.mass = Dense(n, n);
  for (int f = 0; f < floorCount(); ++f)
    for (int d = 0; d < kDirections; ++d)
      sol.mass(row(f, d), row(f, d)) = storeys_[static_cast<size_t>(f)].floorMass;

  // Assemble K from the members' kept translations, and keep each member's parts for its tables.
  std::vector<std::array<Dense, 3>> parts;
  for (Column& col : columns_) {
    parts.push_back(memberStiffnessParts(col.length, col.section));
    Dense k12(12, 12);
    for (const Dense& p : parts.back())
      for (size_t i = 0; i < k12.v.size(); ++i) k12.v[i] += p.v[i];
    for (size_t i = 0; i < col.dofRows.size(); ++i)
      for (size_t j = 0; j < col.dofRows.size(); ++j)
        sol.stiffness(static_cast<int>(col.dofRows[i]), static_cast<int>(col.dofRows[j])) +=
            k12(col.localOfRow[i], col.localOfRow[j]);
    col.force = sectionForceTable(k12, col.localOfRow);
    col.stress = multiply(stressFromForce(col.section), col.force);
  }

  // Modes: K phi = w^2 M phi, eigenvectors normalised to phi^T M phi = 1, ascending frequencies.
  Dense kw = sol.stiffness, mw = sol.mass;
  std::vector<double> eig(static_cast<size_t>(n));
  if (LAPACKE_dsygv(LAPACK_COL_MAJOR, 1, 'V', 'U', n, kw.v.data(), n, mw.v.data(), n, eig.data()) != 0)
    throw std::runtime_error("the eigensolver failed");
  sol.shapes = kw;
  for (int m = 0; m < n; ++m) {
    sol.omega.push_back(std::sqrt(eig[static_cast<size_t>(m)]));
    double best = -1.0;
    int dir = 0;
    for (int d = 0; d < kDirections; ++d) {
      double share = 0.0;
      for (int f = 0; f < floorCount(); ++f)
        share += sol.mass(row(f, d), row(f, d)) * std::pow(sol.shapes(row(f, d), m), 2);
      if (share > best) best = share, dir = d;
    }
    sol.direction.push_back(dir);
    // The roof moves the positive way in the mode's own direction.
    if (sol.shapes(row(floorCount() - 1, dir), m) < 0)
      for (int i = 0; i < n; ++i) sol.shapes(i, m) = -sol.shapes(i, m);
    double gamma = 0.0;
    for (int f = 0; f < floorCount(); ++f)
      gamma += sol.shapes(row(f, dir), m) * sol.mass(row(f, dir), row(f, dir));
    sol.participation.push_back(gamma);
  }

  // Damping: a dashpot beside each column with coefficients alpha_d times its stiffness part in direction d,
  // alpha_d = 2 zeta / w1 of that direction, so the first mode of each direction has zeta. C stays
  // proportional to K within each direction, so the modes stay uncoupled and mode n has zeta w_n / w1.
  std::array<double, 3> alpha{0.0, 0.0, 0.0};
  for (int m = n - 1; m >= 0; --m)
    alpha[static_cast<size_t>(sol.direction[static_cast<size_t>(m)])] =
        2 * kDampingRatio / sol.omega[static_cast<size_t>(m)];
  // The member's stiffness pieces, in order: axial (building z), bending along local y (building a), bending
  // along local z (building b).
  const double partAlpha[3] = {alpha[2], alpha[0], alpha[1]};
  sol.dampingMatrix = Dense(n, n);
  for (size_t c = 0; c < columns_.size(); ++c) {
    Column& col = columns_[c];
    Dense c12(12, 12);
    for (int p = 0; p < 3; ++p)
      for (size_t i = 0; i < c12.v.size(); ++i)
        c12.v[i] += partAlpha[p] * parts[c][static_cast<size_t>(p)].v[i];
    for (size_t i = 0; i < col.dofRows.size(); ++i)
      for (size_t j = 0; j < col.dofRows.size(); ++j)
        sol.dampingMatrix(static_cast<int>(col.dofRows[i]), static_cast<int>(col.dofRows[j])) +=
            c12(col.localOfRow[i], col.localOfRow[j]);
    col.damping = sectionForceTable(c12, col.localOfRow);
  }
  for (int m = 0; m < n; ++m) {
    double cmm = 0.0;
    for (int i = 0; i < n; ++i)
      for (int j = 0; j < n; ++j) cmm += sol.shapes(i, m) * sol.dampingMatrix(i, j) * sol.shapes(j, m);
    sol.zeta.push_back(cmm / (2 * sol.omega[static_cast<size_t>(m)]));
  }

  // Gravity: K u = -M g e_z, the state the run starts from.
  Dense kc = sol.stiffness;
  sol.staticDisplacement.assign(static_cast<size_t>(n), 0.0);
  for (int f = 0; f < floorCount(); ++f)
    sol.staticDisplacement[static_cast<size_t>(row(f, 2))] =
        -storeys_[static_cast<size_t>(f)].floorMass * kGravity;
  if (LAPACKE_dposv(LAPACK_COL_MAJOR, 'U', n, 1, kc.v.data(), n, sol.staticDisplacement.data(), n) != 0)
    throw std::runtime_error("the static solve failed");
  sol.modalStatic = Dense(n, 1);
  for (int m = 0; m < n; ++m)
    for (int i = 0; i < n; ++i)
      sol.modalStatic(m, 0) +=
          sol.shapes(i, m) * sol.mass(i, i) * sol.staticDisplacement[static_cast<size_t>(i)];

  // The ground acceleration in building axes, and each mode's load p_m(t) = -phi_m^T M iota(t).
  const std::array<double, 9> t = siteToBuilding();
  const int steps = ground.steps;
  Dense load(n, steps);
  for (int s = 0; s < steps; ++s) {
    double ag[3];
    for (int d = 0; d < 3; ++d) {
      ag[d] = 0.0;
      for (int c = 0; c < 3; ++c)
        ag[d] += t[static_cast<size_t>(3 * d + c)] *
                 ground.acceleration[static_cast<size_t>(c)][static_cast<size_t>(s)];
    }
    for (int m = 0; m < n; ++m) {
      double p = 0.0;
      for (int f = 0; f < floorCount(); ++f)
        for (int d = 0; d < 3; ++d) p -= sol.shapes(row(f, d), m) * sol.mass(row(f, d), row(f, d)) * ag[d];
      load(m, s) = p;
    }
  }

  // Modal coordinates from rest; the acceleration is taken from the equation of motion at each step.
  sol.q = Dense(steps, n);
  sol.qd = Dense(steps, n);
  sol.qdd = Dense(steps, n);
  for (int m = 0; m < n; ++m) {
    const double w = sol.omega[static_cast<size_t>(m)], z = sol.zeta[static_cast<size_t>(m)];
    const StepCoefficients k(w, z, ground.dt);
    double x = 0.0, v = 0.0;
    for (int s = 0; s < steps; ++s) {
      if (s > 0) {
        const double p0 = load(m, s - 1), p1 = load(m, s);
        const double x1 = k.a * x + k.b * v + k.c * p0 + k.d * p1;
        const double v1 = k.ap * x + k.bp * v + k.cp * p0 + k.dp * p1;
        x = x1, v = v1;
      }
      sol.q(s, m) = sol.modalStatic(m, 0) + x;
      sol.qd(s, m) = v;
      sol.qdd(s, m) = load(m, s) - 2 * z * w * v - w * w * x;
    }
  }

  // Back to the model's rows: u = Phi q (the static part rides in q), and the same for the rates.
  sol.disp = Dense(steps, n);
  sol.vel = Dense(steps, n);
  sol.acc = Dense(steps, n);
  for (int s = 0; s < steps; ++s)
    for (int i = 0; i < n; ++i) {
      double u = 0.0, v = 0.0, a = 0.0;
      for (int m = 0; m < n; ++m) {
        u += sol.shapes(i, m) * sol.q(s, m);
        v += sol.shapes(i, m) * sol.qd(s, m);
        a += sol.shapes(i, m) * sol.qdd(s, m);
      }
      sol.disp(s, i) = u, sol.vel(s, i) = v, sol.acc(s, i) = a;
    }
  return sol;
}

}  // namespace frame

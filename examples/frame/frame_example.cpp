// The main job of the README: solve a five-storey frame under a ground-motion record, write the results as a
// kernel file, and read them back through the shared library as an engineer would: the roof's peak
// displacement, the base shear, the column forces, the modes' shares. It then checks the physics through the
// library's answers, and exits with status 1 when a check fails.
//
//   frame_example [FILE [CSV]]     (defaults frame.kernel and frame.csv)
//
// CSV holds the time, the ground acceleration, the roof displacement and the base shear by step, for the plot
// script beside this file.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <stdexcept>
#include <string>
#include <vector>

#include "FrameKernelFile.h"
#include "FrameModel.h"
#include "TimeKernel.h"

namespace {

using frame::kDirections;

// Bar force components (location 1 is end A, the bottom; 2 is end B, the top) in the column's axes: x up, y
// along the building's a, z along b.
constexpr int32_t kAxial = 140402, kShearA = 140403, kShearB = 140404, kMomentY = 140407, kMomentZ = 140408;
constexpr int32_t kStressCorner1 = 142102;  // the normal stress at the section's four corners: 142102..142105
constexpr int32_t kEndA = 100000000, kEndB = 200000000;
const char* const kDirectionName[3] = {"a", "b", "z"};

// One request through the designed export; any -1 ends the program with a message.
std::vector<double> query(const std::string& path, int32_t flags, const std::vector<int32_t>& ids,
                          const std::vector<int32_t>& keys, int32_t mode, int32_t step, size_t perId) {
  std::vector<double> result(perId * ids.size());
  if (TimeKernelOutputResult(path.c_str(), flags, ids.data(), static_cast<int32_t>(ids.size()), keys.data(),
                             static_cast<int32_t>(keys.size()), mode, step, result.data(),
                             static_cast<int32_t>(result.size())) != 0)
    throw std::runtime_error("the library refused a request on " + path);
  return result;
}

// A history request: value(id i, key r, step t) at [i * keys * steps + r + keys * t].
struct History {
  std::vector<double> v;
  size_t keys, steps;
  double operator()(size_t id, size_t key, size_t step) const {
    return v[id * keys * steps + key + keys * step];
  }
};
History history(const std::string& path, int32_t flags, const std::vector<int32_t>& ids,
                const std::vector<int32_t>& keys, int steps, int32_t mode = 0) {
  return {query(path, flags, ids, keys, mode, 0, keys.size() * static_cast<size_t>(steps)), keys.size(),
          static_cast<size_t>(steps)};
}

struct Peak {
  double value = 0.0;
  int step = 0;
};
Peak largestMagnitude(const std::vector<double>& x) {
  Peak p;
  for (size_t i = 0; i < x.size(); ++i)
    if (std::fabs(x[i]) > std::fabs(p.value)) p = {x[i], static_cast<int>(i)};
  return p;
}

struct Check {
  const char* what;
  double residual, scale, tolerance;
  bool passed() const { return residual <= tolerance * scale; }
};

}  // namespace

int main(int argc, char** argv) {
  const std::string path = argc > 1 ? argv[1] : "frame.kernel";
  const std::string csv = argc > 2 ? argv[2] : "frame.csv";
  try {
    // ---- solve and write ----
    frame::FrameModel model;
    const double dt = 0.01;
    const int steps = 2001;
    const frame::GroundMotion ground = model.groundMotion(dt, steps);
    const frame::Solution sol = model.solve(ground);
    frame::writeKernelFile(model, ground, sol, path);
    const int floors = model.floorCount();

    double weight = 0.0;
    for (const frame::Storey& s : model.storeys()) weight += s.floorMass * frame::kGravity;
    std::printf("Five-storey steel frame, %d floors, %zu columns, %d degrees of freedom, %d modes\n", floors,
                model.columns().size(), sol.dofs, sol.modes);
    std::printf("  building axes a, b at %.0f degrees to east/north; weight %.0f kN\n", model.angleDegrees(),
                weight / 1e3);
    double height = 0.0, pga[3] = {0, 0, 0};
    for (const frame::Storey& s : model.storeys()) height += s.height;
    for (size_t c = 0; c < 3; ++c)
      for (double a : ground.acceleration[c]) pga[c] = std::max(pga[c], std::fabs(a));
    std::printf(
        "  ground motion: %d steps of %.2f s; peak ground acceleration east %.2f, north %.2f, up %.2f m/s^2\n",
        steps, dt, pga[0], pga[1], pga[2]);
    std::printf("wrote %s\n\n", path.c_str());

    // ---- what the file holds, through the library ----
    int32_t elementCount = 0;
    if (TimeKernelElementID(path.c_str(), nullptr, &elementCount) != 0)
      throw std::runtime_error("no element list");
    std::vector<int32_t> columnIds(static_cast<size_t>(elementCount));
    if (TimeKernelElementID(path.c_str(), columnIds.data(), &elementCount) != 0)
      throw std::runtime_error("no element list");
    std::vector<int32_t> floorIds;
    for (int f = 1; f <= floors; ++f) floorIds.push_back(f);
    std::vector<int32_t> groundColumns(columnIds.begin(), columnIds.begin() + frame::kColumnsPerStorey);
    const int32_t roof = floors;
    auto seconds = [dt](int step) { return dt * step; };

    // Roof displacement relative to the ground, from the start (gravity) state, in building axes.
    const History roofDisp = history(path, 0, {roof}, {102, 103, 104}, steps);
    std::printf("Roof (node %d) displacement, relative to the ground:\n", roof);
    std::vector<std::vector<double>> roofSeries(3, std::vector<double>(static_cast<size_t>(steps)));
    for (int d = 0; d < kDirections; ++d) {
      for (int t = 0; t < steps; ++t)
        roofSeries[static_cast<size_t>(d)][static_cast<size_t>(t)] =
            roofDisp(0, static_cast<size_t>(d), static_cast<size_t>(t));
      const Peak p = largestMagnitude(roofSeries[static_cast<size_t>(d)]);
      std::printf("  %s: peak %+8.1f mm at t = %5.2f s", kDirectionName[d], p.value * 1e3, seconds(p.step));
      if (d < 2)
        std::printf(" (%.2f %% of the height)\n", 100.0 * std::fabs(p.value) / height);
      else
        std::printf(" (the columns' shortening beyond the dead load's)\n");
    }

    // Base shear: the four ground-storey columns' shears at their bottom ends, summed.
    const History base =
        history(path, TIMEKERNEL_ELEMENT_RESULTS, groundColumns, {kEndA + kShearA, kEndA + kShearB}, steps);
    std::vector<std::vector<double>> baseShear(2, std::vector<double>(static_cast<size_t>(steps), 0.0));
    for (size_t c = 0; c < groundColumns.size(); ++c)
      for (size_t d = 0; d < 2; ++d)
        for (int t = 0; t < steps; ++t)
          baseShear[d][static_cast<size_t>(t)] += base(c, d, static_cast<size_t>(t));
    std::printf("\nBase shear (sum of the ground-storey columns, stiffness and dashpot):\n");
    for (size_t d = 0; d < 2; ++d) {
      const auto mx = std::max_element(baseShear[d].begin(), baseShear[d].end());
      const auto mn = std::min_element(baseShear[d].begin(), baseShear[d].end());
      std::printf("  %s: max %+8.1f kN at t = %5.2f s, min %+8.1f kN at t = %5.2f s (%.1f %% of the weight)\n",
                  kDirectionName[d], *mx / 1e3, seconds(static_cast<int>(mx - baseShear[d].begin())), *mn / 1e3,
                  seconds(static_cast<int>(mn - baseShear[d].begin())), 100.0 * std::max(*mx, -*mn) / weight);
    }

    // Floor displacement envelope, from the library's envelope flow (relative to the ground).
    {
      const std::vector<int32_t> keys = {102, 103};
      const size_t items = keys.size() * floorIds.size();
      std::vector<double> env(2 * items * items);
      if (TimeKernelOutputResult(path.c_str(), TIMEKERNEL_ENVELOPE, floorIds.data(), floors, keys.data(), 2, 0,
                                 0, env.data(), static_cast<int32_t>(env.size())) != 0)
        throw std::runtime_error("the envelope request failed");
      std::printf("\nFloor displacement envelope (mm, relative to the ground):\n");
      std::printf("  floor     a: min      max     b: min      max\n");
      for (int f = 0; f < floors; ++f) {
        std::printf("  %5d", f + 1);
        for (size_t r = 0; r < keys.size(); ++r) {
          const size_t p = r + keys.size() * static_cast<size_t>(f);
          std::printf("   %+8.1f %+8.1f", env[items * items + p * items + p] * 1e3, env[p * items + p] * 1e3);
        }
        std::printf("\n");
      }
    }

    // Column force envelope per storey: the axial force includes the dead load.
    const std::vector<int32_t> forceKeys = {kEndA + kAxial,
                                            kEndA + kShearA,
                                            kEndA + kShearB,
                                            kEndA + kMomentY,
                                            kEndA + kMomentZ,
                                            kEndB + kMomentY,
                                            kEndB + kMomentZ,
                                            kEndA + kStressCorner1,
                                            kEndA + kStressCorner1 + 1,
                                            kEndA + kStressCorner1 + 2,
                                            kEndA + kStressCorner1 + 3};
    const History cols = history(path, TIMEKERNEL_ELEMENT_RESULTS, columnIds, forceKeys, steps);
    double largestStress = 0.0;
    std::printf("\nColumn force envelope by storey (all four columns, all steps):\n");
    std::printf(
        "  storey  section           axial N (kN)          |shear a| |shear b|  |moment| (kNm)  |stress| "
        "(MPa)\n");
    for (int s = 1; s <= floors; ++s) {
      double nMin = 1e300, nMax = -1e300, va = 0, vb = 0, m = 0, sigma = 0;
      for (size_t c = 0; c < columnIds.size(); ++c) {
        if (columnIds[c] / 100 != s) continue;
        for (size_t t = 0; t < static_cast<size_t>(steps); ++t) {
          nMin = std::min(nMin, cols(c, 0, t));
          nMax = std::max(nMax, cols(c, 0, t));
          va = std::max(va, std::fabs(cols(c, 1, t)));
          vb = std::max(vb, std::fabs(cols(c, 2, t)));
          for (size_t k = 3; k < 7; ++k) m = std::max(m, std::fabs(cols(c, k, t)));
          for (size_t k = 7; k < 11; ++k) sigma = std::max(sigma, std::fabs(cols(c, k, t)));
        }
      }
      std::printf("  %4d    %-16s  %+8.1f .. %+8.1f   %8.1f  %8.1f  %10.1f  %12.1f\n", s,
                  model.storeys()[static_cast<size_t>(s - 1)].section.name.c_str(), nMin / 1e3, nMax / 1e3,
                  va / 1e3, vb / 1e3, m / 1e3, sigma / 1e6);
      largestStress = std::max(largestStress, sigma);
    }
    constexpr double kYield = 355e6;  // S355 structural steel
    std::printf(
        "  largest corner stress %.0f MPa: %s the yield stress of S355 steel, %.0f MPa, so the linear model "
        "holds\n",
        largestStress / 1e6, largestStress < kYield ? "below" : "ABOVE", kYield / 1e6);

    // The first modes: period, damping, effective mass, and their share of the roof displacement and base
    // shear.
    std::printf("\nFirst modes (single-mode requests):\n");
    std::printf("  mode  dir  period (s)  damping  eff. mass  peak roof (mm)  peak base shear (kN)\n");
    for (int m = 1; m <= 6; ++m) {
      const size_t mi = static_cast<size_t>(m - 1);
      const int dir = sol.direction[mi];
      double total = 0.0;
      for (const frame::Storey& s : model.storeys()) total += s.floorMass;
      const History r = history(path, TIMEKERNEL_SINGLE_MODE, {roof}, {102 + dir}, steps, m);
      double roofPeak = 0.0, shearPeak = 0.0;
      for (size_t t = 0; t < static_cast<size_t>(steps); ++t)
        roofPeak = std::max(roofPeak, std::fabs(r(0, 0, t)));
      if (dir < 2) {
        const History v = history(path, TIMEKERNEL_ELEMENT_RESULTS | TIMEKERNEL_SINGLE_MODE, groundColumns,
                                  {kEndA + (dir == 0 ? kShearA : kShearB)}, steps, m);
        for (size_t t = 0; t < static_cast<size_t>(steps); ++t) {
          double sum = 0.0;
          for (size_t c = 0; c < groundColumns.size(); ++c) sum += v(c, 0, t);
          shearPeak = std::max(shearPeak, std::fabs(sum));
        }
      }
      std::printf("  %4d  %3s  %10.3f  %6.1f %%  %7.1f %%  %14.1f  %19.1f\n", m, kDirectionName[dir],
                  2 * 3.14159265358979 / sol.omega[mi], 100 * sol.zeta[mi],
                  100 * sol.participation[mi] * sol.participation[mi] / total, roofPeak * 1e3, shearPeak / 1e3);
    }

    // ---- checks through the library's answers ----
    std::vector<Check> checks;
    // 1. Every storey's column forces balance the inertia of the floors above it, at every step: the columns
    // are
    //    massless, so sum(shear) = -sum(m * absolute acceleration) and sum(axial) = -sum(m * (g + a_z)). The
    //    absolute acceleration is the library's with base motion (flag 8), which turns the ground motion into
    //    the building's axes through each floor's transform.
    {
      const History acc = history(path, TIMEKERNEL_BASE_MOTION, floorIds, {302, 303, 304}, steps);
      const History top = history(path, TIMEKERNEL_ELEMENT_RESULTS, columnIds,
                                  {kEndB + kShearA, kEndB + kShearB, kEndB + kAxial}, steps);
      double worstShear = 0.0, worstAxial = 0.0, peakShear = 0.0;
      for (size_t t = 0; t < static_cast<size_t>(steps); ++t)
        for (int s = 1; s <= floors; ++s) {
          double columnSum[3] = {0, 0, 0}, inertia[3] = {0, 0, 0};
          for (size_t c = 0; c < columnIds.size(); ++c)
            if (columnIds[c] / 100 == s)
              for (size_t k = 0; k < 3; ++k) columnSum[k] += top(c, k, t);
          for (int f = s; f <= floors; ++f) {
            const double mass = model.storeys()[static_cast<size_t>(f - 1)].floorMass;
            for (size_t k = 0; k < 3; ++k)
              inertia[k] += mass * (acc(static_cast<size_t>(f - 1), k, t) + (k == 2 ? frame::kGravity : 0.0));
          }
          for (size_t k = 0; k < 2; ++k) {
            worstShear = std::max(worstShear, std::fabs(columnSum[k] + inertia[k]));
            peakShear = std::max(peakShear, std::fabs(columnSum[k]));
          }
          worstAxial = std::max(worstAxial, std::fabs(columnSum[2] + inertia[2]));
        }
      checks.push_back({"storey shear = inertia of the floors above (every storey, step, direction)",
                        worstShear, peakShear, 1e-9});
      checks.push_back({"storey axial force = weight and vertical inertia above", worstAxial, weight, 1e-9});
    }
    // 2. The modes' contributions, each asked for alone, add up to the direct history: floor displacement,
    //    velocity and acceleration, and the base shear (whose rows do not see the gravity state).
    {
      const std::vector<int32_t> keys = {102, 103, 104, 202, 203, 204, 302, 303, 304};
      const History direct = history(path, 0, floorIds, keys, steps);
      const std::vector<int32_t> shearKeys = {kEndA + kShearA, kEndA + kShearB};
      std::vector<double> sum(direct.v.size(), 0.0), shearSum(base.v.size(), 0.0);
      for (int m = 1; m <= sol.modes; ++m) {
        const History one = history(path, TIMEKERNEL_SINGLE_MODE, floorIds, keys, steps, m);
        for (size_t i = 0; i < sum.size(); ++i) sum[i] += one.v[i];
        const History v = history(path, TIMEKERNEL_ELEMENT_RESULTS | TIMEKERNEL_SINGLE_MODE, groundColumns,
                                  shearKeys, steps, m);
        for (size_t i = 0; i < shearSum.size(); ++i) shearSum[i] += v.v[i];
      }
      for (int q = 0; q < 3; ++q) {  // displacement, velocity, acceleration each against its own scale
        double worst = 0.0, scale = 0.0;
        for (size_t i = 0; i < sum.size(); ++i)
          if ((i % keys.size()) / 3 == static_cast<size_t>(q)) {
            worst = std::max(worst, std::fabs(sum[i] - direct.v[i]));
            scale = std::max(scale, std::fabs(direct.v[i]));
          }
        static const char* const what[3] = {"sum of modal displacements = direct displacement",
                                            "sum of modal velocities = direct velocity",
                                            "sum of modal accelerations = direct acceleration"};
        checks.push_back({what[q], worst, scale, 1e-9});
      }
      double worst = 0.0, scale = 0.0;
      for (size_t i = 0; i < shearSum.size(); ++i) {
        worst = std::max(worst, std::fabs(shearSum[i] - base.v[i]));
        scale = std::max(scale, std::fabs(base.v[i]));
      }
      checks.push_back({"sum of modal column shears = direct column shear", worst, scale, 1e-9});
    }
    // 3. One step read from the by-step sections equals that step of the by-row history.
    {
      const Peak p = largestMagnitude(roofSeries[0]);
      const std::vector<double> one = query(path, 0, {roof}, {102, 103, 104}, 0, p.step + 1, 3);
      double worst = 0.0;
      for (size_t d = 0; d < 3; ++d)
        worst = std::max(worst, std::fabs(one[d] - roofDisp(0, d, static_cast<size_t>(p.step))));
      checks.push_back(
          {"one step (by-step sections) = that step of the history (by-row sections)", worst, 1.0, 0.0});
    }
    std::printf("\nChecks (relative tolerance):\n");
    bool ok = true;
    for (const Check& c : checks) {
      std::printf("  %-4s %-78s residual %.2e of %.3e (tolerance %.0e)\n", c.passed() ? "ok" : "FAIL", c.what,
                  c.residual, c.scale, c.tolerance);
      ok = ok && c.passed();
    }

    // ---- the plot's data ----
    if (FILE* out = std::fopen(csv.c_str(), "w")) {
      std::fprintf(out, "time,ground_east,ground_north,roof_a,roof_b,base_shear_a,base_shear_b\n");
      for (int t = 0; t < steps; ++t) {
        const size_t st = static_cast<size_t>(t);
        std::fprintf(out, "%.3f,%.6g,%.6g,%.6g,%.6g,%.6g,%.6g\n", seconds(t), ground.acceleration[0][st],
                     ground.acceleration[1][st], roofSeries[0][st], roofSeries[1][st], baseShear[0][st],
                     baseShear[1][st]);
      }
      std::fclose(out);
      std::printf("\nwrote %s\n", csv.c_str());
    } else {
      throw std::runtime_error("cannot write " + csv);
    }
    std::printf("%s\n", ok ? "all checks passed" : "SOME CHECKS FAILED");
    return ok ? 0 : 1;
  } catch (const std::exception& e) {
    std::fprintf(stderr, "frame_example: %s\n", e.what());
    return 1;
  }
}

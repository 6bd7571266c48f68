#include "FrameKernelFile.h"

#include "kernelwriter/KernelWriter.h"

namespace frame {

namespace {

std::vector<double> transposed(const Dense& m) {
  std::vector<double> t(m.v.size());
  for (int i = 0; i < m.rows; ++i)
    for (int j = 0; j < m.cols; ++j)
      t[static_cast<size_t>(i) * static_cast<size_t>(m.cols) + static_cast<size_t>(j)] = m(i, j);
  return t;
}

kernelwriter::Table table(const Dense& m) {
  return kernelwriter::Table::matrix(static_cast<uint32_t>(m.rows), static_cast<uint32_t>(m.cols), m.v);
}

// t times u, as a components x 2 table (end A, end B).
kernelwriter::Table offset(const Dense& t, const std::vector<double>& u, uint32_t components) {
  std::vector<double> y(static_cast<size_t>(t.rows), 0.0);
  for (int i = 0; i < t.rows; ++i)
    for (int j = 0; j < t.cols; ++j) y[static_cast<size_t>(i)] += t(i, j) * u[static_cast<size_t>(j)];
  return kernelwriter::Table::matrix(components, 2, y);
}

}  // namespace

void writeKernelFile(const FrameModel& model, const GroundMotion& ground, const Solution& s,
                     const std::string& path) {
  kernelwriter::KernelFile file;
  const int n = s.dofs, modes = s.modes, steps = s.steps;

  file.setMatrix(0, n, modes, s.shapes.v);
  std::vector<double> base(static_cast<size_t>(9) * static_cast<size_t>(steps));
  for (int t = 0; t < steps; ++t)
    for (int c = 0; c < 3; ++c) {
      const size_t at = static_cast<size_t>(9 * t + c), st = static_cast<size_t>(t),
                   sc = static_cast<size_t>(c);
      base[at] = ground.displacement[sc][st];
      base[at + 3] = ground.velocity[sc][st];
      base[at + 6] = ground.acceleration[sc][st];
    }
  file.setMatrix(1, 9, steps, base);
  file.setMatrix(4, 0, steps, std::vector<double>{});

  const std::vector<double> zeros(static_cast<size_t>(n), 0.0), modalZeros(static_cast<size_t>(modes), 0.0);
  for (int first : {5, 8}) {  // with and without base motion: the run starts from the same gravity state
    file.setMatrix(first, n, 1, s.staticDisplacement);
    file.setMatrix(first + 1, n, 1, zeros);
    file.setMatrix(first + 2, n, 1, zeros);
  }
  file.setMatrix(12, modes, 1, s.modalStatic.v);
  file.setMatrix(13, modes, 1, modalZeros);
  file.setMatrix(14, modes, 1, modalZeros);

  const Dense* direct[3] = {&s.disp, &s.vel, &s.acc};
  const Dense* modal[3] = {&s.q, &s.qd, &s.qdd};
  for (int k = 0; k < 3; ++k) {
    file.setMatrix(21 + k, steps, n, direct[k]->v);            // steps x rows: each row's history in one run
    file.setMatrix(15 + k, n, steps, transposed(*direct[k]));  // rows x steps: each step's state in one run
    file.setMatrix(24 + k, steps, modes, modal[k]->v);
    file.setMatrix(18 + k, modes, steps, transposed(*modal[k]));
  }

  const std::array<double, 9> t = model.siteToBuilding();
  for (int f = 0; f < model.floorCount(); ++f) {
    std::vector<uint32_t> rows;
    for (int d = 0; d < kDirections; ++d) rows.push_back(static_cast<uint32_t>(FrameModel::row(f, d)));
    file.addNode(f + 1, kernelwriter::NodeRecord::make(rows, {-999, -998, -997}, t));
  }
  for (const Column& c : model.columns()) {
    kernelwriter::ElementRecord bar = kernelwriter::ElementRecord::make(583, c.dofRows);
    std::vector<double> u0;
    for (uint32_t r : c.dofRows) u0.push_back(s.staticDisplacement[r]);
    bar.setReference(u0);
    bar.forceRecovery = table(c.force);
    bar.velocityForce = table(c.damping);
    bar.stressRecovery = table(c.stress);
    bar.forceOffset = offset(c.force, u0, 6);
    bar.stressOffset = offset(c.stress, u0, 11);
    file.addElement(c.id, bar);
  }
  file.write(path);
}

}  // namespace frame

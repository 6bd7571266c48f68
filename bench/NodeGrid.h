// The nodes of the nodal benchmark files, and the warm mapping their baselines copy from.
//
// Node n has the rows 6n .. 6n+5 and the codes of the three translations and three rotations, no transform; its
// id is 1000 + n.
#pragma once

#include <benchmark/benchmark.h>

#include <cstdint>
#include <vector>

#include "kernelfile/platform.h"
#include "kernelwriter/KernelWriter.h"

namespace nodegrid {

constexpr std::int32_t kDofsPerNode = 6;

constexpr std::int32_t nodeId(std::int32_t n) { return 1000 + n; }

// Adds nodes 0 .. count - 1 to the file.
inline void addNodes(kernelwriter::KernelFile& f, std::int32_t count) {
  for (std::int32_t n = 0; n < count; ++n) {
    std::vector<std::uint32_t> rows;
    for (std::int32_t j = 0; j < kDofsPerNode; ++j) rows.push_back(static_cast<std::uint32_t>(kDofsPerNode * n + j));
    f.addNode(nodeId(n), kernelwriter::NodeRecord::make(rows, {-999, -998, -997, -996, -995, -994}));
  }
}

// Opens the file at `path` (`size` bytes) through the system's own calls into `*handle`, maps it whole and reads
// every page once, so that the page cache holds it. The view, or null when the open or the mapping failed.
inline unsigned char* mapAndWarm(const char* path, std::int64_t size, Zarn::platform::FileHandle* handle) {
  const Zarn::platform::Calls& os = Zarn::platform::systemCalls();
  if (!os.openExisting(path, handle)) return nullptr;
  auto* view = static_cast<unsigned char*>(os.mapView(*handle, 0, size));
  if (view == nullptr) return nullptr;
  unsigned sum = 0;
  for (std::int64_t at = 0; at < size; at += 4096) sum += view[at];
  benchmark::DoNotOptimize(sum);
  return view;
}

}  // namespace nodegrid

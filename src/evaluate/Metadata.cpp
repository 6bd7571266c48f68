#include "evaluate/Metadata.h"

#include <algorithm>
#include <cstdint>
#include <string>

#include "base/ClearOnExit.h"
#include "base/Failure.h"
#include "evaluate/ElementReader.h"
#include "kernelfile/Sections.h"
#include "keys/ResponseNames.h"

namespace Zarn {

using namespace sections;

namespace {

// The two counts of `section`, or zeros when it is absent.
void countsOf(ReadTimeKernel& kernel, std::int32_t section, std::int32_t& first, std::int32_t& second) {
  first = 0;
  second = 0;
  if (kernel.sectionPositions[section] < 0) return;
  kernel.readSectionHeader(section, first, second);
}

// Every response id of `key` whose position is below `rows` (the rows of the recovery table it picks from).
// Nothing when the table's rows are not whole points: such a recovery fails rather than give values.
void idsOfTable(const TimeKernelKeyInfo* key, std::int32_t rows, std::vector<std::int32_t>& out) {
  if (key == nullptr || rows <= 0 || key->componentCount() <= 0 || rows % key->componentCount() != 0) return;
  // A response id is location * 100000000 + code in 32 bits, so no location above 21 exists, and no position
  // past 22 locations' worth of components has an id. The row count comes from the file (a table of no columns
  // may claim 2^31 - 1 rows): the walk stops there instead of visiting every row.
  const std::int64_t locations = INT32_MAX / TimeKernelKeyInfo::kLocationScale + 1;
  const std::int64_t reachable = std::min<std::int64_t>(rows, locations * key->componentIndex.size());
  for (std::int64_t p = 0; p < reachable; ++p) responseIdsAtPosition(*key, static_cast<std::int32_t>(p), out);
}

const TimeKernelKeyInfo* keyOf(const TimeKernelKeySet::KeyMap& map, std::int32_t code) {
  const auto found = map.find(code);
  return found == map.end() ? nullptr : found->second.get();
}

}  // namespace

FileFigures describeFile(ReadTimeKernel& kernel) {
  FileFigures figures;
  figures.formatNumber = TimeKernel::kFormatNumber;  // the open checked it
  figures.stepCount = kernel.stepCount;
  figures.dofCount = kernel.dofCount;
  figures.fileSize = kernel.mapping.fileSize();
  for (int s = 0; s < TimeKernel::kSectionCount; ++s) {
    if (kernel.sectionPositions[s] >= 0) figures.sectionsPresent |= 1u << s;
  }
  std::int32_t unused = 0;
  countsOf(kernel, kModeShapes, unused, figures.modeCount);
  countsOf(kernel, kLoadFactors, figures.loadCount, unused);
  countsOf(kernel, kNodeDirectory, figures.nodeCount, unused);
  countsOf(kernel, kElementDirectory, figures.elementCount, unused);
  return figures;
}

std::int32_t listNodeIds(ReadTimeKernel& kernel, std::int32_t* ids, std::int32_t capacity) {
  return kernel.readDirectory(kNodeDirectory, ids, nullptr, capacity);
}

std::int32_t listElements(ReadTimeKernel& kernel, std::int32_t* ids, std::int32_t* typeCodes,
                          std::int32_t capacity) {
  if (typeCodes == nullptr) return kernel.readDirectory(kElementDirectory, ids, nullptr, capacity);
  std::int32_t total = kernel.readDirectory(kElementDirectory, nullptr, nullptr, 0);
  const std::int32_t m = std::min(total, std::max(capacity, 0));
  std::vector<std::int64_t> offsets(static_cast<std::size_t>(m));
  kernel.readDirectory(kElementDirectory, ids, offsets.data(), m);
  for (std::int32_t i = 0; i < m; ++i) {
    std::int32_t code = 0;
    if (offsets[static_cast<std::size_t>(i)] >= 0) {
      kernel.seek(offsets[static_cast<std::size_t>(i)]);
      kernel.readI32(code);  // no view: stays 0
    }
    typeCodes[i] = code;
  }
  return total;
}

std::vector<std::int32_t> listResponseIds(Request& request, bool element, std::int32_t id) {
  ReadTimeKernel& kernel = request.kernel;
  std::vector<std::int64_t> offsets;
  kernel.findRecords(element ? kElementDirectory : kNodeDirectory, &id, 1, 1, offsets);
  if (offsets.empty() || offsets[0] < 0) {
    failBecause((element ? "element " : "node ") + std::to_string(id) + " is not in the file");
  }
  std::vector<std::int32_t> out;
  kernel.seek(offsets[0]);
  if (!element) {
    TK_CHECK(static_cast<bool>(request.nodePrototype));
    TimeKernelNode& node = *request.nodePrototype;
    ClearOnExit<TimeKernelNode> clearNode(node);
    readNode(kernel, node);
    // Each component once: a record may carry a component on many of its degrees of freedom (a short file's
    // record read past the end carries component 0 on every one).
    std::vector<std::int32_t> components;
    for (std::int32_t k = 0; k < node.dofCodes.size; ++k) {
      const std::int64_t component = static_cast<std::int64_t>(node.dofCodes[k]) + 999;
      if (node.dofCodes[k] == TimeKernelNode::kNoComponent || component < 0 || component > INT32_MAX) continue;
      if (components.empty() || components.back() != component) {
        components.push_back(static_cast<std::int32_t>(component));
      }
    }
    std::sort(components.begin(), components.end());
    components.erase(std::unique(components.begin(), components.end()), components.end());
    for (const std::int32_t component : components) {
      for (const auto& key : request.keySet.nodeKeys) {
        if (key) responseIdsAtPosition(*key, component, out);
      }
    }
  } else {
    counted_ptr<TimeKernelElement> prototype = readElementRecord(request);
    if (prototype) {
      ClearOnExit<TimeKernelElement> clearElement(*prototype);
      const TimeKernelElement& e = *prototype;
      const std::int32_t code = e.elementType();
      idsOfTable(keyOf(request.keySet.forceKeys, code), e.forceRecovery.rows, out);
      if (e.hasStressRecovery()) idsOfTable(keyOf(request.keySet.stressKeys, code), e.stressRecovery.rows, out);
      if (e.hasDeformRecovery()) idsOfTable(keyOf(request.keySet.deformKeys, code), e.stressRecovery.rows, out);
    }
  }
  std::sort(out.begin(), out.end());
  out.erase(std::unique(out.begin(), out.end()), out.end());
  return out;
}

}  // namespace Zarn

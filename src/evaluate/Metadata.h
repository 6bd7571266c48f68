// What a file holds, for the handle functions: its figures, its node and element lists, and the response ids
// that have a value at a node or an element.
#pragma once

#include <cstdint>
#include <vector>

#include "evaluate/Request.h"
#include "kernelfile/ReadTimeKernel.h"

namespace Zarn {

struct FileFigures {
  std::int32_t formatNumber = 0;
  std::int32_t stepCount = 0;        // section 21's first count
  std::int32_t dofCount = 0;         // section 21's second count
  std::int32_t modeCount = 0;        // section 0's second count; 0 when absent
  std::int32_t loadCount = 0;        // section 4's first count; 0 when absent
  std::int32_t nodeCount = 0;        // section 2's first count; 0 when absent
  std::int32_t elementCount = 0;     // section 3's first count; 0 when absent
  std::uint32_t sectionsPresent = 0; // bit s: section s has a position
  std::int64_t fileSize = 0;         // bytes at open
};

// The figures of the open file. An absent section counts 0; a present one that is mislabelled fails.
FileFigures describeFile(ReadTimeKernel& kernel);

// The node IDs (first min(total, capacity) into `ids`); returns the total.
std::int32_t listNodeIds(ReadTimeKernel& kernel, std::int32_t* ids, std::int32_t capacity);

// The element IDs and, when `typeCodes` is not null, each record's type code as stored (0 when the record cannot
// be read); returns the total.
std::int32_t listElements(ReadTimeKernel& kernel, std::int32_t* ids, std::int32_t* typeCodes, std::int32_t capacity);

// The response ids, ascending, that give a value at node `id` (element `id` when `element`): for a node, every id
// whose component the record carries; for an element, every id whose position lies in a recovery table of the
// record (keys/ResponseNames.h enumerates them from the key registry). Fails when the file does not hold `id`.
std::vector<std::int32_t> listResponseIds(Request& request, bool element, std::int32_t id);

}  // namespace Zarn

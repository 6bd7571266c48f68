// DataPositionController: a process-wide helper that owns a scratch stream and deletes its file at unload.
//
// The read library never opens its stream, so in practice only the empty construction at load and the
// destruction at unload ever run. It is kept so that a stream opened into it is always closed and its file
// removed when the library goes away.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

namespace Zarn {

// Kept as part of the object model; no export reaches it.
class DataPositionController {
 public:
  DataPositionController() = default;
  // If the stream is open: closes it, removes the file it names, empties name and list.
  ~DataPositionController();
  DataPositionController(const DataPositionController&) = delete;
  DataPositionController& operator=(const DataPositionController&) = delete;

  std::vector<std::int64_t> positions;  // the list
  std::FILE* stream = nullptr;          // the scratch stream; null unless somebody opened one
  std::string fileName;                 // the scratch file's path
};

extern DataPositionController theDataPositionController;

}  // namespace Zarn

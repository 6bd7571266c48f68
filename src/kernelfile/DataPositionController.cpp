#include "kernelfile/DataPositionController.h"

namespace Zarn {

DataPositionController theDataPositionController;

DataPositionController::~DataPositionController() {
  if (stream == nullptr) return;
  std::fclose(stream);
  stream = nullptr;
  std::remove(fileName.c_str());
  fileName.clear();
  positions.clear();
}

}  // namespace Zarn

// Figures of this process from /proc/self/status (Linux only, as are the benchmarks that use them).
#pragma once

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>

namespace benchsupport {

// A line "<name>: <n> kB" of /proc/self/status (VmRSS, VmHWM, RssAnon, ...), in bytes; -1 when absent.
inline std::int64_t statusBytes(const char* name) {
  std::ifstream status("/proc/self/status");
  std::string line;
  const std::size_t length = std::strlen(name);
  while (std::getline(status, line)) {
    if (line.compare(0, length, name) == 0 && line.size() > length && line[length] == ':')
      return 1024 * std::atoll(line.c_str() + length + 1);
  }
  return -1;
}

}  // namespace benchsupport

// Figures of this process from /proc/self/status (Linux only, as are the benchmarks that use them).
#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace benchsupport {

// A line "<name>: <n> kB" of /proc/self/status (VmRSS, VmHWM, RssAnon, ...), in bytes; -1 when absent. Reads
// into a buffer on the stack and allocates nothing, so that sampling the heap's figures does not change them.
inline std::int64_t statusBytes(const char* name) {
  char text[8192];
  const int file = ::open("/proc/self/status", O_RDONLY);
  if (file < 0) return -1;
  std::size_t size = 0;
  ssize_t got = 0;
  while (size < sizeof text - 1 && (got = ::read(file, text + size, sizeof text - 1 - size)) > 0)
    size += std::size_t(got);
  ::close(file);
  text[size] = '\0';
  const std::size_t length = std::strlen(name);
  for (const char* line = text; *line != '\0';) {
    if (std::strncmp(line, name, length) == 0 && line[length] == ':') return 1024 * std::atoll(line + length + 1);
    const char* next = std::strchr(line, '\n');
    if (next == nullptr) break;
    line = next + 1;
  }
  return -1;
}

}  // namespace benchsupport

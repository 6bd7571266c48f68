// A plain main() for the fuzz target, so it builds and replays inputs without the fuzzing engine: each argument
// is a file or a directory of files. A file ending in ".hex" holds the input as hexadecimal text (whitespace and
// lines starting with '#' ignored): that is how inputs that once crashed are kept in the repository, readable and
// with a comment saying what they caught.
#include <cctype>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

std::vector<std::uint8_t> decodeHex(const std::string& text) {
  std::vector<std::uint8_t> bytes;
  int high = -1;
  bool comment = false;
  for (char c : text) {
    if (c == '\n') comment = false;
    if (comment) continue;
    if (c == '#') {
      comment = true;
      continue;
    }
    if (!std::isxdigit(static_cast<unsigned char>(c))) continue;
    const int v = std::isdigit(static_cast<unsigned char>(c)) ? c - '0' : (std::tolower(c) - 'a' + 10);
    if (high < 0) {
      high = v;
    } else {
      bytes.push_back(static_cast<std::uint8_t>(high * 16 + v));
      high = -1;
    }
  }
  return bytes;
}

int replayFile(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::string content((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  std::vector<std::uint8_t> bytes = path.extension() == ".hex"
                                        ? decodeHex(content)
                                        : std::vector<std::uint8_t>(content.begin(), content.end());
  LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
  return 1;
}

}  // namespace

int main(int argc, char** argv) {
  int count = 0;
  for (int i = 1; i < argc; ++i) {
    const std::filesystem::path arg(argv[i]);
    if (std::filesystem::is_directory(arg)) {
      for (const auto& entry : std::filesystem::directory_iterator(arg)) {
        // Notes about the inputs (README.md) are not inputs.
        if (entry.is_regular_file() && entry.path().extension() != ".md") count += replayFile(entry.path());
      }
    } else {
      count += replayFile(arg);
    }
  }
  std::printf("replayed %d inputs\n", count);
  return count > 0 ? 0 : 1;
}
